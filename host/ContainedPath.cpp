#include "host/ContainedPath.h"

#include "host/ReadFiles.h"

#include <QDir>
#include <QFileInfo>

namespace {

bool liesInside(const QString &path, const QString &canonicalFolder)
{
    return canonicalFolder == u"/" || path.startsWith(canonicalFolder + u'/');
}

} // namespace

QString containedPath(const QString &folder, const QString &name)
{
    if (name.isEmpty() || name.contains(QChar(0)) || QDir::isAbsolutePath(name) || name.startsWith(u':'))
        return {};
    const QString canonicalFolder =
        QFileInfo(folder.isEmpty() ? QStringLiteral(".") : folder).canonicalFilePath();
    if (canonicalFolder.isEmpty())
        return {};
    const QFileInfo file(QDir(canonicalFolder).filePath(QDir::cleanPath(name)));
    ReadFiles::note(file.filePath());
    const QString target = file.canonicalFilePath();
    const QString parent = QFileInfo(file.path()).canonicalFilePath();
    if (target.isEmpty() || parent.isEmpty() || !liesInside(target, canonicalFolder))
        return {};
    if (parent != canonicalFolder && !liesInside(parent, canonicalFolder))
        return {};
    return QDir(parent).filePath(file.fileName());
}
