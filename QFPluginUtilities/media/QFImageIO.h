#pragma once

#include "media/NSImage.h"
#include "platform/QFExport.h"

#include <QImage>
#include <QString>
#include <QVariantMap>

/// Reading image files. Any thread.
namespace QFImageIO {

/// Always true: the reader is part of the library.
[[nodiscard]] QF_EXPORT bool available();
/// First image of a file as stored, not turned; null when it cannot be read.
[[nodiscard]] QF_EXPORT QImage imageFromFile(const QString &path);
/// A thumbnail whose longer side has at most `size` pixels, made from the full image, never from an embedded
/// preview, never enlarged, and turned upright by the file's orientation. Null when it cannot be read or the
/// size is below 1.
[[nodiscard]] QF_EXPORT QImage thumbnailFromFile(const QString &path, int size);
/// What a file says about its first image: "PixelWidth", "PixelHeight", "Orientation" (1 to 8, where the file
/// has one) and "{Exif}", a map with the keys of QFQTEXIF, where there is any. Empty when it cannot be read.
[[nodiscard]] QF_EXPORT QVariantMap propertiesFromFile(const QString &path);
/// The same for a file's bytes.
[[nodiscard]] QF_EXPORT QVariantMap propertiesFromData(const QByteArray &data);
/// An image of the raster's size in pixels that holds the raster; nullptr for a null raster.
[[nodiscard]] QF_EXPORT NSImagePtr imageFromCGImage(const QImage &image);
/// Always false: nothing is written. Files are written by QFQTExport.
[[nodiscard]] QF_EXPORT bool writeImage(const QImage &image, const QString &to, const QString &as);

} // namespace QFImageIO
