#pragma once

#include "plugins/photo-album/Photo.h"

#include <QList>
#include <QStringList>

class QFAbstractPlugin;

/// The photographs in a folder of the site.
namespace PhotoFolder {

/// All pictures that lie in the folder itself, in the order of their names; IDs are given in this order, so
/// that another order of the album keeps its addresses. Hidden files and folders are passed over; what is no
/// picture, and links that lead out of the site, make records. What is found out about a file is kept for the
/// next time, as long as its date and size stay.
[[nodiscard]] QList<Photo> photos(const QFAbstractPlugin &album, const QString &folder);

/// Puts the photographs in order: "name", "date" or "newest". Those without a date come last.
void sort(QList<Photo> &photos, const QString &order);

} // namespace PhotoFolder
