#include "movies/MovieBytes.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

std::unique_ptr<MovieBytes> MovieBytes::ofFile(const QString &path, int &error)
{
    const QByteArray name = QFile::encodeName(path);
    std::unique_ptr<MovieBytes> bytes(new MovieBytes);
    // Not blocking: a pipe must not hang the reader.
    bytes->_file = name.contains('\0') ? -1 : ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat status = {};
    if (bytes->_file < 0 || ::fstat(bytes->_file, &status) != 0) {
        error = name.contains('\0') ? EINVAL : errno;
        return nullptr;
    }
    if (!S_ISREG(status.st_mode)) {
        error = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return nullptr;
    }
    bytes->_size = status.st_size;
    return bytes;
}

std::unique_ptr<MovieBytes> MovieBytes::ofData(const QByteArray &data)
{
    std::unique_ptr<MovieBytes> bytes(new MovieBytes);
    bytes->_data = data;
    bytes->_size = data.size();
    return bytes;
}

MovieBytes::~MovieBytes()
{
    if (_file >= 0)
        ::close(_file);
}

qint64 MovieBytes::read(qint64 offset, char *buffer, qint64 length) const
{
    if (offset < 0 || length <= 0 || offset >= _size)
        return 0;
    length = std::min(length, _size - offset);
    if (_file < 0) {
        std::memcpy(buffer, _data.constData() + offset, static_cast<size_t>(length));
        return length;
    }
    qint64 done = 0;
    while (done < length) {
        const ssize_t got = ::pread(_file, buffer + done, static_cast<size_t>(length - done), offset + done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return -1;
        if (got == 0)
            break; // cut off meanwhile
        done += got;
    }
    return done;
}

QByteArray MovieBytes::bytes(qint64 offset, qint64 length) const
{
    QByteArray result(std::clamp(_size - offset, qint64(0), std::max(length, qint64(0))), Qt::Uninitialized);
    result.truncate(std::max(read(offset, result.data(), result.size()), qint64(0)));
    return result;
}
