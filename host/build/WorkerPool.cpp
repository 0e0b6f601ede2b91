#include "host/build/WorkerPool.h"

#include <QDataStream>
#include <QElapsedTimer>
#include <QIODevice>
#include <QVariant>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <list>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr quint64 kMaximumMessage = quint64(256) << 20;
constexpr time_t kSecondsForMessage = 30; // from its beginning to its end

enum class Message : quint8 { Progress, Result };

struct Header
{
    quint64 size = 0;
    Message message = Message::Result;
};

/// False when the other end is gone.
bool sendAll(int socket, const char *bytes, size_t size)
{
    while (size > 0) {
        const ssize_t count = ::send(socket, bytes, size, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        bytes += count;
        size -= static_cast<size_t>(count);
    }
    return true;
}

bool receiveAll(int socket, char *bytes, size_t size)
{
    while (size > 0) {
        const ssize_t count = ::recv(socket, bytes, size, 0);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        bytes += count;
        size -= static_cast<size_t>(count);
    }
    return true;
}

bool sendMessage(int socket, Message message, const QByteArray &content)
{
    const Header header{static_cast<quint64>(content.size()), message};
    return sendAll(socket, reinterpret_cast<const char *>(&header), sizeof header) &&
           sendAll(socket, content.constData(), static_cast<size_t>(content.size()));
}

/// Waits for the end of a process, through interruptions.
int statusOf(pid_t process)
{
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

/// The life of a worker: tasks in, messages out, until nobody asks any more. Does not return.
[[noreturn]] void work(int socket, const WorkerPool::Task &task)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    qint64 number = 0;
    while (receiveAll(socket, reinterpret_cast<char *>(&number), sizeof number)) {
        const auto progress = [socket](const QString &message, float done) {
            QByteArray content;
            QDataStream stream(&content, QIODevice::WriteOnly);
            stream << message << done;
            sendMessage(socket, Message::Progress, content);
        };
        if (!sendMessage(socket, Message::Result, task(number, progress)))
            break;
    }
    std::fflush(nullptr);
    ::_exit(0);
}

class Worker
{
public:
    explicit Worker(const WorkerPool::Task &task);
    ~Worker();
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    [[nodiscard]] bool isGood() const { return _process > 0; }
    [[nodiscard]] bool isBusy() const { return _task >= 0; }
    [[nodiscard]] qsizetype task() const { return _task; }
    [[nodiscard]] int socket() const { return _socket; }
    [[nodiscard]] qint64 millisecondsAtWork() const { return _sinceTask.elapsed(); }

    void begin(qsizetype task)
    {
        _task = task;
        _sinceTask.start();
        const qint64 number = task;
        sendAll(_socket, reinterpret_cast<const char *>(&number), sizeof number);
    }
    /// Reads one message and tells of it. False when the worker is gone.
    [[nodiscard]] bool receive(const WorkerPool::Events &events);
    /// Why the worker is gone; waits for its end.
    [[nodiscard]] QString end();
    void kill() const { ::kill(_process, SIGKILL); }

private:
    pid_t _process = -1;
    int _socket = -1;
    qsizetype _task = -1;
    QElapsedTimer _sinceTask;
};

Worker::Worker(const WorkerPool::Task &task)
{
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        return;
    std::fflush(nullptr); // what is buffered would be printed twice
    _process = ::fork();
    if (_process == 0) {
        ::close(ends[0]);
        try {
            work(ends[1], task);
        } catch (...) {
            ::_exit(1);
        }
    }
    ::close(ends[1]);
    const timeval patience{kSecondsForMessage, 0};
    ::setsockopt(ends[0], SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    if (_process > 0)
        _socket = ends[0];
    else
        ::close(ends[0]);
}

Worker::~Worker()
{
    // Other workers hold copies of this end, so closing it would not tell the worker.
    if (_socket >= 0) {
        ::shutdown(_socket, SHUT_RDWR);
        ::close(_socket);
    }
    if (_process > 0)
        statusOf(_process);
}

bool Worker::receive(const WorkerPool::Events &events)
{
    // A plug-in may have written into the socket, or sent a copy of its process here.
    Header header;
    if (!receiveAll(_socket, reinterpret_cast<char *>(&header), sizeof header) ||
        header.size > kMaximumMessage ||
        (header.message != Message::Progress && header.message != Message::Result) || !isBusy())
        return false;
    QByteArray content(static_cast<qsizetype>(header.size), Qt::Uninitialized);
    if (!receiveAll(_socket, content.data(), header.size))
        return false;
    if (header.message == Message::Progress) {
        QString message;
        float progress = 0;
        QDataStream stream(content);
        stream >> message >> progress;
        events.progress(_task, message, progress);
    } else {
        events.finished(std::exchange(_task, -1), content);
    }
    return true;
}

QString Worker::end()
{
    ::shutdown(_socket, SHUT_RDWR);
    ::close(std::exchange(_socket, -1));
    kill(); // nothing to one that has ended; one that has merely closed its socket would go on
    const int status = statusOf(std::exchange(_process, -1));
    if (!WIFSIGNALED(status))
        return u"ended the process"_s;
    return u"crashed ("_s + QString::fromLatin1(::sigdescr_np(WTERMSIG(status))) + u')';
}

/// One run of a pool.
class Run
{
public:
    Run(const QList<qsizetype> &tasks, const WorkerPool::Task &task, int secondsForTask,
        const WorkerPool::Events &events)
        : _tasks(tasks), _task(task), _secondsForTask(secondsForTask), _events(events)
    {
    }

    void withWorkers(int count);
    void inThisProcess();

private:
    [[nodiscard]] bool hasMore() { return _next < _tasks.size() && !_events.isCancelled(); }
    void employ(int count);
    void hear();
    void lose(std::list<Worker>::iterator worker, const QString &reason);

    const QList<qsizetype> &_tasks;
    const WorkerPool::Task &_task;
    const int _secondsForTask;
    const WorkerPool::Events &_events;
    qsizetype _next = 0;
    std::list<Worker> _crew;
};

void Run::inThisProcess()
{
    // The task may keep the first one that it is given, so it tells of the task that is being done.
    qsizetype number = -1;
    const WorkerPool::Progress progress = [this, &number](const QString &message, float done) {
        _events.progress(number, message, done);
    };
    while (hasMore()) {
        number = _tasks.at(_next++);
        _events.finished(number, _task(number, progress));
    }
}

void Run::withWorkers(int count)
{
    for (;;) {
        employ(count);
        const bool isBusy =
            std::any_of(_crew.begin(), _crew.end(), [](const Worker &worker) { return worker.isBusy(); });
        if (isBusy)
            hear();
        else if (!hasMore())
            return;
    }
}

/// Gives each idle worker a task, and makes new workers while there are too few.
void Run::employ(int count)
{
    for (Worker &worker : _crew) {
        if (!worker.isBusy() && hasMore())
            worker.begin(_tasks.at(_next++));
    }
    while (hasMore() && std::ssize(_crew) < count) {
        Worker &worker = _crew.emplace_back(_task);
        if (!worker.isGood()) {
            _crew.pop_back();
            if (_crew.empty()) // no process to be had
                inThisProcess();
            return;
        }
        worker.begin(_tasks.at(_next++));
    }
}

/// Waits for messages and ends workers whose task takes too long.
void Run::hear()
{
    constexpr int kPatience = 200; // milliseconds until clocks are looked at
    std::vector<pollfd> sockets;
    std::vector<std::list<Worker>::iterator> workers;
    for (auto worker = _crew.begin(); worker != _crew.end(); ++worker) {
        sockets.push_back({worker->socket(), POLLIN, 0});
        workers.push_back(worker);
    }
    ::poll(sockets.data(), sockets.size(), kPatience);
    for (size_t i = 0; i < workers.size(); ++i) {
        const auto worker = workers.at(i);
        if (sockets.at(i).revents != 0) {
            if (!worker->receive(_events)) {
                lose(worker, {});
                continue;
            }
        }
        if (worker->isBusy() && worker->millisecondsAtWork() > qint64(_secondsForTask) * 1000) {
            worker->kill();
            lose(worker,
                 u"took more than "_s + QString::number(_secondsForTask) + u" seconds and was ended"_s);
        }
    }
}

void Run::lose(std::list<Worker>::iterator worker, const QString &reason)
{
    const qsizetype task = worker->task();
    const QString end = worker->end();
    _crew.erase(worker);
    if (task >= 0)
        _events.lost(task, reason.isNull() ? end : reason);
}

} // namespace

WorkerPool::WorkerPool(int workers, int secondsForTask, Task task)
    : _workers(workers), _secondsForTask(secondsForTask), _task(std::move(task))
{
}

void WorkerPool::run(const QList<qsizetype> &tasks, const Events &events)
{
    Run run(tasks, _task, _secondsForTask, events);
    if (_workers > 0)
        run.withWorkers(static_cast<int>(std::min<qsizetype>(_workers, tasks.size())));
    else
        run.inThisProcess();
}
