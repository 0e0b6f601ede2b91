#include "plugin/QFFileWatcher.h"

#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/MainThread.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "platform/WithoutThrowing.h"
#include "plugin/FileNotifications.h"
#include "plugin/QFFileWatcherDelegate.h"

#include <QHash>
#include <QPointer>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto kEventWait = 250ms;
constexpr auto kErrorWait = 250ms;
constexpr auto kStopPolling = 50ms;

using Message = void (QFFileWatcherDelegate::*)(const QString &path);
using WatchedFilePtr = std::shared_ptr<WatchedFile>;

/// What is known of a watched file.
struct Record
{
    WatchedFilePtr file;
    std::optional<qint64> date;
};

QVariantMap shown(const Record &record)
{
    QVariantMap map{{u"path"_s, record.file->path()}, {u"fd"_s, record.file->descriptor()}};
    if (record.date.has_value())
        map.insert(u"date"_s, *record.date);
    return map;
}

} // namespace

/// All state of a watcher. The watching thread and what it hands over own it together with the watcher, so
/// the watcher may go at any time. The lock is never held while the delegate is told something.
struct QFFileWatcher::Data : std::enable_shared_from_this<Data>
{
    const pid_t process = ::getpid();
    int queueError = 0;
    std::atomic<bool> keepWatching = true;
    std::atomic<bool> watcherRunning = false;
    MainThread::StopFlag stopping; ///< ends the thread's wait for the main thread

    std::mutex lock; ///< guards all below
    QPointer<QFFileWatcherDelegate> delegate;
    QHash<int, Record> files; ///< by descriptor
    QHash<QString, int> descriptors;
    std::vector<WatchedFilePtr> left; ///< watched no longer, to be closed soon

    void start();
    void watchAsync();
    [[nodiscard]] int handNextOver();
    void handle(const FileNotifications::Event &event);
    void stop();

    bool addFile(const QString &path);
    [[nodiscard]] bool add(const WatchedFilePtr &file);
    void fileWasChanged(int fd);
    void fileWasRenamed(int fd);
    void fileWasDeleted(int fd);

    [[nodiscard]] std::optional<Record> record(int fd);
    [[nodiscard]] std::optional<Record> record(const QString &path);
    [[nodiscard]] QPointer<QFFileWatcherDelegate> currentDelegate();
    void tell(Message message, const QString &path);
    void leave(const WatchedFilePtr &file);
    void closeLeft();
};

/// Nobody must wait for a thread that could not be made, so the flag falls again then.
void QFFileWatcher::Data::start()
{
    queueError = FileNotifications::shared().open();
    if (queueError != 0)
        return;
    watcherRunning = true;
    try {
        std::thread([self = shared_from_this()] { self->watchAsync(); }).detach();
    } catch (...) {
        watcherRunning = false;
        queueError = EAGAIN;
    }
}

void QFFileWatcher::Data::watchAsync()
{
    while (keepWatching) {
        const int error = handNextOver();
        if (error == 0)
            continue;
        logFailure(qfPluginLog(), u"file-watching"_s,
                   formatted(u"QFFileWatcher: kevent: %d (%d)", {-1, error}));
        std::this_thread::sleep_for(kErrorWait);
    }
    watcherRunning = false;
}

/// Answers 0 or an error. The event's file is held until the hand-over ends, so its number means no other.
int QFFileWatcher::Data::handNextOver()
{
    try {
        const FileNotifications::Event event = FileNotifications::shared().next(kEventWait);
        if (event.file != nullptr)
            MainThread::runAndWait([self = shared_from_this(), event] { self->handle(event); }, &stopping);
        closeLeft();
        return event.error;
    } catch (...) {
        return ENOMEM;
    }
}

void QFFileWatcher::Data::handle(const FileNotifications::Event &event)
{
    const int fd = event.file->descriptor();
    if ((event.flags & kFileDeleted) != 0)
        fileWasDeleted(fd);
    else if ((event.flags & kFileRenamed) != 0)
        fileWasRenamed(fd);
    else
        fileWasChanged(fd);
}

/// In a child made by fork the flag never falls: the thread is the parent's.
void QFFileWatcher::Data::stop()
{
    keepWatching = false;
    stopping.raise();
    while (watcherRunning && process == ::getpid())
        std::this_thread::sleep_for(kStopPolling);
    QHash<int, Record> stopped;
    {
        const std::lock_guard guard(lock);
        stopped.swap(files);
        descriptors.clear();
    }
    for (const Record &record : std::as_const(stopped))
        FileNotifications::shared().forget(record.file);
    closeLeft();
}

bool QFFileWatcher::Data::addFile(const QString &path)
{
    tell(&QFFileWatcherDelegate::watchedFileDidChange, path); // meant: each time, before anything else
    if (record(path).has_value())
        return true;
    const WatchedFilePtr file = keepWatching && process == ::getpid() ? WatchedFile::open(path) : nullptr;
    if (file == nullptr)
        return false;
    const int error = queueError != 0 ? queueError : FileNotifications::shared().watch(file);
    if (error == 0)
        return add(file);
    // The descriptor goes with `file`: left open, it would be lost with each refusal.
    logFailure(qfPluginLog(), u"file-watching"_s, formatted(u"QFFileWatcher: kevent: %d\n", {error}), path);
    return false;
}

