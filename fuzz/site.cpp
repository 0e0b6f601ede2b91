// Feeds arbitrary bytes to the readers of site.json and, behind a NUL, theme.json. Whatever a site is read,
// its pages lie inside the published site, no two in one place, and settings are taken over from somewhere.

#include "fuzz/Require.h"
#include "host/site/SiteReader.h"
#include "host/site/SiteTheme.h"
#include "platform/QFReport.h"

#include <QDir>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace {

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
}

void requireGoodPages(const Site &site)
{
    QSet<QString> paths;
    for (qsizetype i = 0; i < site.pages.size(); ++i) {
        const SitePage &page = site.pages.at(i);
        require(page.parent < i && site.pageNamed(page.id) == &page);
        require((page.parent < 0 ? site.topPages : site.pages.at(page.parent).children).contains(i));
        const SitePage *source = &page;
        for (qsizetype steps = 0; !source->settingsFrom.isNull(); ++steps) {
            source = site.pageNamed(source->settingsFrom);
            require(source && source->plugin == page.plugin && steps < site.pages.size());
        }
        if (page.isExternal())
            continue;
        for (const QString &name : page.path().split(u'/'))
            require(SiteReader::isSafeName(name));
        require(!paths.contains(page.path().toLower()));
        paths.insert(page.path().toLower());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QTemporaryDir folder;
    static const bool isMade = QDir(folder.path()).mkdir(u"theme"_s);
    require(isMade);
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const qsizetype end = bytes.contains('\0') ? bytes.indexOf('\0') : bytes.size();
    write(folder.filePath(u"site.json"_s), bytes.first(end));
    write(folder.filePath(u"theme/theme.json"_s), bytes.mid(end + 1));
    QFReport report;
    const QFReport::Installed collecting(report);
    QString error;
    const std::optional<Site> site = SiteReader::read(folder.path(), error);
    require(site.has_value() == error.isNull());
    if (site)
        requireGoodPages(*site);
    error = QString();
    require(SiteTheme::read(folder.filePath(u"theme"_s), error).has_value() == error.isNull());
    return 0;
}
