#include "plugins/photo-album/PhotoFolder.h"

#include "media/QFImageIO.h"
#include "platform/QFReport.h"
#include "plugin/QFSharedStorage.h"
#include "plugins/common/SiteFiles.h"

#include <QDateTime>
#include <QDir>
#include <QSet>

#include <algorithm>
#include <mutex>

using namespace Qt::StringLiterals;

namespace {

/// Properties of a picture's file, out of the storage that all albums share; empty for what is no picture.
QVariantMap properties(const QFAbstractPlugin &album, const QFileInfo &file)
{
    const QString version =
        QString::number(file.lastModified().toMSecsSinceEpoch()) + u'/' + QString::number(file.size());
    const QString key = file.filePath();
    QFSharedStorage *const shared = album.sharedPluginStorage();
    if (!shared)
        return QFImageIO::propertiesFromFile(key);
    const std::scoped_lock guard(*shared);
    const QVariantMap known = shared->storage().value(key).toMap();
    if (known.value(u"version"_s) == version)
        return known.value(u"properties"_s).toMap();
    QVariantMap found = QFImageIO::propertiesFromFile(key);
    shared->storage().insert(key, QVariantMap{{u"version"_s, version}, {u"properties"_s, found}});
    return found;
}

/// A name that is free for all files of a photograph: its page and picture, the small one, the original.
QString uniqueName(const QString &name, QSet<QString> &taken)
{
    const auto filesOf = [](const QString &ID) {
        return QSet<QString>{ID, ID + u"-small"_s, ID + u"-original"_s};
    };
    QString unique = name;
    for (int number = 2; taken.intersects(filesOf(unique)); ++number)
        unique = name + u'-' + QString::number(number);
    taken += filesOf(unique);
    return unique;
}

} // namespace

QList<Photo> PhotoFolder::photos(const QFAbstractPlugin &album, const QString &folder)
{
    const QString site = SiteFiles::siteFolder(album);
    QFileInfoList files = QDir(folder).entryInfoList(QDir::Files | QDir::System, QDir::Unsorted);
    std::sort(files.begin(), files.end(),
              [](const QFileInfo &a, const QFileInfo &b) { return a.fileName() < b.fileName(); });

    QList<Photo> photos;
    QSet<QString> taken;
    for (const QFileInfo &file : files) {
        const QString path = file.canonicalFilePath();
        if (path.isEmpty() || !SiteFiles::isInside(site, path)) {
            reportLoss(u"photograph"_s, u"The link leads out of the site's folder, or nowhere"_s,
                       file.filePath());
            continue;
        }
        const QVariantMap found = file.isFile() ? properties(album, file) : QVariantMap();
        if (found.isEmpty()) {
            reportLoss(u"photograph"_s, u"The file is no picture"_s, file.filePath());
            continue;
        }
        Photo photo;
        photo.path = file.filePath();
        photo.fileName = file.fileName();
        photo.ID = uniqueName(safeNameFromFileName(photo.fileName), taken);
        photo.title = titleFromFileName(photo.fileName);
        readMetadata(photo, found);
        photos.append(photo);
    }
    return photos;
}

void PhotoFolder::sort(QList<Photo> &photos, const QString &order)
{
    if (order == u"name")
        return;
    const bool newestFirst = order == u"newest";
    std::stable_sort(photos.begin(), photos.end(), [&](const Photo &a, const Photo &b) {
        if (a.taken.isNull() || b.taken.isNull())
            return !a.taken.isNull() && b.taken.isNull();
        return newestFirst ? a.taken > b.taken : a.taken < b.taken;
    });
}
