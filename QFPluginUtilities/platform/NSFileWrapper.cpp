#include "platform/NSFileWrapper.h"

#include "platform/NSStringPathExtensions.h"
#include "platform/WithoutThrowing.h"

#include <QFile>
#include <QRandomGenerator>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int kDeepestFolder = 64;
constexpr qint64 kSizeOfEntry = 256; // what each file in a folder counts for beside its bytes
constexpr quint32 kPermissionBits = 07777;
constexpr quint32 kWrittenPermissionBits = 0777; // no set-id bits on files that come out of documents

/// A file descriptor that is closed when it goes.
class Descriptor
{
public:
    explicit Descriptor(int fd) : _fd(fd) {}
    ~Descriptor() { close(); }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    [[nodiscard]] bool isOpen() const { return _fd >= 0; }
    [[nodiscard]] int get() const { return _fd; }
    /// False when the file system reports only now that something could not be stored.
    bool close() { return _fd < 0 || ::close(std::exchange(_fd, -1)) == 0; }

private:
    int _fd;
};

/// The path as the system takes it, without slashes at its end; empty for what is no path.
QByteArray systemPath(const QString &path)
{
    QByteArray encoded = QFile::encodeName(path);
    while (encoded.size() > 1 && encoded.endsWith('/'))
        encoded.chop(1);
    return encoded.contains('\0') ? QByteArray() : encoded;
}

NSFileWrapper::Attributes attributesOf(const struct stat &status)
{
    NSFileWrapper::Attributes attributes;
    attributes.posixPermissions = status.st_mode & kPermissionBits;
    attributes.modificationDate = QDateTime::fromMSecsSinceEpoch(
        qint64(status.st_mtim.tv_sec) * 1000 + status.st_mtim.tv_nsec / 1'000'000, Qt::UTC);
    return attributes;
}

std::optional<QByteArray> readAll(int fd, qint64 maximumBytes)
{
    constexpr qsizetype kStep = qsizetype(1) << 16;
    QByteArray bytes;
    qsizetype used = 0;
    while (true) {
        if (bytes.size() - used < kStep)
            bytes.resize(std::max(bytes.size() * 2, used + kStep));
        const ssize_t got = ::read(fd, bytes.data() + used, static_cast<size_t>(bytes.size() - used));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return {};
        if (got == 0)
            break;
        used += got;
        if (used > maximumBytes)
            return {};
    }
    bytes.resize(used);
    bytes.squeeze();
    return bytes;
}

bool writeAll(int fd, const QByteArray &bytes)
{
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t put =
            ::write(fd, bytes.constData() + written, static_cast<size_t>(bytes.size() - written));
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return false;
        written += put;
    }
    return true;
}

std::optional<QString> readLink(int folder, const QByteArray &name)
{
    QByteArray target(PATH_MAX, Qt::Uninitialized);
    const ssize_t length =
        ::readlinkat(folder, name.constData(), target.data(), static_cast<size_t>(target.size()));
    if (length < 0 || length == target.size())
        return {};
    target.truncate(length);
    return QFile::decodeName(target);
}

/// Reads from disk. `bytesLeft` is one budget for the whole tree.
NSFileWrapperPtr readAt(int folder, const QByteArray &name, qint64 &bytesLeft, int depth);

