#include "codecs/PictureFile.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr off_t kLargestFile = off_t(2) << 30;

class Descriptor
{
public:
    explicit Descriptor(int number) : _number(number) {}
    ~Descriptor()
    {
        if (_number >= 0)
            ::close(_number);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    [[nodiscard]] int number() const { return _number; }

private:
    int _number;
};

/// Reads until the buffer is full or the file ends; the number of bytes, or -1.
qsizetype readAll(int file, char *buffer, qsizetype size)
{
    qsizetype filled = 0;
    while (filled < size) {
        const ssize_t count = ::read(file, buffer + filled, static_cast<size_t>(size - filled));
        if (count == 0)
            break;
        if (count < 0 && errno != EINTR)
            return -1;
        filled += count < 0 ? 0 : count;
    }
    return filled;
}

} // namespace

QByteArray contentsOfPictureFile(const QString &path)
{
    if (path.isEmpty() || path.contains(QChar(u'\0')))
        return {};
    // Without waiting: a pipe nobody writes to would hold the caller for ever.
    const Descriptor file(::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status
    {
    };
    if (file.number() < 0 || ::fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size <= 0 || status.st_size > kLargestFile)
        return {};
    QByteArray contents(status.st_size, Qt::Uninitialized);
    const qsizetype filled = readAll(file.number(), contents.data(), contents.size());
    if (filled <= 0)
        return {};
    contents.truncate(filled);
    return contents;
}
