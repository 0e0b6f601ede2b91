#pragma once

#include "plugin/WatchedFile.h"

#include <QHash>

#include <chrono>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

/// What happened to a file; several together, when nobody asked in between.
enum FileEventFlag : quint32 {
    kFileDeleted = 1,
    kFileWritten = 2,
    kFileAttributesChanged = 8,
    kFileRenamed = 32,
};

/// The process's queue of file events, on top of the kernel's. A file that waits in it waits once, with all
/// that happened to it; files come in the order of their first event. Any thread.
///
/// The kernel knows one watch for a file however often, and under whatever names, it is added here: its
/// events go to all that were added. In a child made by fork the queue is closed and empty, and what the
/// child does leaves the parent's watches alone.
class FileNotifications
{
public:
    struct Event
    {
        std::shared_ptr<WatchedFile> file; ///< nullptr when nothing happened in time, or on an error
        quint32 flags = 0;
        int error = 0; ///< of the system
    };

    /// Never destroyed: threads may still wait while the process ends.
    [[nodiscard]] static FileNotifications &shared();

    /// Opens the queue unless it is open. Answers 0 or the system's error.
    [[nodiscard]] int open();
    /// Answers 0 or the system's error. A file that was deleted just before is told as deleted.
    [[nodiscard]] int watch(const std::shared_ptr<WatchedFile> &file);
    /// No event comes for the file any more.
    void forget(const std::shared_ptr<WatchedFile> &file);
    /// Takes one file out of the queue, after waiting for it when there is none.
    [[nodiscard]] Event next(std::chrono::milliseconds timeout);

private:
    /// What is known of one file.
    struct Registration
    {
        std::shared_ptr<WatchedFile> file;
        quint32 pending = 0;
        int watch = -1;
        int parentWatch = -1; ///< of the folder that holds a folder
        QByteArray name;      ///< of the folder in it
    };
    using RegistrationPtr = std::shared_ptr<Registration>;
    using Registrations = std::vector<RegistrationPtr>;

    FileNotifications();

    [[nodiscard]] Event take();
    [[nodiscard]] int readEvents();
    void dispatch(int watch, quint32 mask, const QByteArray &name);
    void addPending(const RegistrationPtr &registration, quint32 flags);
    void watchParent(const RegistrationPtr &registration);
    void forgetParent(const RegistrationPtr &registration);
    void releaseWatch(int watch);

    static void closeInChild();

    std::mutex _lock; ///< guards all below
    int _queue = -1;
    QHash<const WatchedFile *, RegistrationPtr> _registered;
    QHash<int, Registrations> _files;                     ///< by watch, as long as the kernel knows it
    QHash<int, QHash<QByteArray, Registrations>> _inside; ///< folders by watch of their parent and name
    std::deque<std::weak_ptr<Registration>> _waiting;     ///< forgotten ones are passed over
};
