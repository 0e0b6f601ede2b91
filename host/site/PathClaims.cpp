#include "host/site/PathClaims.h"

#include "host/site/Site.h"

namespace {

QString folded(QStringView path)
{
    return path.toString().toLower();
}

/// Calls with each folder above the path, the nearest first, while `visit` answers true. False when it did
/// not.
template <typename Visit>
bool forEachFolder(const QString &path, Visit visit)
{
    for (qsizetype slash = path.lastIndexOf(u'/'); slash > 0; slash = path.lastIndexOf(u'/', slash - 1)) {
        if (!visit(path.left(slash)))
            return false;
    }
    return true;
}

} // namespace

PathClaims::PathClaims()
    : _territories{folded(kPublishedTheme), folded(kPublishedAssets), folded(kPublishedPlugins),
                   folded(kBuilderFolder)}
{
}

bool PathClaims::isFree(const QString &file) const
{
    if (_files.contains(file) || _folders.contains(file) || _territories.contains(file))
        return false;
    return forEachFolder(file, [this](const QString &folder) {
        return !_files.contains(folder) && !_territories.contains(folder);
    });
}

void PathClaims::take(const QString &file)
{
    _files.insert(file);
    forEachFolder(file, [this](const QString &folder) {
        const bool isNew = !_folders.contains(folder);
        _folders.insert(folder);
        return isNew;
    });
}

bool PathClaims::takePage(const SitePage &page)
{
    const QString file = folded(page.path());
    const QString territory = folded(page.filesFolder());
    const bool canBeTerritory =
        !_territories.contains(territory) && !_files.contains(territory) && !_folders.contains(territory);
    if (!isFree(file) || !canBeTerritory || file == territory)
        return false;
    take(file);
    _territories.insert(territory);
    return true;
}

bool PathClaims::takeFile(const QString &path)
{
    const QString file = folded(path);
    if (!isFree(file))
        return false;
    take(file);
    return true;
}
