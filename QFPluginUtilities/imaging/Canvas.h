#pragma once

#include "platform/QFExport.h"

#include <QImage>
#include <QSize>

/// Fresh rasters to draw on.
namespace Canvas {

inline constexpr int kMaximumSide = 32767;
inline constexpr qint64 kMaximumPixels = qint64(256) * 1024 * 1024;

/// Whether a canvas of that size in points can be made: above zero, finite and within the limits.
[[nodiscard]] QF_EXPORT bool isPossible(float width, float height);
/// Pixels of a canvas, whose size in points may be fractional: rounded up, but not for the hundredth that
/// 32-bit products such as 300 x 0.33 are off, and at least one each way. Only for sizes that are possible.
[[nodiscard]] QF_EXPORT QSize rasterSize(float width, float height);
/// A transparent canvas; null when it is not possible or there is no memory for it.
[[nodiscard]] QF_EXPORT QImage transparent(float width, float height);

} // namespace Canvas
