#include "media/QFTransformImage.h"

#include "imaging/Canvas.h"
#include "imaging/ImageOperations.h"
#include "media/CIImage.h"
#include "media/Colours.h"
#include "media/QFImage.h"
#include "media/QFTextAttachmentAttributes.h"
#include "media/TransformGeometry.h"
#include "platform/WithoutThrowing.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <mutex>

namespace {

/// Serialises the first drawing of all runs.
std::mutex &imageCacheLock()
{
    static std::mutex lock;
    return lock;
}

/// A stage's result. The size in points may be fractional; the raster has whole pixels, and its lower left
/// corner is that of the canvas.
struct Stage
{
    NSSize size;
    QImage raster;
};

Stage stageOf(NSSize size)
{
    return {size, Canvas::transparent(size.width, size.height)};
}

QRect allOf(const QSize &size)
{
    return {QPoint(), size};
}

/// The source, cropped if asked for, in as many pixels as the drawing rectangle has.
QImage picture(const NSImage &image, const QFTextAttachmentAttributes &attributes,
               const TransformGeometry::Base &base, NSSize original)
{
    if (!Canvas::isPossible(base.drawing.width, base.drawing.height))
        return {};
    const QSize target = Canvas::rasterSize(base.drawing.width, base.drawing.height);
    QImage drawn;
    if (attributes.square()) {
        const float side = std::min(original.width, original.height);
        drawn = CIImageConversion::ciImage(image).cropFromCentreToFitSize(side, side).pixels(target);
    } else if (const NSImageRepPtr best = QFTransformImage::bestRepresentationForRect(image, base.drawing)) {
        drawn = best->drawn(allOf(best->pixels()), target);
    }
    const bool flipsHorizontally = attributes.flipHorizontally();
    const bool flipsVertically = attributes.flipVertically();
    if (flipsHorizontally || flipsVertically)
        drawn.mirror(flipsHorizontally, flipsVertically);
    return drawn;
}

/// The sized picture, framed by its border. Decoding and scaling go on outside the lock.
Stage baseStage(const NSImage &image, const QFTextAttachmentAttributes &attributes,
                const TransformGeometry::Base &base, NSSize original)
{
    Stage stage{base.size, {}};
    if (!Canvas::isPossible(base.size.width, base.size.height))
        return stage;
    const QSize canvas = Canvas::rasterSize(base.size.width, base.size.height);
    QImage drawn = picture(image, attributes, base, original);
    if (base.border == 0 && drawn.size() == canvas) {
        stage.raster = std::move(drawn);
        return stage;
    }
    stage.raster = Canvas::transparent(base.size.width, base.size.height);
    if (stage.raster.isNull())
        return stage;
    const std::lock_guard lock(imageCacheLock());
    QPainter painter(&stage.raster);
    if (base.border > 0)
        painter.fillRect(allOf(canvas), qColor(attributes.borderColour()).value_or(QColor(Qt::black)));
    if (!drawn.isNull())
        painter.drawImage(TransformGeometry::rasterRect(base.drawing, canvas.height()).topLeft(), drawn);
    return stage;
}

Stage shadowStage(const Stage &previous, const QFTextAttachmentAttributes &attributes)
{
    const float offset = attributes.shadowOffset();
    const float padding = TransformGeometry::shadowPadding(offset, attributes.shadowBlur());
    Stage stage{{previous.size.width + padding, previous.size.height + padding}, {}};
    if (!Canvas::isPossible(stage.size.width, stage.size.height))
        return stage;
    const QSize raster = Canvas::rasterSize(stage.size.width, stage.size.height);
    // The room lies below the picture, whose raster ends at the lower edge of its canvas.
    const int top = raster.height() - static_cast<int>(padding) - previous.raster.height();
    const ImageOperations::Shadow shadow{{offset, offset},
                                         attributes.shadowBlur(),
                                         qColor(attributes.shadowColour()).value_or(QColor(Qt::black))};
    const QColor ground = qColor(attributes.fillColour()).value_or(QColor(Qt::transparent));
    stage.raster = ImageOperations::withShadow(previous.raster, {0, top}, shadow, raster, ground);
    return stage;
}

Stage rotationStage(const Stage &previous, float degrees, bool clips)
{
    Stage stage{TransformGeometry::turnedCanvas(previous.size, degrees, clips), {}};
    if (Canvas::isPossible(stage.size.width, stage.size.height)) {
        stage.raster = ImageOperations::turned(previous.raster, degrees,
                                               Canvas::rasterSize(stage.size.width, stage.size.height));
    }
    return stage;
}

/// With a shadow the ground is laid twice, which is meant: the second fills the corners that turning left.
Stage fillStage(const Stage &previous, const QColor &colour)
{
    if (previous.raster.format() == QImage::Format_RGB32)
        return previous; // nothing shines through
    Stage stage = stageOf(previous.size);
    if (stage.raster.isNull())
        return stage;
    stage.raster.fill(colour);
    QPainter painter(&stage.raster);
    painter.drawImage(0, 0, previous.raster);
    return stage;
}

NSImagePtr imageOf(const Stage &stage)
{
    if (stage.raster.isNull())
        return std::make_shared<NSImage>();
    return std::make_shared<NSImage>(stage.size,
                                     QList<NSImageRepPtr>{std::make_shared<NSBitmapImageRep>(stage.raster)});
}

NSImagePtr transformed(const NSImage &image, const QVariantMap &given, NSSize original)
{
    const QVariantMap map = TransformGeometry::orientedAttributes(given);
    const QFTextAttachmentAttributes attributes(map);
    const TransformGeometry::Base base = TransformGeometry::base(map, original);
    Stage stage = baseStage(image, attributes, base, original);
    if (attributes.enableShadow() && !stage.raster.isNull())
        stage = shadowStage(stage, attributes);
    if (attributes.rotation() != 0 && !stage.raster.isNull())
        stage = rotationStage(stage, attributes.rotation(), attributes.clip());
    if (const std::optional<QColor> fill = qColor(attributes.fillColour()); fill && !stage.raster.isNull())
        stage = fillStage(stage, *fill);
    return imageOf(stage);
}

} // namespace

