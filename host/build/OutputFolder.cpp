#include "host/build/OutputFolder.h"

#include "host/site/Site.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kPiece = 1 << 16;
constexpr const char *kStaging = "staging";

QString folderPart(const QString &file)
{
    return file.left(std::max<qsizetype>(file.lastIndexOf(u'/'), 0));
}

QByteArray namePart(const QString &file)
{
    return QFile::encodeName(file.mid(file.lastIndexOf(u'/') + 1));
}

/// A folder below another one, each on the way opened in the one above it.
FileDescriptor folderBelow(const FileDescriptor &top, const QString &path)
{
    FileDescriptor folder = top.folderIn(".");
    const QStringList names = path.split(u'/', Qt::SkipEmptyParts);
    for (const QString &name : names)
        folder = folder.folderIn(QFile::encodeName(name));
    return folder;
}

bool holds(const FileDescriptor &file, const QByteArray &bytes)
{
    if (file.sizeOfFile() != bytes.size())
        return false;
    std::array<char, kPiece> piece;
    for (qint64 at = 0; at < bytes.size();) {
        const qint64 count = file.read(piece.data(), kPiece);
        if (count <= 0 || at + count > bytes.size() ||
            std::memcmp(piece.data(), bytes.constData() + at, static_cast<size_t>(count)) != 0)
            return false;
        at += count;
    }
    return true;
}

bool haveSameBytes(const FileDescriptor &a, const FileDescriptor &b)
{
    if (a.sizeOfFile() < 0 || a.sizeOfFile() != b.sizeOfFile())
        return false;
    std::array<char, kPiece> pieceOfA;
    std::array<char, kPiece> pieceOfB;
    for (;;) {
        const qint64 count = a.read(pieceOfA.data(), kPiece);
        if (count < 0 || b.read(pieceOfB.data(), kPiece) != count ||
            std::memcmp(pieceOfA.data(), pieceOfB.data(), static_cast<size_t>(count)) != 0)
            return false;
        if (count < kPiece)
            return true;
    }
}

