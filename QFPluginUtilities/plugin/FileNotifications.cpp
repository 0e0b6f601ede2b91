#include "plugin/FileNotifications.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <pthread.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

constexpr quint32 kFileMask = IN_MODIFY | IN_ATTRIB | IN_MOVE_SELF | IN_DELETE_SELF;
/// A folder is written when entries come and go, not when its files are.
constexpr quint32 kEntryMask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
constexpr quint32 kFolderMask = kEntryMask | IN_ATTRIB | IN_MOVE_SELF | IN_DELETE_SELF;
/// The kernel says nothing to a folder that is removed while somebody holds it, but to its parent.
constexpr quint32 kParentMask = IN_DELETE | IN_ONLYDIR;

/// IN_MASK_ADD: a folder may be watched for its own sake and as a parent.
int addWatch(int queue, const QByteArray &path, quint32 mask)
{
    return ::inotify_add_watch(queue, path.constData(), mask | IN_MASK_ADD);
}

quint32 flagsForMask(quint32 mask, bool isNamed)
{
    if ((mask & (IN_DELETE_SELF | IN_UNMOUNT)) != 0)
        return kFileDeleted;
    if ((mask & IN_MOVE_SELF) != 0)
        return kFileRenamed;
    if ((mask & (IN_MODIFY | kEntryMask)) != 0)
        return kFileWritten;
    // With a name they are those of a file in the folder.
    return (mask & IN_ATTRIB) != 0 && !isNamed ? quint32(kFileAttributesChanged) : 0;
}

} // namespace

FileNotifications &FileNotifications::shared()
{
    static auto *const theQueue = new FileNotifications;
    return *theQueue;
}

FileNotifications::FileNotifications()
{
    ::pthread_atfork([] { shared()._lock.lock(); }, [] { shared()._lock.unlock(); }, &closeInChild);
}

/// The child's copies go. Nothing is taken back from the kernel, whose queue is the parent's.
void FileNotifications::closeInChild()
{
    FileNotifications &self = shared();
    if (self._queue >= 0)
        ::close(self._queue);
    self._queue = -1;
    self._registered.clear();
    self._files.clear();
    self._inside.clear();
    self._waiting.clear();
    self._lock.unlock();
}

int FileNotifications::open()
{
    const std::lock_guard guard(_lock);
    if (_queue < 0)
        _queue = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    return _queue < 0 ? errno : 0;
}

int FileNotifications::watch(const std::shared_ptr<WatchedFile> &file)
{
    const std::lock_guard guard(_lock);
    const int watch = addWatch(_queue, file->descriptorPath(), file->isFolder() ? kFolderMask : kFileMask);
    if (watch < 0)
        return errno;
    const auto registration = std::make_shared<Registration>();
    registration->file = file;
    registration->watch = watch;
    _registered.insert(file.get(), registration);
    _files[watch].push_back(registration);
    if (file->isFolder())
        watchParent(registration);
    if (file->isGone())
        addPending(registration, kFileDeleted);
    return 0;
}

void FileNotifications::forget(const std::shared_ptr<WatchedFile> &file)
{
    const std::lock_guard guard(_lock);
    const RegistrationPtr registration = _registered.take(file.get());
    if (registration == nullptr)
        return;
    forgetParent(registration);
    const auto files = _files.find(registration->watch);
    if (files == _files.end())
        return;
    std::erase(*files, registration);
    releaseWatch(registration->watch);
}

/// Without it, as where the parent cannot be read, the removal of the folder is noticed late or never.
void FileNotifications::watchParent(const RegistrationPtr &registration)
{
    const QByteArray path = registration->file->currentPath();
    registration->name = path.mid(path.lastIndexOf('/') + 1);
    registration->parentWatch = addWatch(_queue, registration->file->descriptorPath() + "/..", kParentMask);
    if (registration->parentWatch >= 0)
        _inside[registration->parentWatch][registration->name].push_back(registration);
}

