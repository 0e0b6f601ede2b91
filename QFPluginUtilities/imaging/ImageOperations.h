#pragma once

#include "platform/QFExport.h"

#include <QColor>
#include <QImage>
#include <QPointF>
#include <QRect>

/// Raster operations of the drawing layer. Pictures are RGB32 or ARGB32_Premultiplied, and the results
/// too; others are converted first. Pure; any thread. Null when there is no memory for a result.
namespace ImageOperations {

/// The part `crop` of a picture scaled to `target` (see RowScaler). The very pixels when sizes are equal.
[[nodiscard]] QF_EXPORT QImage scaled(const QImage &image, const QRect &crop, const QSize &target);

/// The picture turned about its centre, clockwise on the screen, by an angle in degrees, and placed with its
/// centre in the centre of a transparent canvas. Multiples of 90 degrees only move pixels; where that would
/// be by half a pixel, they lie up or to the left of the centre. Other angles are bicubic (Catmull-Rom, a =
/// -0.5), with edges smoothed against the transparent ground. An angle that is no number turns nothing. Large
/// pictures are turned on two threads, with the same result. RGB32 where pixels are only moved and fill the
/// canvas.
[[nodiscard]] QF_EXPORT QImage turned(const QImage &image, double degrees, const QSize &canvas);

/// The picture on a canvas of `canvas` pixels with its top left corner at `position`, above its own shadow:
/// its alpha, blurred by a Gaussian of sigma `blur` / 3 (pixels), tinted with `colour`, moved by `offset`
/// (right and down; fractions count). `ground` is what the canvas is filled with first. Blur beyond the
/// canvas's size counts as that size, what is no number as nothing; linear in pixels whatever the blur, and
/// hardly dearer than copying for an opaque picture. RGB32 on an opaque ground; an invalid one is
/// transparent.
struct Shadow
{
    QPointF offset;
    double blur = 0;
    QColor colour;
};
[[nodiscard]] QF_EXPORT QImage withShadow(const QImage &image, const QPoint &position, const Shadow &shadow,
                                          const QSize &canvas, const QColor &ground);

} // namespace ImageOperations
