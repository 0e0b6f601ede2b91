#include "media/Colours.h"

#include <algorithm>

std::optional<QColor> qColor(const std::optional<NSColor> &colour)
{
    const std::optional<NSColor> rgb =
        colour ? colour->colorUsingColorSpaceName(NSCalibratedRGBColorSpace) : std::nullopt;
    if (!rgb)
        return std::nullopt;
    const auto component = [](float value) { return value > 0 ? std::min(value, 1.0F) : 0.0F; };
    return QColor::fromRgbF(component(rgb->red), component(rgb->green), component(rgb->blue),
                            component(rgb->alpha));
}