NSFileWrapperPtr readFile(int folder, const QByteArray &name, qint64 &bytesLeft)
{
    // Not blocking: a pipe that has taken the file's place must not hang the reader.
    const Descriptor file(::openat(folder, name.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status = {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > bytesLeft)
        return nullptr;
    const std::optional<QByteArray> bytes = readAll(file.get(), bytesLeft);
    if (!bytes)
        return nullptr;
    bytesLeft -= bytes->size();
    return NSFileWrapper::regularFileWithContents(*bytes);
}

NSFileWrapperPtr readFolder(int folder, const QByteArray &name, qint64 &bytesLeft, int depth)
{
    const int fd = ::openat(folder, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    const std::unique_ptr<DIR, int (*)(DIR *)> entries(fd < 0 ? nullptr : ::fdopendir(fd), ::closedir);
    if (!entries) {
        if (fd >= 0)
            ::close(fd);
        return nullptr;
    }
    QMap<QString, NSFileWrapperPtr> children;
    errno = 0;
    while (const dirent *entry =
               ::readdir(entries.get())) { // NOLINT(concurrency-mt-unsafe): a stream of our own
        const QByteArray child(static_cast<const char *>(entry->d_name));
        if (child == "." || child == "..")
            continue;
        bytesLeft -= kSizeOfEntry;
        const NSFileWrapperPtr wrapper = bytesLeft < 0 ? nullptr : readAt(fd, child, bytesLeft, depth + 1);
        if (!wrapper)
            return nullptr;
        children.insert(wrapper->filename(), wrapper);
        errno = 0;
    }
    return errno == 0 ? NSFileWrapper::directoryWithNamedFileWrappers(children) : nullptr;
}

NSFileWrapperPtr readAt(int folder, const QByteArray &name, qint64 &bytesLeft, int depth)
{
    struct stat status = {};
    if (depth > kDeepestFolder || ::fstatat(folder, name.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return nullptr;
    NSFileWrapperPtr wrapper;
    if (S_ISREG(status.st_mode)) {
        wrapper = readFile(folder, name, bytesLeft);
    } else if (S_ISDIR(status.st_mode)) {
        wrapper = readFolder(folder, name, bytesLeft, depth);
    } else if (S_ISLNK(status.st_mode)) {
        if (const std::optional<QString> target = readLink(folder, name))
            wrapper = NSFileWrapper::symbolicLinkWithDestination(*target);
    }
    if (!wrapper)
        return nullptr;
    wrapper->setFileAttributes(attributesOf(status));
    wrapper->setFilename(NSStringPathExtensions::lastPathComponent(QFile::decodeName(name)));
    wrapper->setPreferredFilename(wrapper->filename());
    return wrapper;
}

/// Sets what the file system takes; none of it is worth losing the file for.
void applyAttributes(int fd, const NSFileWrapper::Attributes &attributes)
{
    if (attributes.posixPermissions)
        (void)::fchmod(fd, *attributes.posixPermissions & kWrittenPermissionBits);
    if (attributes.modificationDate.isValid()) {
        const qint64 milliseconds = attributes.modificationDate.toMSecsSinceEpoch();
        const qint64 seconds = milliseconds / 1000 - (milliseconds % 1000 < 0 ? 1 : 0);
        const timespec date{seconds, (milliseconds - seconds * 1000) * 1'000'000};
        const std::array<timespec, 2> times{date, date};
        (void)::futimens(fd, times.data());
    }
}

/// Writes to a name that must be free. Everything is created anew and nothing is followed, so that a link put
/// in the way cannot lead the writing astray.
bool writeAt(int folder, const QByteArray &name, const NSFileWrapper &wrapper, int depth);

bool writeFile(int folder, const QByteArray &name, const NSFileWrapper &wrapper)
{
    Descriptor file(
        ::openat(folder, name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
    if (!file.isOpen() || !writeAll(file.get(), wrapper.regularFileContents()))
        return false;
    applyAttributes(file.get(), wrapper.fileAttributes());
    return file.close();
}

bool writeFolder(int folder, const QByteArray &name, const NSFileWrapper &wrapper, int depth)
{
    if (::mkdirat(folder, name.constData(), 0777) != 0)
        return false;
    const Descriptor made(
        ::openat(folder, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!made.isOpen())
        return false;
    for (auto child = wrapper.fileWrappers().begin(); child != wrapper.fileWrappers().end(); ++child) {
        const QByteArray childName =
            QFile::encodeName(NSStringPathExtensions::lastPathComponent(child.key()));
        if (childName.contains('/') || !writeAt(made.get(), childName, *child.value(), depth + 1))
            return false;
    }
    applyAttributes(made.get(), wrapper.fileAttributes());
    return true;
}

bool writeLink(int folder, const QByteArray &name, const NSFileWrapper &wrapper)
{
    const QByteArray target = QFile::encodeName(wrapper.symbolicLinkDestination());
    return !target.contains('\0') && ::symlinkat(target.constData(), folder, name.constData()) == 0;
}

bool writeAt(int folder, const QByteArray &name, const NSFileWrapper &wrapper, int depth)
{
    if (depth > kDeepestFolder || name.isEmpty() || name == "." || name == ".." || name.contains('\0'))
        return false;
    switch (wrapper.kind()) {
    case NSFileWrapper::Kind::RegularFile:
        return writeFile(folder, name, wrapper);
    case NSFileWrapper::Kind::Directory:
        return writeFolder(folder, name, wrapper, depth);
    case NSFileWrapper::Kind::SymbolicLink:
        return writeLink(folder, name, wrapper);
    }
    return false;
}

/// Removes what an interrupted writing left, however deep.
void removeAll(int folder, const QByteArray &name)
{
    if (::unlinkat(folder, name.constData(), 0) == 0)
        return;
    const int fd = ::openat(folder, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return;
    (void)::fchmod(fd, 0700);
    if (const std::unique_ptr<DIR, int (*)(DIR *)> entries(::fdopendir(fd), ::closedir); entries) {
        while (const dirent *entry = ::readdir(entries.get())) { // NOLINT(concurrency-mt-unsafe)
            const QByteArray child(static_cast<const char *>(entry->d_name));
            if (child != "." && child != "..")
                removeAll(fd, child);
        }
    } else {
        ::close(fd);
    }
    (void)::unlinkat(folder, name.constData(), AT_REMOVEDIR);
}

bool exists(const QByteArray &path)
{
    struct stat status = {};
    return ::lstat(path.constData(), &status) == 0;
}

/// Renames without ever replacing; on file systems that cannot promise it, after a look.
bool renameToFreeName(const QByteArray &from, const QByteArray &to)
{
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    return !exists(to) && std::rename(from.constData(), to.constData()) == 0;
}

} // namespace

NSFileWrapperPtr NSFileWrapper::regularFileWithContents(const QByteArray &contents)
{
    NSFileWrapperPtr wrapper(new NSFileWrapper(Kind::RegularFile));
    wrapper->_contents = contents.isNull() ? QByteArray("") : contents;
    return wrapper;
}

NSFileWrapperPtr NSFileWrapper::symbolicLinkWithDestination(const QString &destination)
{
    NSFileWrapperPtr wrapper(new NSFileWrapper(Kind::SymbolicLink));
    wrapper->_destination = destination.isNull() ? u""_s : destination;
    return wrapper;
}

NSFileWrapperPtr
NSFileWrapper::directoryWithNamedFileWrappers(const QMap<QString, NSFileWrapperPtr> &children)
{
    NSFileWrapperPtr wrapper(new NSFileWrapper(Kind::Directory));
    for (auto child = children.begin(); child != children.end(); ++child) {
        if (child.value())
            wrapper->_children.insert(child.key(), child.value());
    }
    return wrapper;
}

NSFileWrapperPtr NSFileWrapper::directoryWithFileWrappers(const QList<NSFileWrapperPtr> &children)
{
    QMap<QString, NSFileWrapperPtr> named;
    QMap<QString, qsizetype> lastNumber;
    for (const NSFileWrapperPtr &child : children) {
        if (!child)
            continue;
        QString name = child->preferredFilename();
        while (named.contains(name))
            name =
                child->preferredFilename() + u'-' + QString::number(++lastNumber[child->preferredFilename()]);
        named.insert(name, child);
    }
    return directoryWithNamedFileWrappers(named);
}

NSFileWrapperPtr NSFileWrapper::wrapperWithPath(const QString &path, qint64 maximumBytes)
{
    const QByteArray name = systemPath(path);
    return withoutThrowing(
        [&] { return name.isEmpty() ? nullptr : readAt(AT_FDCWD, name, maximumBytes, 0); });
}

bool NSFileWrapper::writeToPath(const QString &path, bool atomically) const
{
    const QByteArray target = systemPath(path);
    if (target.isEmpty() || exists(target))
        return false;
    // A link comes into being whole.
    if (!atomically || isSymbolicLink())
        return writeAt(AT_FDCWD, target, *this, 0);

    // Beside the target, under a name that nobody guesses, so that renaming is one step of the file system.
    const QByteArray name = ".writing-" + QByteArray::number(QRandomGenerator::system()->generate64(), 16);
    const QByteArray neighbour = target.left(target.lastIndexOf('/') + 1) + name;
    if (writeAt(AT_FDCWD, neighbour, *this, 0) && renameToFreeName(neighbour, target))
        return true;
    removeAll(AT_FDCWD, neighbour);
    return false;
}
