#pragma once

#include "platform/MainThread.h"
#include "platform/QFExport.h"

#include <functional>

/// Threads that nobody waits for, until the program ends: then they are waited for, though not long, before
/// anything is destroyed that was there when the first of them was started. Any thread.
namespace DetachedThreads {

/// Has the work done on a new thread. False when the program is ending or the system gives no thread. What
/// the work throws is caught and logged; what it owns goes on the new thread.
QF_EXPORT bool start(std::function<void()> work);

/// Raised when the program ends. Work that takes long looks at it, waits end with it.
[[nodiscard]] QF_EXPORT const MainThread::StopFlag &programEnds();

} // namespace DetachedThreads
