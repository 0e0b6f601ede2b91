#pragma once

#include "platform/QFExport.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <memory>
#include <optional>

class QFFileWatcherDelegate;

/// Watches single files and tells its delegate, on the main thread, what happened to them. A thread per
/// watcher waits for the kernel; the watcher itself is used on the main thread, except that `stop` and the
/// destructor may be called on any thread, at any time, also while the delegate is told something.
///
/// All watchers share one queue of the kernel's events, and any watcher's thread may take an event; one for
/// a file of another watcher is then dropped. So only the sole watcher of a program is told everything.
///
/// A record is shown as {"path", "fd", "date"}: the path as it was added, a descriptor which serves as the
/// record's ID, and the last known modification date, absent when there was none. Dates are nanoseconds since
/// 1970. An event is {"fd", "fflags"}.
class QF_EXPORT QFFileWatcher
{
public:
    /// The delegate is not owned and may go before the watcher. When the kernel has no more queues or threads
    /// to give, the watcher accepts no files.
    explicit QFFileWatcher(QFFileWatcherDelegate *delegate = nullptr);
    [[nodiscard]] static std::unique_ptr<QFFileWatcher> watcherWithDelegate(QFFileWatcherDelegate *delegate);
    /// Stops.
    virtual ~QFFileWatcher();
    QFFileWatcher(const QFFileWatcher &) = delete;
    QFFileWatcher &operator=(const QFFileWatcher &) = delete;

    void setDelegate(QFFileWatcherDelegate *delegate);

    /// First tells the delegate that the file changed, on the calling thread, every time: also when the file
    /// is watched already or cannot be. True when it is watched now; false when it cannot be opened, the
    /// kernel refuses (which is logged), or the watcher has stopped. Symbolic links are followed.
    ///
    /// A renamed file keeps the record of this path. Another file that has come to the path is not watched
    /// then, in spite of true, until the record is gone: `fileWasDeleted` with its descriptor takes it away.
    bool addFile(const QString &path);
    /// Does nothing: a file stays watched until `stop`.
    void removeFile(const QString &path);
    /// Ends watching for good and lets go of all files. Takes about a quarter of a second.
    void stop();

    /// Of the file at `path`, links followed; nothing when there is none.
    [[nodiscard]] std::optional<qint64> modificationDateForFile(const QString &path) const;
    /// An empty map when there is no such record.
    [[nodiscard]] QVariantMap locateFileByID(int fd) const;
    [[nodiscard]] QVariantMap locateFileByPath(const QString &path) const;

    // What the watching thread has done on the main thread. Without a record they do nothing.

    /// Tells the delegate when the file's date differs from the record's, and then takes note of it.
    void fileWasChanged(const QVariantMap &event);
    void fileWasRenamed(int fd);
    void fileWasDeleted(int fd);

protected:
    /// Adds files up to the first that fails. Answers for the last one that was tried; false when there was
    /// none. Goes on safely when the delegate deletes the watcher.
    bool addFiles(const QStringList &paths);

private:
    struct Data;
    std::shared_ptr<Data> _data;
};
