#include "media/NSImage.h"

#include "codecs/ExifBlock.h"
#include "imaging/Canvas.h"
#include "imaging/ImageOperations.h"

#include <QColorSpace>
#include <QPainter>
#include <QTransform>

#include <algorithm>
#include <cmath>

namespace {

/// Of a form that is drawn whole for a part of it: 128 MB.
constexpr double kMaximumPixels = 32.0 * 1024 * 1024;

/// Pixels that can be composed: without the marks of a screen, as RGB32 or ARGB32_Premultiplied.
QImage composable(QImage image)
{
    if (image.isNull())
        return {};
    image.convertTo(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    image.setDevicePixelRatio(1);
    image.setColorSpace({});
    return image;
}

NSSize sizeInPoints(const QSize &pixels)
{
    return {static_cast<float>(pixels.width()), static_cast<float>(pixels.height())};
}

} // namespace

NSImageRep::~NSImageRep() = default;

NSBitmapImageRep::NSBitmapImageRep(const QImage &image) : NSImageRep(image.size()), _image(composable(image))
{
}

NSBitmapImageRep::NSBitmapImageRep(ImageSourcePtr source)
    : NSImageRep(source->size()), _source(std::move(source))
{
}

NSBitmapImageRep::Compression NSBitmapImageRep::compression() const
{
    if (!_source)
        return Compression::None;
    if (_source->format() == ImageSource::Format::JPEG)
        return Compression::JPEG;
    if (_source->format() != ImageSource::Format::TIFF)
        return Compression::None;
    // The platform's codes are not those of the files: TIFF 6.0 has 6 for its first kind of JPEG, and its
    // second supplement 7 for the one in use.
    const quint32 code = ExifBlock::inPicture(_source->data()).compression().value_or(1);
    if (code == 7)
        return Compression::JPEG;
    return code == 6 ? Compression::OldJPEG : Compression::None;
}

QImage NSBitmapImageRep::drawn(const QRect &crop, const QSize &target) const
{
    const QRect part = crop.intersected(QRect(QPoint(), pixels()));
    if (part.isEmpty() || target.isEmpty())
        return {};
    if (!_source)
        return ImageOperations::scaled(_image, part, target);
    if (part.size() == pixels() && target == pixels())
        return _source->image();
    return _source->scaled(part, target);
}

NSCustomImageRep::NSCustomImageRep(QSize pixels, Drawing drawing)
    : NSImageRep(pixels), _drawing(std::move(drawing))
{
}

QImage NSCustomImageRep::drawn(const QRect &crop, const QSize &target) const
{
    const QRect all(QPoint(), pixels());
    const QRect part = crop.intersected(all);
    if (part.isEmpty() || target.isEmpty())
        return {};
    if (part == all)
        return whole(target);
    // As large as the part needs it, within limits.
    const double xScale = double(target.width()) / part.width();
    const double yScale = double(target.height()) / part.height();
    const double area = xScale * all.width() * yScale * all.height();
    const double limit = std::min(1.0, std::sqrt(kMaximumPixels / area));
    const QTransform scaled = QTransform::fromScale(xScale * limit, yScale * limit);
    const QSize size = scaled.mapRect(QRectF(all)).toAlignedRect().size();
    if (!Canvas::isPossible(static_cast<float>(size.width()), static_cast<float>(size.height())))
        return {};
    return ImageOperations::scaled(whole(size), scaled.mapRect(QRectF(part)).toRect() & QRect(QPoint(), size),
                                   target);
}

QImage NSCustomImageRep::whole(const QSize &size) const
{
    QImage canvas = Canvas::transparent(static_cast<float>(size.width()), static_cast<float>(size.height()));
    if (canvas.isNull())
        return {};
    QPainter painter(&canvas);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    _drawing(painter, size);
    painter.end();
    return canvas;
}

NSImage::NSImage(NSSize size, QList<NSImageRepPtr> representations)
    : _size(size), _representations(std::move(representations))
{
    _representations.removeIf([](const NSImageRepPtr &representation) { return !representation; });
}

NSImage::NSImage(const QImage &image)
{
    if (image.isNull())
        return;
    _size = sizeInPoints(image.size());
    _representations.append(std::make_shared<NSBitmapImageRep>(image));
}

NSImagePtr NSImage::imageWithData(const QByteArray &data)
{
    return imageWithSource(ImageSource::withData(data));
}

NSImagePtr NSImage::imageWithContentsOfFile(const QString &path)
{
    return imageWithSource(ImageSource::withFile(path));
}

NSImagePtr NSImage::imageWithSource(const ImageSourcePtr &source)
{
    if (!source)
        return nullptr;
    return std::make_shared<NSImage>(sizeInPoints(source->size()),
                                     QList<NSImageRepPtr>{std::make_shared<NSBitmapImageRep>(source)});
}

QImage NSImage::bitmap() const
{
    for (const NSImageRepPtr &representation : _representations) {
        if (!representation->pixels().isEmpty())
            return representation->image();
    }
    return {};
}
