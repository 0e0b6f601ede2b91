#pragma once

#include "platform/QFExport.h"

#include <QColor>
#include <QImage>
#include <QPointF>
#include <QRect>

/// Raster operations of the drawing layer. Pictures are RGB32 or ARGB32_Premultiplied; the results too. Pure;
/// any thread. Null when there is no memory for a result.
namespace ImageOperations {

/// The part `crop` of a picture scaled to `target` (see RowScaler). The very pixels when sizes are equal.
[[nodiscard]] QF_EXPORT QImage scaled(const QImage &image, const QRect &crop, const QSize &target);

/// The picture turned about its centre, clockwise on the screen, by an angle in degrees, and placed with its
/// centre in the centre of a transparent canvas. Bit exact at multiples of 90 degrees where the centres allow
/// it; else bicubic (Catmull-Rom, a = -0.5), with edges smoothed against the transparent ground.
[[nodiscard]] QF_EXPORT QImage turned(const QImage &image, double degrees, const QSize &canvas);

/// The picture on a canvas of `canvas` pixels with its top left corner at `position`, above its own shadow:
/// its alpha, blurred by a Gaussian of sigma `blur` / 3 (pixels), tinted with `colour`, moved by `offset`
/// (right and down; fractions count). `ground` is what the canvas is filled with first. Blur beyond the
/// canvas's size counts as that size; linear in pixels whatever the blur.
struct Shadow
{
    QPointF offset;
    double blur = 0;
    QColor colour;
};
[[nodiscard]] QF_EXPORT QImage withShadow(const QImage &image, const QPoint &position, const Shadow &shadow,
                                          const QSize &canvas, const QColor &ground);

} // namespace ImageOperations
