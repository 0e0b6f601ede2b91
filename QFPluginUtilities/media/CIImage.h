#pragma once

#include "media/NSImage.h"
#include "platform/NSGeometry.h"
#include "platform/QFExport.h"

/// A picture on a plane whose y grows upwards, with the rectangle that it takes there. Immutable; pixels are
/// decoded when they are needed, at the size that is needed.
class QF_EXPORT CIImage
{
public:
    CIImage() = default;
    /// All of a form, its lower left corner at the origin.
    explicit CIImage(NSImageRepPtr representation);

    [[nodiscard]] const NSRect &extent() const { return _extent; }
    [[nodiscard]] bool isEmpty() const { return !_representation || _extent.isEmpty(); }

    /// Width divided by height; not finite for an extent without height.
    [[nodiscard]] float aspectRatio() const { return _extent.width / _extent.height; }
    /// The part inside a rectangle. A picture has whole pixels: the rectangle is made integral.
    [[nodiscard]] CIImage crop(float x, float y, float width, float height) const;
    /// The part of that size in the middle, its offset rounded down. The extent's own origin is left out of
    /// account, as meant.
    [[nodiscard]] CIImage cropFromCentreToFitSize(float width, float height) const;
    /// The extent with its origin moved to where a centred square would begin; width and height stay those
    /// of the extent, as meant. The zero rectangle when a side is zero.
    [[nodiscard]] NSRect rectForSquareImage() const;
    /// Scaled by Lanczos, edges extended outwards, so that the shorter side (not the longer, as the name
    /// might say) becomes `dimension`, and cut to whole pixels from the origin on. Empty when that cannot be
    /// made.
    [[nodiscard]] CIImage rescaleToMaximumDimension(float dimension) const;

    /// The extent's pixels, scaled to `target`; null when they cannot be made.
    [[nodiscard]] QImage pixels(const QSize &target) const;

private:
    NSImageRepPtr _representation;
    NSRect _extent;
    QRect _crop; ///< the extent in the form's pixels, from its top left
};

/// From pictures in several forms to plain ones and back.
namespace CIImageConversion {

/// The first form with pixels; the empty picture when there is none.
[[nodiscard]] QF_EXPORT CIImage ciImage(const NSImage &image);
/// A picture as large as the extent, whose one form is the picture.
[[nodiscard]] QF_EXPORT NSImagePtr imageWithCIImage(const CIImage &image);

} // namespace CIImageConversion