/// False when the watcher was stopped meanwhile.
bool QFFileWatcher::Data::add(const WatchedFilePtr &file)
{
    const Record record{file, modificationDate(file->path())};
    const std::lock_guard guard(lock);
    if (!keepWatching) {
        FileNotifications::shared().forget(file);
        return false;
    }
    files.insert(file->descriptor(), record);
    descriptors.insert(file->path(), file->descriptor());
    return true;
}

void QFFileWatcher::Data::fileWasChanged(int fd)
{
    const std::optional<Record> changed = record(fd);
    if (!changed.has_value() || currentDelegate().isNull()) // meant: the date is noted only when it is told
        return;
    const std::optional<qint64> date = modificationDate(changed->file->path());
    if (date == changed->date)
        return;
    tell(&QFFileWatcherDelegate::watchedFileDidChange, changed->file->path());
    const std::lock_guard guard(lock);
    const auto kept = files.find(fd);
    if (kept != files.end() && kept->file == changed->file)
        kept->date = date;
}

void QFFileWatcher::Data::fileWasRenamed(int fd)
{
    if (const std::optional<Record> renamed = record(fd))
        tell(&QFFileWatcherDelegate::watchedFileWasRenamed, renamed->file->path());
}

void QFFileWatcher::Data::fileWasDeleted(int fd)
{
    const std::optional<Record> deleted = record(fd);
    if (!deleted.has_value())
        return;
    FileNotifications::shared().forget(deleted->file);
    leave(deleted->file);
    tell(&QFFileWatcherDelegate::watchedFileWasDeleted, deleted->file->path());
}

std::optional<Record> QFFileWatcher::Data::record(int fd)
{
    const std::lock_guard guard(lock);
    const auto found = files.constFind(fd);
    return found != files.cend() ? std::optional(*found) : std::nullopt;
}

std::optional<Record> QFFileWatcher::Data::record(const QString &path)
{
    const std::lock_guard guard(lock);
    const auto found = descriptors.constFind(path);
    return found != descriptors.cend() ? std::optional(files.value(*found)) : std::nullopt;
}

QPointer<QFFileWatcherDelegate> QFFileWatcher::Data::currentDelegate()
{
    const std::lock_guard guard(lock);
    return delegate;
}

void QFFileWatcher::Data::tell(Message message, const QString &path)
{
    const QPointer<QFFileWatcherDelegate> told = currentDelegate();
    if (told.isNull())
        return;
    try {
        (told.data()->*message)(path);
    } catch (...) {
        logFailure(qfPluginLog(), u"file-watching"_s,
                   u"A delegate that was told of a file ended with an exception"_s, path);
    }
}

/// Takes the record away. The descriptor stays open while the delegate is told; the watching thread closes it
/// afterwards, because as long as it is open the disk space of a deleted file is not free.
void QFFileWatcher::Data::leave(const WatchedFilePtr &file)
{
    const std::lock_guard guard(lock);
    files.remove(file->descriptor());
    descriptors.remove(file->path());
    left.push_back(file);
}

void QFFileWatcher::Data::closeLeft()
{
    std::vector<WatchedFilePtr> closed;
    const std::lock_guard guard(lock);
    closed.swap(left);
}

QFFileWatcher::QFFileWatcher(QFFileWatcherDelegate *delegate) : _data(std::make_shared<Data>())
{
    setDelegate(delegate);
    _data->start();
}

std::unique_ptr<QFFileWatcher> QFFileWatcher::watcherWithDelegate(QFFileWatcherDelegate *delegate)
{
    return std::make_unique<QFFileWatcher>(delegate);
}

QFFileWatcher::~QFFileWatcher()
{
    _data->stop();
}

void QFFileWatcher::setDelegate(QFFileWatcherDelegate *delegate)
{
    const std::lock_guard guard(_data->lock);
    _data->delegate = delegate;
}

// The delegate may delete the watcher in these calls, so they hold on to its data.

bool QFFileWatcher::addFile(const QString &path)
{
    return addFiles({path});
}

bool QFFileWatcher::addFiles(const QStringList &paths)
{
    return withoutThrowing([data = _data, &paths] {
        bool isAdded = false;
        for (const QString &path : paths) {
            isAdded = data->addFile(path);
            if (!isAdded)
                break;
        }
        return isAdded;
    });
}

/// Meant: `QFFolderWatcher::removeFolder` relies on it.
void QFFileWatcher::removeFile(const QString & /*path*/) {}

void QFFileWatcher::stop()
{
    const std::shared_ptr<Data> data = _data;
    data->stop();
}

std::optional<qint64> QFFileWatcher::modificationDateForFile(const QString &path) const
{
    return modificationDate(path);
}

QVariantMap QFFileWatcher::locateFileByID(int fd) const
{
    const std::optional<Record> record = _data->record(fd);
    return record.has_value() ? shown(*record) : QVariantMap();
}

QVariantMap QFFileWatcher::locateFileByPath(const QString &path) const
{
    const std::optional<Record> record = _data->record(path);
    return record.has_value() ? shown(*record) : QVariantMap();
}

void QFFileWatcher::fileWasChanged(const QVariantMap &event)
{
    const std::shared_ptr<Data> data = _data;
    if (const QVariant fd = event.value(u"fd"_s); isNumber(fd))
        data->fileWasChanged(int(intValue(fd)));
}

void QFFileWatcher::fileWasRenamed(int fd)
{
    const std::shared_ptr<Data> data = _data;
    data->fileWasRenamed(fd);
}

void QFFileWatcher::fileWasDeleted(int fd)
{
    const std::shared_ptr<Data> data = _data;
    data->fileWasDeleted(fd);
}
