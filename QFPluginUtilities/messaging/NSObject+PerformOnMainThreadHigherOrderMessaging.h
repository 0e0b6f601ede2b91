#pragma once

#include "messaging/CVMessage.h"
#include "platform/MainThread.h"
#include "platform/QFExport.h"

#include <QObject>

#include <memory>

/// Captured messages on other threads. Answers are dropped, and so are messages that are empty; receivers
/// that do not answer or that throw are logged. A message goes as it was captured when the operation was
/// called, whatever the recorder captures afterwards.
///
/// A receiver given as a shared pointer is kept alive until the message has been sent, and may then be
/// destroyed on the thread that it was sent on. One given as a plain pointer gets no message when it is gone
/// by then; it must not be destroyed by one thread while another sends.
namespace PerformOnMainThreadHigherOrderMessaging {

/// Here and now.
QF_EXPORT void performMessage(QObject *receiver, const CVMessage &message);

/// Here and now, in a scope of its own, as a thread of its own does: objects that are to be deleted later are
/// deleted at its end, unless an event loop runs on this thread.
QF_EXPORT void performMessageInBackground(QObject *receiver, const CVMessage &message);

/// On the main thread, in the order in which messages are handed over.
///
/// Waiting, on the main thread itself, sends the message at once. The answer is whether it was sent: not when
/// the receiver was gone, the application ended or `stop` was raised, in whose place the end of the program
/// stands when none is given. Threads that the main thread may come to wait for should give one.
///
/// Not waiting, the message is never sent before this returns. The answer is false only without a receiver; a
/// message that comes after the end of the application is dropped.
QF_EXPORT bool performOnMainThread(QObject *receiver, const CVMessage &message, bool waitUntilDone,
                                   const MainThread::StopFlag *stop = nullptr);
QF_EXPORT bool performOnMainThread(std::shared_ptr<QObject> receiver, const CVMessage &message,
                                   bool waitUntilDone, const MainThread::StopFlag *stop = nullptr);

/// On a new thread, with `performMessageInBackground`. False when the program ends or there is no thread to
/// be had, with a line in the log. See messaging/DetachedThreads.h for the end of the program.
QF_EXPORT bool detachNewThreadSelector(QObject *receiver, const CVMessage &message);
QF_EXPORT bool detachNewThreadSelector(std::shared_ptr<QObject> receiver, const CVMessage &message);

} // namespace PerformOnMainThreadHigherOrderMessaging
