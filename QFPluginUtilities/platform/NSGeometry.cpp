#include "platform/NSGeometry.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

struct Direction
{
    double cosine;
    double sine;
};

Direction directionOf(float degrees)
{
    const double turn = std::fmod(static_cast<double>(degrees), 360.0);
    const double quarters = turn / 90;
    if (quarters == std::floor(quarters)) {
        constexpr Direction kExact[] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
        return kExact[(static_cast<int>(quarters) + 4) % 4];
    }
    const double radians = turn * std::numbers::pi / 180;
    return {std::cos(radians), std::sin(radians)};
}

} // namespace

NSRect NSIntegralRect(const NSRect &rect)
{
    if (rect.isEmpty())
        return {};
    const float x = std::floor(rect.x);
    const float y = std::floor(rect.y);
    return {x, y, std::ceil(rect.x + rect.width) - x, std::ceil(rect.y + rect.height) - y};
}

NSRect NSOffsetRect(const NSRect &rect, float x, float y)
{
    return {rect.x + x, rect.y + y, rect.width, rect.height};
}

NSRect NSInsetRect(const NSRect &rect, float x, float y)
{
    return {rect.x + x, rect.y + y, rect.width - 2 * x, rect.height - 2 * y};
}

NSRect NSRotatedRectBounds(const NSRect &rect, float degrees)
{
    const Direction turn = directionOf(degrees);
    const double left = rect.x;
    const double right = left + rect.width;
    const double bottom = rect.y;
    const double top = bottom + rect.height;
    const auto [minX, maxX] =
        std::minmax({left * turn.cosine - bottom * turn.sine, right * turn.cosine - bottom * turn.sine,
                     left * turn.cosine - top * turn.sine, right * turn.cosine - top * turn.sine});
    const auto [minY, maxY] =
        std::minmax({left * turn.sine + bottom * turn.cosine, right * turn.sine + bottom * turn.cosine,
                     left * turn.sine + top * turn.cosine, right * turn.sine + top * turn.cosine});
    return {static_cast<float>(minX), static_cast<float>(minY), static_cast<float>(maxX - minX),
            static_cast<float>(maxY - minY)};
}
