#pragma once

#include "platform/NSStringPathExtensions.h"
#include "platform/QFReport.h"
#include "plugin/QFAbstractPlugin.h"
#include "plugin/QFExportParams.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QVariantMap>

#include <optional>

/// Files of the site that a plug-in reads for its page, and where its shared files lie as seen from the page.
namespace SiteFiles {

inline bool isInside(const QString &folder, const QString &canonicalPath)
{
    return canonicalPath == folder || canonicalPath.startsWith(folder + u'/');
}

/// Folder of the site, with all links resolved; nil without a document that lies on disk.
inline QString siteFolder(const QFAbstractPlugin &plugin)
{
    const QString document = plugin.documentPath();
    return document.isEmpty() ? QString() : QFileInfo(QFileInfo(document).absolutePath()).canonicalFilePath();
}

/// Whether the name, by itself, cannot lead out of the folder that it counts from.
inline bool staysInside(const QString &name)
{
    return !name.contains(QChar::Null) && !QDir::isAbsolutePath(name) &&
           !name.split(u'/').contains(QStringLiteral(".."));
}

/// Path of the file or folder that a setting names, with all links resolved. Nil, with a record, for what
/// does not exist and for what lies outside the site: absolute paths, paths with "..", links that lead out.
inline QString named(const QFAbstractPlugin &plugin, const QString &name)
{
    const auto refused = [&](const QString &why) {
        reportLoss(QStringLiteral("source"), why, name);
        return QString();
    };
    const QString site = siteFolder(plugin);
    if (name.isEmpty())
        return refused(QStringLiteral("The page's setting \"source\" names no file"));
    if (site.isEmpty())
        return refused(QStringLiteral("The site has no folder to read files from"));
    const QString path = staysInside(name) ? QFileInfo(site + u'/' + name).canonicalFilePath() : QString();
    if (staysInside(name) && path.isEmpty())
        return refused(QStringLiteral("There is no such file in the site's folder"));
    if (path.isEmpty() || !isInside(site, path))
        return refused(QStringLiteral("A page is made from files inside the site's folder only"));
    return path;
}

/// Paths of the files that settings name, for the host to watch: also of those that are not there yet.
inline QStringList watched(const QFAbstractPlugin &plugin, const QStringList &names)
{
    QStringList paths;
    const QString site = siteFolder(plugin);
    for (const QString &name : names) {
        if (!site.isEmpty() && !name.isEmpty() && staysInside(name))
            paths.append(QDir::cleanPath(site + u'/' + name));
    }
    return paths;
}

/// What stands in a file; nothing, with a record, when it cannot be read or is no file.
inline std::optional<QByteArray> contents(const QString &path)
{
    constexpr qint64 maximumBytes = qint64(64) << 20;
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly) || file.size() > maximumBytes) {
        reportLoss(QStringLiteral("source"), QStringLiteral("The file cannot be read"), path);
        return {};
    }
    return file.readAll();
}

/// The folder that a page's pictures are written to; nil when the host does not say.
inline QString filesFolder(const QVariantMap &params)
{
    const QFExportParams page(params);
    if (page.exportPageLocation().isEmpty() || page.exportFilesFolderName().isEmpty())
        return {};
    return page.exportPageLocation() + u'/' + page.exportFilesFolderName();
}

/// Address of a file that all pages of the kind share, on a page that lies `depth` folders below the place
/// from which common paths count.
inline QString sharedFile(const QString &file, const QVariantMap &params, qint64 depth)
{
    const QFExportParams page(params);
    const QString common = page.exportPathToCommonPluginFiles();
    if (page.exportCommonPathsAreAbsolute())
        return common.endsWith(u'/') ? common + file : common + u'/' + file;
    return QStringLiteral("../").repeated(depth) +
           NSStringPathExtensions::stringByAppendingPathComponent(common, file);
}

/// Puts markup before what the template has in place of its style sheets, so that the theme has the last
/// word.
inline void addToStyleSheets(QString &pageTemplate, const QString &markup)
{
    const QString placeholder = QStringLiteral("%plugin_page_style_sheets%");
    pageTemplate.replace(placeholder, markup + placeholder, Qt::CaseInsensitive);
}

} // namespace SiteFiles
