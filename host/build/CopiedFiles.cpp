#include "host/build/CopiedFiles.h"

#include "host/ContainedPath.h"
#include "platform/QFReport.h"

#include <QDirIterator>
#include <QFileInfo>

#include <iterator>

using namespace Qt::StringLiterals;

namespace {

void addFolder(QMap<QString, QString> &files, const QString &folder, const QString &published)
{
    QDirIterator entries(folder, QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        const QString name = path.mid(folder.size() + 1);
        if (entries.fileInfo().isDir()) {
            if (entries.fileInfo().isSymLink())
                reportLoss(u"site"_s, u"is not published, since it is a link to a folder: "_s + name, path);
        } else if (containedPath(folder, name).isNull())
            reportLoss(u"site"_s, u"is not published, since it leads out of its folder: "_s + name, path);
        else
            files.insert(published + u'/' + name, path);
    }
}

} // namespace

QMap<QString, QString> CopiedFiles::ofSite(const Site &site, const SiteTheme &theme)
{
    QMap<QString, QString> files;
    addFolder(files, theme.folder, kPublishedTheme);
    files.remove(kPublishedTheme + u"/theme.json"_s);
    for (auto file = files.begin(); file != files.end();) {
        const bool isTemplate =
            QFileInfo(file.value()).canonicalFilePath() == QFileInfo(theme.templateFile).canonicalFilePath();
        file = isTemplate ? files.erase(file) : std::next(file);
    }
    addFolder(files, site.assets, kPublishedAssets);
    return files;
}