bool copyBytes(const FileDescriptor &from, const FileDescriptor &to)
{
    std::array<char, kPiece> piece;
    for (;;) {
        const qint64 count = from.read(piece.data(), kPiece);
        if (count < 0 || !to.write(piece.data(), count))
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

} // namespace

OutputFolder::OutputFolder(QString folder)
    : _folder(std::move(folder)), _root(FileDescriptor::open(_folder, O_RDONLY | O_DIRECTORY))
{
}

QString OutputFolder::stagingFolder() const
{
    return pathOf(kBuilderFolder + u'/' + QLatin1StringView(kStaging));
}

FileDescriptor OutputFolder::staging() const
{
    return _root.folderIn(QFile::encodeName(kBuilderFolder)).folderIn(kStaging);
}

/// The folder that a file lies in; made, with those above it, where it is missing.
FileDescriptor OutputFolder::folderOf(const QString &file, QString &error) const
{
    FileDescriptor folder = _root.folderIn(".");
    const QStringList names = folderPart(file).split(u'/', Qt::SkipEmptyParts);
    for (const QString &name : names) {
        const QByteArray encoded = QFile::encodeName(name);
        FileDescriptor next = folder.folderIn(encoded);
        if (!next.isOpen() && errno == ENOENT &&
            (::mkdirat(folder.number(), encoded.constData(), 0777) == 0 || errno == EEXIST))
            next = folder.folderIn(encoded);
        if (!next.isOpen()) {
            error = errno == ENOTDIR || errno == ELOOP
                        ? folderPart(file) + u": is no folder but something else"_s
                        : folderPart(file) + u": "_s + reasonOf(errno);
            return {};
        }
        folder = std::move(next);
    }
    return folder;
}

OutputFolder::Outcome OutputFolder::moveIntoPlace(const FileDescriptor &from, const QByteArray &name,
                                                  const FileDescriptor &folder, const QString &file,
                                                  QString &error) const
{
    if (::renameat(from.number(), name.constData(), folder.number(), namePart(file).constData()) == 0)
        return Outcome::Written;
    const Outcome outcome = failure(file, error);
    ::unlinkat(from.number(), name.constData(), 0);
    return outcome;
}

/// Makes a file in the staging folder and moves it into place when it is whole.
template <typename Make>
OutputFolder::Outcome OutputFolder::publish(const FileDescriptor &folder, const QString &file, QString &error,
                                            Make make)
{
    const QByteArray name = "whole-" + QByteArray::number(::getpid()); // one a process is enough
    const FileDescriptor from = staging();
    ::unlinkat(from.number(), name.constData(), 0);
    FileDescriptor made = from.openIn(name, O_WRONLY | O_CREAT | O_EXCL);
    if (made.isOpen() && make(made) && made.close())
        return moveIntoPlace(from, name, folder, file, error);
    const Outcome outcome = failure(file, error);
    ::unlinkat(from.number(), name.constData(), 0);
    return outcome;
}

OutputFolder::Outcome OutputFolder::write(const QString &file, const QByteArray &bytes, QString &error)
{
    const FileDescriptor folder = folderOf(file, error);
    if (!folder.isOpen())
        return Outcome::Failed;
    if (holds(folder.openIn(namePart(file), O_RDONLY), bytes))
        return Outcome::Unchanged;
    return publish(folder, file, error,
                   [&](const FileDescriptor &made) { return made.write(bytes.constData(), bytes.size()); });
}

OutputFolder::Outcome OutputFolder::take(const QString &file, const QString &staged, QString &error)
{
    const FileDescriptor folder = folderOf(file, error);
    if (!folder.isOpen())
        return Outcome::Failed;
    const FileDescriptor from = folderBelow(staging(), folderPart(staged));
    const QByteArray name = namePart(staged);
    const FileDescriptor made = from.openIn(name, O_RDONLY);
    if (made.sizeOfFile() < 0) {
        error = file + u": what was made for it is no file"_s;
        return Outcome::Failed;
    }
    if (!haveSameBytes(folder.openIn(namePart(file), O_RDONLY), made))
        return moveIntoPlace(from, name, folder, file, error);
    ::unlinkat(from.number(), name.constData(), 0);
    return Outcome::Unchanged;
}

OutputFolder::Outcome OutputFolder::copy(const QString &file, const QString &source, QString &error)
{
    const FileDescriptor folder = folderOf(file, error);
    if (!folder.isOpen())
        return Outcome::Failed;
    const FileDescriptor original = FileDescriptor::open(source, O_RDONLY | O_NONBLOCK);
    if (original.sizeOfFile() < 0)
        return failure(file, error);
    if (haveSameBytes(folder.openIn(namePart(file), O_RDONLY), original))
        return Outcome::Unchanged;
    ::lseek(original.number(), 0, SEEK_SET);
    return publish(folder, file, error,
                   [&](const FileDescriptor &made) { return copyBytes(original, made); });
}

bool OutputFolder::remove(const QString &file)
{
    const FileDescriptor folder = folderBelow(_root, folderPart(file));
    if (::unlinkat(folder.number(), namePart(file).constData(), 0) != 0)
        return false;
    for (QString above = folderPart(file); !above.isEmpty(); above = folderPart(above)) {
        const FileDescriptor outer = folderBelow(_root, folderPart(above));
        if (::unlinkat(outer.number(), namePart(above).constData(), AT_REMOVEDIR) != 0)
            break;
    }
    return true;
}

bool OutputFolder::prepareStaged(const QString &folder, const QString &inner)
{
    const FileDescriptor top = staging();
    if (!top.isOpen())
        return false;
    const auto entriesOf = [](const FileDescriptor &opened) {
        std::error_code error;
        QStringList names;
        const auto path = std::filesystem::path(opened.path().toStdString());
        if (opened.isOpen()) {
            for (const auto &entry : std::filesystem::directory_iterator(path, error))
                names.append(QFile::decodeName(entry.path().filename().c_str()));
        }
        return names;
    };
    const FileDescriptor outer = folderBelow(top, folder);
    const FileDescriptor innermost = folderBelow(outer, inner);
    if (innermost.isOpen() && entriesOf(outer) == QStringList{inner} && entriesOf(innermost).isEmpty())
        return true;
    const auto path = std::filesystem::path((top.path() + u'/' + folder).toStdString());
    std::error_code error;
    std::filesystem::remove_all(path, error); // removes links, but nothing behind them
    return ::mkdirat(top.number(), QFile::encodeName(folder).constData(), 0777) == 0 &&
           ::mkdirat(folderBelow(top, folder).number(), QFile::encodeName(inner).constData(), 0777) == 0;
}

QStringList OutputFolder::stagedFiles(const QString &folder, QStringList &odd) const
{
    const FileDescriptor opened = folderBelow(staging(), folder);
    QStringList files;
    if (!opened.isOpen()) {
        odd.append(folder);
        return files;
    }
    const std::string top = opened.path().toStdString();
    std::error_code error;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(top, error)) {
        const QString name = QFile::decodeName(entry.path().c_str() + top.size() + 1);
        const auto type = entry.symlink_status(error).type();
        if (type == std::filesystem::file_type::regular)
            files.append(folder + u'/' + name);
        else if (type != std::filesystem::file_type::directory)
            odd.append(folder + u'/' + name);
    }
    files.sort();
    odd.sort();
    return files;
}

bool OutputFolder::clearStaging()
{
    removeStaging();
    const FileDescriptor builder = _root.folderIn(QFile::encodeName(kBuilderFolder));
    return builder.isOpen() && ::mkdirat(builder.number(), kStaging, 0777) == 0;
}

void OutputFolder::removeStaging()
{
    const FileDescriptor builder = _root.folderIn(QFile::encodeName(kBuilderFolder));
    std::error_code error;
    if (builder.isOpen())
        std::filesystem::remove_all((builder.path() + u'/' + QLatin1StringView(kStaging)).toStdString(),
                                    error);
}
