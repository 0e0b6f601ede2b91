#pragma once

/// How many files the process may hold open. Each watched file is one.
namespace DescriptorLimit {

/// Sets the limit as high as the user may have it, short of numbers at which programs get slow that go
/// through all descriptors.
void raise();

/// As it was before `raise`. For a child process, between fork and exec: what plug-ins call may go wrong with
/// large numbers.
void restore();

/// The lowest number that no descriptor can have now.
[[nodiscard]] int current();

} // namespace DescriptorLimit
