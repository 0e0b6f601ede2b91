#pragma once

#include "platform/QFExport.h"

#include <atomic>
#include <functional>

/// Work handed to the main thread: the thread of the application object or, while there is none, the one that
/// loaded the library. It is done in the order in which it was handed over, by the main thread's event loop
/// or by `drain`. Any thread, unless said otherwise.
///
/// Work owns what it uses: a thread that waits for it may have left when it is done. What it throws is caught
/// and logged.
namespace MainThread {

/// Lets threads stop waiting. `raise` wakes all that wait with it, and they answer false.
class QF_EXPORT StopFlag
{
public:
    void raise();
    [[nodiscard]] bool isRaised() const { return _isRaised.load(); }

private:
    std::atomic<bool> _isRaised = false;
};

[[nodiscard]] QF_EXPORT bool isCurrent();

/// Has the work done later, on the main thread too: never before this returns. Dropped when the application
/// has ended.
QF_EXPORT void post(std::function<void()> work);

/// Has the work done and waits for its end; on the main thread it is done at once. True when it was done to
/// its end, be it with an exception. False when `stop` was raised first (work that has begun goes on, work
/// that has not is dropped), or the application ended.
QF_EXPORT bool runAndWait(std::function<void()> work, const StopFlag *stop = nullptr);

/// Does what waits now, without an event loop. Only on the main thread; elsewhere it does nothing.
QF_EXPORT void drain();

} // namespace MainThread
