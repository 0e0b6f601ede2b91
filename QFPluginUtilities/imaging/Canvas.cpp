#include "imaging/Canvas.h"

#include <algorithm>
#include <cmath>

namespace {

float wholePixels(float points)
{
    return std::max(1.0F, std::ceil(points - 0.01F));
}

} // namespace

bool Canvas::isPossible(float width, float height)
{
    // Comparisons with what is no number fail.
    if (!(width > 0 && height > 0))
        return false;
    const double columns = wholePixels(width);
    const double rows = wholePixels(height);
    return columns <= kMaximumSide && rows <= kMaximumSide &&
           columns * rows <= static_cast<double>(kMaximumPixels);
}

QSize Canvas::rasterSize(float width, float height)
{
    return {static_cast<int>(wholePixels(width)), static_cast<int>(wholePixels(height))};
}

QImage Canvas::transparent(float width, float height)
{
    if (!isPossible(width, height))
        return {};
    QImage canvas(rasterSize(width, height), QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    return canvas;
}
