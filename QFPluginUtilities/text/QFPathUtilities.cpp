#include "text/QFPathUtilities.h"

#include "platform/AliasRecord.h"
#include "platform/WithoutThrowing.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

QString QFPathUtilities::resolveAlias(const QString &path)
{
    return path;
}

QString QFPathUtilities::resolveAliases(const QString &path)
{
    return path;
}

qint32 QFPathUtilities::pathToFSRef(const QString &path, QString *reference)
{
    if (path.isEmpty())
        return kPathEmpty;
    // Qt would read a colon at the start as the name of a built-in file.
    const QFileInfo file(path.startsWith(u':') ? u"./"_s + path : path);
    if (path.contains(QChar::Null) || !file.exists())
        return kPathNotFound;
    if (reference)
        *reference = file.absoluteFilePath();
    return kPathFound;
}

qint32 QFPathUtilities::pathToFSSpec(const QString &path, QString *specification)
{
    return pathToFSRef(path, specification);
}

QByteArray QFPathUtilities::aliasForPathRelativeTo(const QString &path, const QString &base)
{
    return withoutThrowing([&] {
        const std::optional<AliasRecord> record = AliasRecord::ofFile(path, base);
        return record ? record->toBytes() : QByteArray();
    });
}

QString QFPathUtilities::resolveAliasRelativeTo(const QByteArray &alias, const QString &base,
                                                bool /*withoutUI*/)
{
    return withoutThrowing([&] {
        const std::optional<AliasRecord> record = AliasRecord::fromBytes(alias);
        return record ? record->resolve(base) : QString();
    });
}
