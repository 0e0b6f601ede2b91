#pragma once

#include "platform/QFExport.h"

/// Width and height in points: 32-bit floats, as everywhere in the drawing layer.
struct NSSize
{
    float width = 0;
    float height = 0;

    friend constexpr bool operator==(const NSSize &, const NSSize &) = default;
};

/// A rectangle in points on a plane whose y grows upwards; the origin is the lower left corner.
struct NSRect
{
    float x = 0;
    float y = 0;
    float width = 0;
    float height = 0;

    friend constexpr bool operator==(const NSRect &, const NSRect &) = default;

    [[nodiscard]] constexpr NSSize size() const { return {width, height}; }
    /// Width or height is zero, negative or no number.
    [[nodiscard]] constexpr bool isEmpty() const { return !(width > 0) || !(height > 0); }
};

/// Origin down and far edges up to whole points; the zero rectangle when empty.
[[nodiscard]] QF_EXPORT NSRect NSIntegralRect(const NSRect &rect);
/// The rectangle moved by (x, y).
[[nodiscard]] QF_EXPORT NSRect NSOffsetRect(const NSRect &rect, float x, float y);
/// Smaller by x at the left and the right and by y above and below; larger for negative values.
[[nodiscard]] QF_EXPORT NSRect NSInsetRect(const NSRect &rect, float x, float y);
/// Bounding box of the rectangle turned about the origin by an angle in degrees. Exact for multiples of 90,
/// where 32-bit sines would give a box one point too large once it is made integral.
[[nodiscard]] QF_EXPORT NSRect NSRotatedRectBounds(const NSRect &rect, float degrees);
