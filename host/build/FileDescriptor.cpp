#include "host/build/FileDescriptor.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

FileDescriptor::~FileDescriptor()
{
    if (_descriptor >= 0)
        ::close(_descriptor);
}

FileDescriptor FileDescriptor::open(const QString &path, int flags)
{
    FileDescriptor opened;
    opened._descriptor = ::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC, 0666);
    return opened;
}

FileDescriptor FileDescriptor::openIn(const QByteArray &name, int flags) const
{
    FileDescriptor opened;
    opened._descriptor =
        ::openat(_descriptor, name.constData(), flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666);
    return opened;
}

FileDescriptor FileDescriptor::folderIn(const QByteArray &name) const
{
    return openIn(name, O_RDONLY | O_DIRECTORY);
}

qint64 FileDescriptor::sizeOfFile() const
{
    struct stat status = {};
    return isOpen() && ::fstat(_descriptor, &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : -1;
}

qint64 FileDescriptor::read(char *bytes, qint64 size) const
{
    qint64 done = 0;
    while (done < size) {
        const ssize_t count = ::read(_descriptor, bytes + done, static_cast<size_t>(size - done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count < 0 ? -1 : done;
        done += count;
    }
    return done;
}

bool FileDescriptor::write(const char *bytes, qint64 size) const
{
    while (size > 0) {
        const ssize_t count = ::write(_descriptor, bytes, static_cast<size_t>(size));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        bytes += count;
        size -= count;
    }
    return true;
}

bool FileDescriptor::close()
{
    return ::close(std::exchange(_descriptor, -1)) == 0;
}
