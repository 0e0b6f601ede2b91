#include "host/site/Site.h"

using namespace Qt::StringLiterals;

QString joinedPath(const QString &folder, const QString &name)
{
    return folder.isEmpty() ? name : folder + u'/' + name;
}

QString relativeAddress(const QString &from, const QString &to)
{
    const QStringList fromFolders = from.split(u'/', Qt::SkipEmptyParts);
    const QStringList toParts = to.split(u'/', Qt::SkipEmptyParts);
    qsizetype shared = 0;
    while (shared < fromFolders.size() && shared + 1 < toParts.size() &&
           fromFolders.at(shared) == toParts.at(shared))
        ++shared;
    return u"../"_s.repeated(fromFolders.size() - shared) + toParts.mid(shared).join(u'/');
}

QString SitePage::file() const
{
    return extension.isEmpty() ? filename : filename + u'.' + extension;
}

QString SitePage::path() const
{
    return joinedPath(folder, file());
}

QString SitePage::filesFolder() const
{
    return joinedPath(folder, filesFolderName());
}

const SitePage *Site::pageNamed(const QString &id) const
{
    const auto found = indexOfID.constFind(id);
    return found == indexOfID.constEnd() ? nullptr : &pages.at(*found);
}

const SitePage *Site::home() const
{
    const SitePage *first = nullptr;
    for (const SitePage &page : pages) {
        if (page.isExternal() || !page.folder.isEmpty())
            continue;
        if (page.file() == index)
            return &page;
        if (!first)
            first = &page;
    }
    return first;
}
