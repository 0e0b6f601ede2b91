#include "platform/AliasRecord.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <climits>

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 kMagic = 0x51464152; // "QFAR"
constexpr quint8 kVersion = 1;
constexpr quint32 kLongestText = PATH_MAX;

/// The path from the root, without what is superfluous in it; nil for what is no path.
QString absolutePath(const QString &path)
{
    if (path.isEmpty() || path.contains(QChar::Null))
        return {};
    return QDir::cleanPath(path.startsWith(u'/') ? path : QDir::currentPath() + u'/' + path);
}

QByteArray systemPath(const QString &path)
{
    return QFile::encodeName(absolutePath(path));
}

/// The path as text; nil when it holds bytes that are no text, and could not be opened by it.
QString pathText(const QByteArray &path)
{
    const QString text = QFile::decodeName(path);
    return !path.isEmpty() && QFile::encodeName(text) == path ? text : QString();
}

QByteArray withoutSlashesAtEnd(QByteArray path)
{
    while (path.size() > 1 && path.endsWith('/'))
        path.chop(1);
    return path;
}

QByteArray folderOf(const QByteArray &path)
{
    return path.left(std::max<qsizetype>(path.lastIndexOf('/'), 1));
}

QByteArray nameOf(const QByteArray &path)
{
    return path.mid(path.lastIndexOf('/') + 1);
}

bool isBelow(const QByteArray &path, const QByteArray &folder)
{
    const QByteArray start = folder.endsWith('/') ? folder : folder + '/';
    return !folder.isEmpty() && path.size() > start.size() && path.startsWith(start);
}

/// The path as seen from the base; by its real name where that is what shows it to lie below it.
QByteArray relativePath(const QByteArray &path, const QByteArray &base)
{
    const QString text = QFile::decodeName(path);
    const QFileInfo file(text);
    const QString realBase = QFileInfo(QFile::decodeName(base)).canonicalFilePath();
    const QString realPath = QDir(file.dir().canonicalPath()).filePath(file.fileName());
    if (!isBelow(path, base) && isBelow(QFile::encodeName(realPath), QFile::encodeName(realBase)))
        return QFile::encodeName(QDir(realBase).relativeFilePath(realPath));
    return QFile::encodeName(QDir(QFile::decodeName(base)).relativeFilePath(text));
}

QByteArray placeIn(const QByteArray &base, const QByteArray &relativePath)
{
    if (base.isEmpty() || relativePath.isEmpty())
        return {};
    return QFile::encodeName(QDir::cleanPath(QFile::decodeName(base + '/' + relativePath)));
}

/// The folder around a path, then those around it as far as `top`; only the first when that is none of them.
QByteArrayList foldersAround(const QByteArray &path, const QByteArray &top)
{
    QByteArrayList folders{folderOf(path)};
    while (isBelow(folders.last(), top))
        folders.append(folderOf(folders.last()));
    return folders;
}

std::optional<FileIdentity> fileAt(const QByteArray &path)
{
    return path.isEmpty() ? std::nullopt : FileIdentity::at(path);
}

void writeText(QDataStream &stream, const QByteArray &text)
{
    stream << static_cast<quint32>(text.size());
    stream.writeRawData(text.constData(), static_cast<int>(text.size()));
}

/// Reads a text with its length before it, which is believed only as far as there are bytes.
bool readText(QDataStream &stream, QByteArray &text)
{
    quint32 length = 0;
    stream >> length;
    if (stream.status() != QDataStream::Ok || length > kLongestText ||
        length > stream.device()->bytesAvailable())
        return false;
    text = stream.device()->read(length);
    return true;
}

bool isTextWithoutNull(const QByteArray &text)
{
    return !text.contains('\0') && (text.isEmpty() || !pathText(text).isNull());
}

} // namespace

