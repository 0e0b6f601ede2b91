#pragma once

#include "media/NSImage.h"

/// What a picture is, in pixels.
namespace QFImage {

/// Pixel size of the first form that has any, which need not be the largest; the size in points when there is
/// none. Nothing is decoded.
[[nodiscard]] QF_EXPORT NSSize fullResolutionSize(const NSImage &image);
/// Whether the picture's best form, the one with most pixels, is a bitmap that was compressed as a JPEG: a
/// JPEG file, or a TIFF file with JPEG compression.
[[nodiscard]] QF_EXPORT bool isJPEGImage(const NSImage &image);

} // namespace QFImage
