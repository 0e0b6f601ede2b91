#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>

/// Runs tasks in processes of their own, which are copies of this one: so they know all that it knows, and a
/// task that crashes or hangs takes nothing else with it. Tasks are handed out in order, one at a time to
/// each process.
class WorkerPool
{
public:
    using Progress = std::function<void(const QString &message, float progress)>;
    /// Runs in a worker and answers what `finished` gets.
    using Task = std::function<QByteArray(qsizetype task, const Progress &progress)>;

    struct Events
    {
        std::function<void(qsizetype task, const QByteArray &result)> finished;
        /// The worker has crashed, or was ended for its time; `reason` says so as in "crashed (Aborted)".
        std::function<void(qsizetype task, const QString &reason)> lost;
        std::function<void(qsizetype task, const QString &message, float progress)> progress;
        /// Asked before each task; true ends the run when the tasks that have begun are done.
        std::function<bool()> isCancelled;
    };

    /// With no workers, tasks run in this process.
    WorkerPool(int workers, int secondsForTask, Task task);

    /// Returns when all tasks are done or lost. This process must have a single thread, unless there are no
    /// workers.
    void run(const QList<qsizetype> &tasks, const Events &events);

private:
    const int _workers;
    const int _secondsForTask;
    const Task _task;
};