std::optional<AliasRecord> AliasRecord::ofFile(const QString &path, const QString &base)
{
    AliasRecord record;
    record._path = systemPath(path);
    if (record._path.size() <= 1)
        return {};
    // The clean path only says where to look: behind a link, ".." may lead elsewhere.
    const std::optional<FileIdentity> file = fileAt(withoutSlashesAtEnd(QFile::encodeName(path)));
    if (!file)
        return {};
    record._identity = *file;
    record._base = systemPath(base);
    if (!record._base.isEmpty())
        record._relativePath = relativePath(record._path, record._base);
    return record;
}

QByteArray AliasRecord::toBytes() const
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_6_4);
    stream << kMagic << kVersion;
    for (const QByteArray &text : {_path, _base, _relativePath})
        writeText(stream, text);
    stream << _identity.device << _identity.inode << _identity.handleType;
    writeText(stream, _identity.handle);
    stream << _identity.birthTime.has_value() << _identity.birthTime.value_or(0);
    stream << _identity.size << _identity.modificationTime << static_cast<quint8>(_identity.kind);
    return bytes;
}

std::optional<AliasRecord> AliasRecord::fromBytes(const QByteArray &bytes)
{
    QDataStream stream(bytes);
    stream.setVersion(QDataStream::Qt_6_4);
    quint32 magic = 0;
    quint8 version = 0;
    stream >> magic >> version;
    AliasRecord record;
    FileIdentity &identity = record._identity;
    if (magic != kMagic || version != kVersion || !readText(stream, record._path) ||
        !readText(stream, record._base) || !readText(stream, record._relativePath))
        return {};
    stream >> identity.device >> identity.inode >> identity.handleType;
    bool hasBirthTime = false;
    qint64 birthTime = 0;
    quint8 kind = 0;
    if (!readText(stream, identity.handle))
        return {};
    stream >> hasBirthTime >> birthTime >> identity.size >> identity.modificationTime >> kind;
    const bool isWhole = stream.status() == QDataStream::Ok && stream.atEnd();
    const bool hasPaths = record._path.size() > 1 && record._path.startsWith('/') &&
                          (record._base.isEmpty() || record._base.startsWith('/')) &&
                          isTextWithoutNull(record._path) && isTextWithoutNull(record._base) &&
                          isTextWithoutNull(record._relativePath);
    if (!isWhole || !hasPaths || kind > static_cast<quint8>(FileIdentity::Kind::Other))
        return {};
    if (hasBirthTime)
        identity.birthTime = birthTime;
    identity.kind = static_cast<FileIdentity::Kind>(kind);
    return record;
}

QByteArrayList AliasRecord::foldersToSearch(const QByteArray &base, const QByteArray &placeInBase) const
{
    QByteArrayList folders;
    if (!placeInBase.isEmpty())
        folders += foldersAround(placeInBase, base);
    folders += foldersAround(_path, isBelow(_path, _base) ? _base : systemPath(QDir::homePath()));
    if (!base.isEmpty())
        folders.append(base);
    return folders;
}

QString AliasRecord::resolve(const QString &base, AliasSearchLimits limits) const
{
    const QByteArray baseNow = systemPath(base);
    const QByteArray placeInBase = placeIn(baseNow, _relativePath);
    for (const QByteArray &place : {placeInBase, _path}) {
        const std::optional<FileIdentity> file = fileAt(place);
        if (file && _identity.agreementWith(*file) != FileIdentity::Agreement::Different)
            return pathText(place);
    }

    AliasSearch search(_identity, nameOf(_path), limits);
    for (const QByteArray &folder : foldersToSearch(baseNow, placeInBase)) {
        if (search.lookIn(folder))
            return pathText(search.path());
    }
    if (const QString copy = pathText(search.onlyCopy()); !copy.isNull())
        return copy;

    const std::optional<FileIdentity> namesake = baseNow != _base ? fileAt(placeInBase) : std::nullopt;
    return namesake && namesake->kind == _identity.kind ? pathText(placeInBase) : QString();
}
