#pragma once

#include "platform/QFExport.h"

#include <cstddef>

/// Tells the system that a fresh block of memory is going to be filled from end to end, so that it may come
/// in large pages: for a result of 100 MB, taking the memory page by page costs several times what writing it
/// does. Nothing happens for blocks below 4 MB, and no harm is done where the system has no large pages.
QF_EXPORT void adviseLargePages(void *memory, size_t size);
