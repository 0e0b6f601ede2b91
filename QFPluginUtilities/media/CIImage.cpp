#include "media/CIImage.h"

#include "imaging/Canvas.h"
#include "imaging/ImageOperations.h"

#include <algorithm>
#include <cmath>

namespace {

/// A part of another form.
class CroppedImageRep : public NSImageRep
{
public:
    explicit CroppedImageRep(const CIImage &image)
        : NSImageRep(Canvas::rasterSize(image.extent().width, image.extent().height)), _image(image)
    {
    }

    [[nodiscard]] QImage drawn(const QRect &crop, const QSize &target) const override
    {
        const CIImage part = _image.crop(_image.extent().x + static_cast<float>(crop.x()),
                                         _image.extent().y + _image.extent().height -
                                             static_cast<float>(crop.y() + crop.height()),
                                         static_cast<float>(crop.width()), static_cast<float>(crop.height()));
        return part.pixels(target);
    }

private:
    CIImage _image;
};

NSRect intersection(const NSRect &a, const NSRect &b)
{
    const float x = std::max(a.x, b.x);
    const float y = std::max(a.y, b.y);
    const NSRect common{x, y, std::min(a.x + a.width, b.x + b.width) - x,
                        std::min(a.y + a.height, b.y + b.height) - y};
    return common.isEmpty() ? NSRect() : common;
}

/// As many pixels as the extent has, but from the origin on: the picture's edges are extended to where it
/// does not reach.
QImage clampedFromOrigin(const CIImage &image)
{
    const NSRect &extent = image.extent();
    const QSize size = Canvas::rasterSize(extent.width, extent.height);
    const QImage source = image.pixels(size);
    QImage clamped(size, source.format());
    if (source.isNull() || clamped.isNull())
        return {};
    const auto shiftX = static_cast<qint64>(extent.x);
    const auto shiftY = static_cast<qint64>(extent.y);
    for (int y = 0; y < size.height(); ++y) {
        const auto row = std::clamp<qint64>(y + shiftY, 0, size.height() - 1);
        const auto *from = reinterpret_cast<const QRgb *>(source.constScanLine(static_cast<int>(row)));
        auto *to = reinterpret_cast<QRgb *>(clamped.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            to[x] = from[std::clamp<qint64>(x - shiftX, 0, size.width() - 1)];
    }
    return clamped;
}

} // namespace

CIImage::CIImage(NSImageRepPtr representation) : _representation(std::move(representation))
{
    if (!_representation)
        return;
    _crop = QRect(QPoint(), _representation->pixels());
    _extent = {0, 0, static_cast<float>(_crop.width()), static_cast<float>(_crop.height())};
}

CIImage CIImage::crop(float x, float y, float width, float height) const
{
    CIImage part;
    const NSRect common = intersection(_extent, NSIntegralRect({x, y, width, height}));
    if (isEmpty() || common.isEmpty())
        return part;
    part._representation = _representation;
    part._extent = common;
    // The form's rows count from the top.
    part._crop = QRect(_crop.x() + static_cast<int>(common.x - _extent.x),
                       _crop.y() + static_cast<int>(_extent.y + _extent.height - common.y - common.height),
                       static_cast<int>(common.width), static_cast<int>(common.height));
    return part;
}

CIImage CIImage::cropFromCentreToFitSize(float width, float height) const
{
    return crop(std::floor((_extent.width - width) * 0.5F), std::floor((_extent.height - height) * 0.5F),
                width, height);
}

NSRect CIImage::rectForSquareImage() const
{
    if (_extent.width == 0 || _extent.height == 0)
        return {};
    NSRect rect = _extent;
    if (aspectRatio() > 1)
        rect.x = std::ceil((_extent.width - _extent.height) * 0.5F);
    else if (aspectRatio() < 1)
        rect.y = std::ceil((_extent.height - _extent.width) * 0.5F);
    return rect;
}

CIImage CIImage::rescaleToMaximumDimension(float dimension) const
{
    if (isEmpty())
        return {};
    const float scale = dimension / (aspectRatio() > 1 ? _extent.height : _extent.width);
    const NSRect whole = NSIntegralRect({0, 0, scale * _extent.width, scale * _extent.height});
    if (!Canvas::isPossible(whole.width, whole.height))
        return {};
    const QSize target = Canvas::rasterSize(whole.width, whole.height);
    const bool isAtOrigin = _extent.x == 0 && _extent.y == 0;
    const QImage scaled =
        isAtOrigin ? pixels(target)
                   : ImageOperations::scaled(clampedFromOrigin(*this), QRect(QPoint(), _crop.size()), target);
    return scaled.isNull() ? CIImage() : CIImage(std::make_shared<NSBitmapImageRep>(scaled));
}

QImage CIImage::pixels(const QSize &target) const
{
    return isEmpty() ? QImage() : _representation->drawn(_crop, target);
}

CIImage CIImageConversion::ciImage(const NSImage &image)
{
    for (const NSImageRepPtr &representation : image.representations()) {
        if (!representation->pixels().isEmpty())
            return CIImage(representation);
    }
    return {};
}

NSImagePtr CIImageConversion::imageWithCIImage(const CIImage &image)
{
    QList<NSImageRepPtr> representations;
    if (!image.isEmpty())
        representations.append(std::make_shared<CroppedImageRep>(image));
    return std::make_shared<NSImage>(image.extent().size(), representations);
}