NSImagePtr QFTransformImage::transformImageUsingAttributes(const NSImagePtr &image,
                                                           const QVariantMap &attributes)
{
    const NSSize size = image ? QFImage::fullResolutionSize(*image) : NSSize();
    if (size.width == 0 || size.height == 0)
        return image;
    return transformImageUsingAttributes(image, attributes, size);
}

NSImagePtr QFTransformImage::transformImageUsingAttributesAndScreenResolution(const NSImagePtr &image,
                                                                              const QVariantMap &attributes)
{
    const NSSize size = image ? QFImage::fullResolutionSize(*image) : NSSize();
    return transformImageUsingAttributes(image, attributes, size);
}

NSImagePtr QFTransformImage::transformImageUsingAttributes(const NSImagePtr &image,
                                                           const QVariantMap &attributes,
                                                           NSSize originalImageSize)
{
    NSImagePtr result = withoutThrowing([&] {
        return image ? transformed(*image, attributes, originalImageSize) : std::make_shared<NSImage>();
    });
    return result ? result : std::make_shared<NSImage>();
}

float QFTransformImage::maximumDimensionSize(const NSImage &image)
{
    const NSSize size = image.size();
    return size.width / size.height > 1 ? size.width : size.height;
}

NSImageRepPtr QFTransformImage::bestRepresentationForRect(const NSImage &image, const NSRect &rect)
{
    NSImageRepPtr best;
    float bestScore = 0;
    for (const NSImageRepPtr &representation : image.representations()) {
        const QSize pixels = representation->pixels();
        const float score = static_cast<float>(pixels.width()) * static_cast<float>(pixels.height()) /
                            (rect.width * rect.height);
        if (score > bestScore) {
            bestScore = score;
            best = representation;
        }
    }
    return best;
}
