#pragma once

#include <sys/types.h>

/// How many files the process may hold open. Each watched file is one.
namespace DescriptorLimit {

/// Sets the limit as high as the user may have it.
void raise();

/// As it was before `raise`, for a process that is to run another program: some go wrong with large numbers.
/// 0 is the calling one, between fork and exec too.
void restore(pid_t process);

/// The lowest number that no descriptor can have now.
[[nodiscard]] int current();

} // namespace DescriptorLimit
