#pragma once

#include "media/NSImage.h"
#include "platform/NSGeometry.h"
#include "platform/QFExport.h"

#include <QVariantMap>

/// Pictures as their media attributes want them: upright, sized, cropped, framed, mirrored, with shadow,
/// turned, on a ground. Never fails: what cannot be made (no size, beyond 32,767 pixels a side or
/// 256 megapixels) is the empty image, and a picture that cannot be decoded leaves its place free. Neither
/// the picture nor the map is changed. Any thread; runs from several threads take turns only where the
/// picture is laid on its first canvas.
namespace QFTransformImage {

/// A picture without pixels and without size comes back as it is.
[[nodiscard]] QF_EXPORT NSImagePtr transformImageUsingAttributes(const NSImagePtr &image,
                                                                 const QVariantMap &attributes);
/// For the screen. A picture without size makes the empty image.
[[nodiscard]] QF_EXPORT NSImagePtr
transformImageUsingAttributesAndScreenResolution(const NSImagePtr &image, const QVariantMap &attributes);
/// As if the picture were of another size, in points.
[[nodiscard]] QF_EXPORT NSImagePtr transformImageUsingAttributes(const NSImagePtr &image,
                                                                 const QVariantMap &attributes,
                                                                 NSSize originalImageSize);

/// The larger of the picture's width and height in points.
[[nodiscard]] QF_EXPORT float maximumDimensionSize(const NSImage &image);
/// The form with most pixels for each point of a rectangle; the first among equals, nullptr when none has
/// pixels.
[[nodiscard]] QF_EXPORT NSImageRepPtr bestRepresentationForRect(const NSImage &image, const NSRect &rect);

} // namespace QFTransformImage
