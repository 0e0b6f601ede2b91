#include "host/build/OutputFolder.h"

#include "host/site/Site.h"

#include <QFile>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kPiece = 1 << 16;

/// An open file of the system, closed with its owner.
class Descriptor
{
public:
    Descriptor(const QByteArray &path, int flags)
        : _descriptor(::open(path.constData(), flags | O_CLOEXEC, 0666))
    {
    }
    ~Descriptor()
    {
        if (_descriptor >= 0)
            ::close(_descriptor);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    [[nodiscard]] bool isOpen() const { return _descriptor >= 0; }
    /// As many bytes as there are, up to the size; -1 for a failure.
    [[nodiscard]] qint64 read(char *bytes, qint64 size) const
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
    [[nodiscard]] bool write(const char *bytes, qint64 size) const
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
    [[nodiscard]] bool close() { return ::close(std::exchange(_descriptor, -1)) == 0; }

private:
    int _descriptor;
};

bool isRegular(const QByteArray &path, qint64 size)
{
    struct stat status = {};
    return ::lstat(path.constData(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size == size;
}

bool holds(const QByteArray &path, const QByteArray &bytes)
{
    if (!isRegular(path, bytes.size()))
        return false;
    const Descriptor file(path, O_RDONLY | O_NOFOLLOW);
    std::array<char, kPiece> piece;
    for (qint64 at = 0; at < bytes.size();) {
        const qint64 count = file.isOpen() ? file.read(piece.data(), kPiece) : -1;
        if (count <= 0 || at + count > bytes.size() ||
            std::memcmp(piece.data(), bytes.constData() + at, count) != 0)
            return false;
        at += count;
    }
    return true;
}

bool isSameFile(const QByteArray &path, const QByteArray &other)
{
    struct stat status = {};
    if (::stat(other.constData(), &status) != 0 || !isRegular(path, status.st_size))
        return false;
    const Descriptor a(path, O_RDONLY | O_NOFOLLOW);
    const Descriptor b(other, O_RDONLY);
    std::array<char, kPiece> pieceOfA;
    std::array<char, kPiece> pieceOfB;
    for (;;) {
        const qint64 count = a.isOpen() && b.isOpen() ? a.read(pieceOfA.data(), kPiece) : -1;
        if (count < 0 || b.read(pieceOfB.data(), kPiece) != count ||
            std::memcmp(pieceOfA.data(), pieceOfB.data(), count) != 0)
            return false;
        if (count < kPiece)
            return true;
    }
}

QString reasonOf(int error)
{
    return QString::fromLocal8Bit(std::strerror(error)); // NOLINT(concurrency-mt-unsafe): known errors only
}

OutputFolder::Outcome failure(const QString &file, QString &error)
{
    error = file + u": "_s + reasonOf(errno);
    return OutputFolder::Outcome::Failed;
}

/// Where a file is made before it is moved into place; one a process is enough.
QByteArray temporaryFile(const OutputFolder &folder)
{
    return QFile::encodeName(folder.stagingFolder()) + "/whole-" + QByteArray::number(::getpid());
}

} // namespace

OutputFolder::OutputFolder(QString folder) : _folder(std::move(folder)) {}

QString OutputFolder::stagingFolder() const
{
    return pathOf(kBuilderFolder + u"/staging"_s);
}

bool OutputFolder::prepareFolderOf(const QString &file, QString &error)
{
    const QString folder = file.left(std::max<qsizetype>(file.lastIndexOf(u'/'), 0));
    if (folder.isEmpty() || _prepared.contains(folder))
        return true;
    if (!prepareFolderOf(folder, error))
        return false;
    const QByteArray path = QFile::encodeName(pathOf(folder));
    struct stat status = {};
    if (::lstat(path.constData(), &status) != 0) {
        if (::mkdir(path.constData(), 0777) != 0 && errno != EEXIST) {
            failure(folder, error);
            return false;
        }
    } else if (!S_ISDIR(status.st_mode)) {
        error = folder + u": is no folder but something else"_s;
        return false;
    }
    _prepared.insert(folder);
    return true;
}

OutputFolder::Outcome OutputFolder::moveIntoPlace(const QString &file, const QByteArray &from, QString &error)
{
    const QByteArray to = QFile::encodeName(pathOf(file));
    if (std::rename(from.constData(), to.constData()) == 0)
        return Outcome::Written;
    const Outcome outcome = failure(file, error);
    ::unlink(from.constData());
    return outcome;
}

OutputFolder::Outcome OutputFolder::write(const QString &file, const QByteArray &bytes, QString &error)
{
    if (!prepareFolderOf(file, error))
        return Outcome::Failed;
    if (holds(QFile::encodeName(pathOf(file)), bytes))
        return Outcome::Unchanged;
    const QByteArray temporary = temporaryFile(*this);
    Descriptor made(temporary, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW);
    if (!made.isOpen() || !made.write(bytes.constData(), bytes.size()) || !made.close()) {
        const Outcome outcome = failure(file, error);
        ::unlink(temporary.constData());
        return outcome;
    }
    return moveIntoPlace(file, temporary, error);
}

OutputFolder::Outcome OutputFolder::take(const QString &file, const QString &staged, QString &error)
{
    if (!prepareFolderOf(file, error))
        return Outcome::Failed;
    const QByteArray from = QFile::encodeName(staged);
    if (!isSameFile(QFile::encodeName(pathOf(file)), from))
        return moveIntoPlace(file, from, error);
    ::unlink(from.constData());
    return Outcome::Unchanged;
}

OutputFolder::Outcome OutputFolder::copy(const QString &file, const QString &source, QString &error)
{
    if (!prepareFolderOf(file, error))
        return Outcome::Failed;
    const QByteArray from = QFile::encodeName(source);
    if (isSameFile(QFile::encodeName(pathOf(file)), from))
        return Outcome::Unchanged;
    const QByteArray temporary = temporaryFile(*this);
    const Descriptor read(from, O_RDONLY);
    Descriptor made(temporary, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW);
    std::array<char, kPiece> piece;
    qint64 count = read.isOpen() && made.isOpen() ? kPiece : -1;
    while (count == kPiece) {
        count = read.read(piece.data(), kPiece);
        if (count > 0 && !made.write(piece.data(), count))
            count = -1;
    }
    if (count < 0 || !made.close()) {
        const Outcome outcome = failure(file, error);
        ::unlink(temporary.constData());
        return outcome;
    }
    return moveIntoPlace(file, temporary, error);
}

bool OutputFolder::remove(const QString &file)
{
    for (qsizetype slash = file.indexOf(u'/'); slash > 0; slash = file.indexOf(u'/', slash + 1)) {
        struct stat status = {};
        if (::lstat(QFile::encodeName(pathOf(file.left(slash))).constData(), &status) != 0 ||
            !S_ISDIR(status.st_mode))
            return false; // what lies behind a link is none of ours
    }
    if (::unlink(QFile::encodeName(pathOf(file)).constData()) != 0)
        return false;
    for (qsizetype slash = file.lastIndexOf(u'/'); slash > 0; slash = file.lastIndexOf(u'/', slash - 1)) {
        _prepared.remove(file.left(slash));
        if (::rmdir(QFile::encodeName(pathOf(file.left(slash))).constData()) != 0)
            break;
    }
    return true;
}
