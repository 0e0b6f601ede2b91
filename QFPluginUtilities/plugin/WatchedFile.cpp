#include "plugin/WatchedFile.h"

#include <QFile>

#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Nothing for paths that the system cannot have.
QByteArray systemPath(const QString &path)
{
    return path.contains(u'\0') ? QByteArray() : QFile::encodeName(path);
}

bool isAt(const struct stat &file, const QByteArray &path)
{
    struct stat there = {};
    return ::stat(path.constData(), &there) == 0 && there.st_dev == file.st_dev &&
           there.st_ino == file.st_ino;
}

} // namespace

std::optional<qint64> modificationDate(const QString &path)
{
    struct stat file = {};
    if (::stat(systemPath(path).constData(), &file) != 0)
        return std::nullopt;
    // Unsigned, because dates may be far beyond what nanoseconds can count.
    return qint64(quint64(file.st_mtim.tv_sec) * 1'000'000'000 + quint64(file.st_mtim.tv_nsec));
}

WatchedFile::WatchedFile(QString path, int descriptor, bool isFolder)
    : _path(std::move(path)), _descriptor(descriptor), _isFolder(isFolder)
{
}

WatchedFile::~WatchedFile()
{
    ::close(_descriptor);
}

std::shared_ptr<WatchedFile> WatchedFile::open(const QString &path)
{
    const int descriptor = ::open(systemPath(path).constData(), O_PATH | O_CLOEXEC);
    if (descriptor < 0)
        return nullptr;
    struct stat file = {};
    const bool isFolder = ::fstat(descriptor, &file) == 0 && S_ISDIR(file.st_mode);
    return std::shared_ptr<WatchedFile>(new WatchedFile(path, descriptor, isFolder));
}

QByteArray WatchedFile::descriptorPath() const
{
    return "/proc/self/fd/" + QByteArray::number(_descriptor);
}

QByteArray WatchedFile::currentPath() const
{
    QByteArray path(PATH_MAX, Qt::Uninitialized);
    const ssize_t length = ::readlink(descriptorPath().constData(), path.data(), std::size_t(path.size()));
    path.truncate(std::max<ssize_t>(length, 0));
    return path;
}

bool WatchedFile::isGone() const
{
    struct stat file = {};
    if (::fstat(_descriptor, &file) != 0 || file.st_nlink == 0)
        return true;
    return !isAt(file, systemPath(_path)) && !isAt(file, currentPath());
}
