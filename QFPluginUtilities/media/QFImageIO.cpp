#include "media/QFImageIO.h"

#include "codecs/ExifBlock.h"
#include "codecs/ImageSource.h"
#include "media/QFQTEXIF.h"
#include "platform/WithoutThrowing.h"

#include <QTransform>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

/// The picture as its camera was held. Codes 5 and 7 are the mirror images along the two diagonals; the media
/// attributes have them the other way round, which is their rule and not the standard's.
QImage upright(const QImage &image, int orientation)
{
    const auto turned = [&] { return image.transformed(QTransform().rotate(90)); };
    switch (orientation) {
    case 2:
        return image.mirrored(true, false);
    case 3:
        return image.mirrored(true, true);
    case 4:
        return image.mirrored(false, true);
    case 5:
        return turned().mirrored(true, false);
    case 6:
        return turned();
    case 7:
        return turned().mirrored(false, true);
    case 8:
        return turned().mirrored(true, true);
    default:
        return image;
    }
}

QSize thumbnailSize(QSize size, int longest)
{
    const double scale = std::min(1.0, double(longest) / std::max(size.width(), size.height()));
    const auto scaled = [scale](int side) {
        return std::max(1, static_cast<int>(std::lround(side * scale)));
    };
    return {scaled(size.width()), scaled(size.height())};
}

QVariantMap propertiesOf(const ImageSource &source)
{
    QVariantMap properties{{u"PixelWidth"_s, source.size().width()},
                           {u"PixelHeight"_s, source.size().height()}};
    if (const auto orientation = ExifBlock::inPicture(source.data()).orientation())
        properties.insert(u"Orientation"_s, *orientation);
    if (const QVariantMap exif = QFQTEXIF::dictionaryFromPicture(source.data()); !exif.isEmpty())
        properties.insert(u"{Exif}"_s, exif);
    return properties;
}

} // namespace

bool QFImageIO::available()
{
    return true;
}

QImage QFImageIO::imageFromFile(const QString &path)
{
    return withoutThrowing([&] {
        const ImageSourcePtr source = ImageSource::withFile(path);
        return source ? source->image() : QImage();
    });
}

QImage QFImageIO::thumbnailFromFile(const QString &path, int size)
{
    return withoutThrowing([&]() -> QImage {
        const ImageSourcePtr source = size < 1 ? nullptr : ImageSource::withFile(path);
        if (!source)
            return {};
        const int orientation = ExifBlock::inPicture(source->data()).orientation().value_or(1);
        const QRect all(QPoint(), source->size());
        return upright(source->scaled(all, thumbnailSize(source->size(), size)), orientation);
    });
}

QVariantMap QFImageIO::propertiesFromFile(const QString &path)
{
    return withoutThrowing([&] {
        const ImageSourcePtr source = ImageSource::withFile(path);
        return source ? propertiesOf(*source) : QVariantMap();
    });
}

QVariantMap QFImageIO::propertiesFromData(const QByteArray &data)
{
    return withoutThrowing([&] {
        const ImageSourcePtr source = ImageSource::withData(data);
        return source ? propertiesOf(*source) : QVariantMap();
    });
}

NSImagePtr QFImageIO::imageFromCGImage(const QImage &image)
{
    return withoutThrowing([&]() -> NSImagePtr {
        const QImage::Format drawn =
            image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32;
        const QImage raster = image.convertToFormat(drawn);
        return raster.isNull() ? nullptr : std::make_shared<const NSImage>(raster);
    });
}

bool QFImageIO::writeImage(const QImage &, const QString &, const QString &)
{
    return false;
}
