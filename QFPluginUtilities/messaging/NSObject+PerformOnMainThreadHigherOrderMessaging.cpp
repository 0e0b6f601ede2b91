#include "messaging/NSObject+PerformOnMainThreadHigherOrderMessaging.h"

#include "messaging/DetachedThreads.h"
#include "platform/Logging.h"
#include "platform/QFReport.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QThread>

#include <atomic>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

QObject *objectIn(const QPointer<QObject> &receiver)
{
    return receiver.data();
}

QObject *objectIn(const std::shared_ptr<QObject> &receiver)
{
    return receiver.get();
}

/// `Receiver` guards the receiver, or keeps it alive.
template <typename Receiver>
bool onMainThread(Receiver receiver, const CVMessage &message, bool waitUntilDone,
                  const MainThread::StopFlag *stop)
{
    if (!objectIn(receiver))
        return false;
    // Shared: a thread that has stopped waiting is gone when the main thread comes to it.
    const auto wasThere = std::make_shared<std::atomic<bool>>(false);
    auto send = [receiver = std::move(receiver), message, wasThere] {
        QObject *const object = objectIn(receiver);
        *wasThere = object != nullptr;
        PerformOnMainThreadHigherOrderMessaging::performMessage(object, message);
    };
    if (waitUntilDone)
        return MainThread::runAndWait(std::move(send), stop ? stop : &DetachedThreads::programEnds()) &&
               *wasThere;
    MainThread::post(std::move(send));
    return true;
}

template <typename Receiver>
bool onNewThread(Receiver receiver, const CVMessage &message)
{
    if (!objectIn(receiver))
        return false;
    const bool isStarted = DetachedThreads::start([receiver = std::move(receiver), message] {
        PerformOnMainThreadHigherOrderMessaging::performMessageInBackground(objectIn(receiver), message);
    });
    if (!isStarted)
        logFailure(qfMessagingLog(), u"thread"_s, u"No thread could be started for a message"_s);
    return isStarted;
}

} // namespace

void PerformOnMainThreadHigherOrderMessaging::performMessage(QObject *receiver, const CVMessage &message)
{
    message.replay(receiver);
}

void PerformOnMainThreadHigherOrderMessaging::performMessageInBackground(QObject *receiver,
                                                                         const CVMessage &message)
{
    performMessage(receiver, message);
    if (!MainThread::isCurrent() && QThread::currentThread()->loopLevel() == 0)
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

bool PerformOnMainThreadHigherOrderMessaging::performOnMainThread(QObject *receiver, const CVMessage &message,
                                                                  bool waitUntilDone,
                                                                  const MainThread::StopFlag *stop)
{
    return onMainThread(QPointer<QObject>(receiver), message, waitUntilDone, stop);
}

bool PerformOnMainThreadHigherOrderMessaging::performOnMainThread(std::shared_ptr<QObject> receiver,
                                                                  const CVMessage &message,
                                                                  bool waitUntilDone,
                                                                  const MainThread::StopFlag *stop)
{
    return onMainThread(std::move(receiver), message, waitUntilDone, stop);
}

bool PerformOnMainThreadHigherOrderMessaging::detachNewThreadSelector(QObject *receiver,
                                                                      const CVMessage &message)
{
    return onNewThread(QPointer<QObject>(receiver), message);
}

bool PerformOnMainThreadHigherOrderMessaging::detachNewThreadSelector(std::shared_ptr<QObject> receiver,
                                                                      const CVMessage &message)
{
    return onNewThread(std::move(receiver), message);
}
