#include "platform/MainThread.h"

#include "platform/Logging.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QThread>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <thread>
#include <utility>

namespace {

enum class State { Waits, Runs, Done, Dropped };

struct Task
{
    explicit Task(std::function<void()> toDo) : work(std::move(toDo)) {}

    std::function<void()> work;
    State state = State::Waits; ///< guarded by the queue's lock
};

/// Does one waiting task for each event that it gets.
class Receiver : public QObject
{
public:
    bool event(QEvent *event) override;
};

/// All state of this file. The receiver exists as long as the application.
struct Queue
{
    std::mutex lock;
    std::condition_variable changed;
    std::deque<std::shared_ptr<Task>> waiting;
    Receiver *receiver = nullptr;
    bool isClosed = false;
    const std::thread::id loader = std::this_thread::get_id();
    std::atomic<QThread *> applicationThread = nullptr; ///< only compared; nullptr without an application
};

/// Never destroyed: threads may still wait while the process ends.
Queue &queue()
{
    static auto *const theQueue = new Queue;
    return *theQueue;
}

QEvent::Type taskEvent()
{
    static const int type = QEvent::registerEventType();
    return QEvent::Type(type);
}

/// As long as tasks wait, an event is under way. With the lock held.
void wakeReceiver()
{
    if (queue().receiver != nullptr && !queue().waiting.empty())
        QCoreApplication::postEvent(queue().receiver, new QEvent(taskEvent()));
}

/// False when the application has ended.
bool add(const std::shared_ptr<Task> &task)
{
    const std::lock_guard guard(queue().lock);
    if (queue().isClosed)
        return false;
    const bool wasEmpty = queue().waiting.empty();
    queue().waiting.push_back(task);
    if (wasEmpty)
        wakeReceiver();
    return true;
}

void runLogged(const std::function<void()> &work)
{
    try {
        work();
    } catch (const std::exception &exception) {
        qCWarning(qfPlatformLog, "Work on the main thread ended with an exception: %s", exception.what());
    } catch (...) {
        qCWarning(qfPlatformLog, "Work on the main thread ended with an exception");
    }
}

/// False when there was none. The lock is not held while a task runs, and the event for the next one is sent
/// before it does, so a task may run an event loop, in which the next ones are done.
bool runOne()
{
    std::unique_lock guard(queue().lock);
    if (queue().waiting.empty())
        return false;
    const std::shared_ptr<Task> task = std::move(queue().waiting.front());
    queue().waiting.pop_front();
    task->state = State::Runs;
    wakeReceiver();
    guard.unlock();
    runLogged(task->work);
    task->work = {}; // what it owns goes on this thread, before anybody is told
    guard.lock();
    task->state = State::Done;
    queue().changed.notify_all();
    return true;
}

bool Receiver::event(QEvent *event)
{
    if (event->type() != taskEvent())
        return QObject::event(event);
    runOne();
    return true;
}

/// Drops all that waits, and all that comes, until there is another application.
void applicationEnds()
{
    std::deque<std::shared_ptr<Task>> dropped;
    Receiver *receiver = nullptr;
    {
        const std::lock_guard guard(queue().lock);
        dropped.swap(queue().waiting);
        for (const std::shared_ptr<Task> &task : dropped)
            task->state = State::Dropped;
        queue().isClosed = true;
        receiver = std::exchange(queue().receiver, nullptr);
        queue().applicationThread = nullptr;
        queue().changed.notify_all();
    }
    delete receiver;
}

void applicationStarts()
{
    auto *receiver = new Receiver;
    QThread *thread = QCoreApplication::instance()->thread(); // not this one, when it loads the library later
    receiver->moveToThread(thread);
    qAddPostRoutine(applicationEnds);
    const std::lock_guard guard(queue().lock);
    queue().receiver = receiver;
    queue().applicationThread = thread;
    queue().isClosed = false;
    wakeReceiver();
}

Q_COREAPP_STARTUP_FUNCTION(applicationStarts)

/// Takes note of the thread that loads the library. A copy of the process begins with the lock free.
[[maybe_unused]] const int isPrepared = [] {
    const auto unlock = [] { queue().lock.unlock(); };
    queue();
    return pthread_atfork([] { queue().lock.lock(); }, unlock, unlock);
}();

} // namespace

void MainThread::StopFlag::raise()
{
    const std::lock_guard guard(queue().lock);
    _isRaised = true;
    queue().changed.notify_all();
}

bool MainThread::isCurrent()
{
    const QThread *thread = queue().applicationThread;
    return thread != nullptr ? QThread::currentThread() == thread
                             : std::this_thread::get_id() == queue().loader;
}

void MainThread::post(std::function<void()> work)
{
    add(std::make_shared<Task>(std::move(work)));
}

bool MainThread::runAndWait(std::function<void()> work, const StopFlag *stop)
{
    if (isCurrent()) {
        runLogged(work);
        return true;
    }
    const auto task = std::make_shared<Task>(std::move(work));
    if (!add(task))
        return false;
    std::unique_lock guard(queue().lock);
    queue().changed.wait(guard, [&] {
        return task->state == State::Done || task->state == State::Dropped ||
               (stop != nullptr && stop->isRaised());
    });
    if (task->state == State::Waits)
        std::erase(queue().waiting, task);
    return task->state == State::Done;
}

void MainThread::drain()
{
    while (isCurrent() && runOne()) {
    }
}