void FileNotifications::forgetParent(const RegistrationPtr &registration)
{
    const int watch = std::exchange(registration->parentWatch, -1);
    const auto folders = _inside.find(watch);
    if (folders == _inside.end())
        return;
    Registrations &named = (*folders)[registration->name];
    std::erase(named, registration);
    if (named.empty())
        folders->remove(registration->name);
    releaseWatch(watch);
}

/// Takes the watch back from the kernel when nobody needs it.
void FileNotifications::releaseWatch(int watch)
{
    const auto files = _files.constFind(watch);
    if (files != _files.cend() && files->empty())
        _files.erase(files);
    const auto folders = _inside.constFind(watch);
    if (folders != _inside.cend() && folders->empty())
        _inside.erase(folders);
    if (!_files.contains(watch) && !_inside.contains(watch))
        ::inotify_rm_watch(_queue, watch);
}

FileNotifications::Event FileNotifications::next(std::chrono::milliseconds timeout)
{
    if (Event event = take(); event.file != nullptr || event.error != 0)
        return event;
    int queue = -1;
    {
        const std::lock_guard guard(_lock);
        queue = _queue;
    }
    pollfd waiting = {queue, POLLIN, 0};
    const int ready = ::poll(&waiting, 1, int(timeout.count()));
    if (ready < 0)
        return {nullptr, 0, errno == EINTR ? 0 : errno};
    return ready == 0 ? Event() : take();
}

/// Deletion is found out without the lock: the file system may take its time.
FileNotifications::Event FileNotifications::take()
{
    Event event;
    {
        const std::lock_guard guard(_lock);
        event.error = readEvents();
        while (event.file == nullptr && !_waiting.empty()) {
            const RegistrationPtr registration = _waiting.front().lock();
            _waiting.pop_front();
            if (registration != nullptr) {
                event.file = registration->file;
                event.flags = std::exchange(registration->pending, 0);
            }
        }
    }
    if ((event.flags & kFileAttributesChanged) != 0 && event.file->isGone())
        event.flags |= kFileDeleted;
    return event;
}

/// Moves events from the kernel into the queue: most of the time all that there are, but no more than a
/// thousand, so that files are handed out also when others write without end. Under the lock, so that no
/// event comes for a watch that is just being noted.
int FileNotifications::readEvents()
{
    alignas(inotify_event) std::array<char, 16384> buffer;
    const ssize_t size = ::read(_queue, buffer.data(), buffer.size());
    if (size < 0)
        return errno == EAGAIN || errno == EINTR ? 0 : errno;
    for (ssize_t at = 0; at < size;) {
        inotify_event event;
        std::memcpy(&event, buffer.data() + at, sizeof event);
        const char *name = buffer.data() + at + sizeof event;
        dispatch(event.wd, event.mask, event.len > 0 ? QByteArray(name) : QByteArray());
        at += ssize_t(sizeof event + event.len);
    }
    return 0;
}

void FileNotifications::dispatch(int watch, quint32 mask, const QByteArray &name)
{
    if ((mask & IN_Q_OVERFLOW) != 0) { // events were lost: each file is looked at once
        for (const RegistrationPtr &registration : std::as_const(_registered))
            addPending(registration, kFileAttributesChanged);
    }
    for (const RegistrationPtr &registration : _files.value(watch)) {
        addPending(registration, flagsForMask(mask, !name.isEmpty()));
        if (registration->file->isFolder() && (mask & IN_MOVE_SELF) != 0) {
            forgetParent(registration);
            watchParent(registration);
        }
    }
    if ((mask & IN_DELETE) != 0 && (mask & IN_ISDIR) != 0) {
        for (const RegistrationPtr &registration : _inside.value(watch).value(name))
            addPending(registration, kFileAttributesChanged);
    }
    if ((mask & IN_IGNORED) != 0) { // the kernel's last word on this watch
        _files.remove(watch);
        _inside.remove(watch);
    }
}

void FileNotifications::addPending(const RegistrationPtr &registration, quint32 flags)
{
    if (flags == 0)
        return;
    if (registration->pending == 0)
        _waiting.push_back(registration);
    registration->pending |= flags;
}
