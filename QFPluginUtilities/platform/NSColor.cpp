#include "platform/NSColor.h"

std::optional<NSColor> NSColor::colorUsingColorSpaceName(NSColorSpaceName wanted) const
{
    if (space == NSColorSpaceName::Pattern || wanted == NSColorSpaceName::Pattern)
        return std::nullopt;
    const bool wantsWhite =
        wanted == NSColorSpaceName::CalibratedWhite || wanted == NSColorSpaceName::DeviceWhite;
    const bool isWhite = space == NSColorSpaceName::CalibratedWhite || space == NSColorSpaceName::DeviceWhite;
    NSColor converted = *this;
    converted.space = wanted;
    if (isWhite || wantsWhite) {
        // Luma weights of ITU-R BT.601, as for any grey made from RGB.
        const float white = isWhite ? red : 0.299F * red + 0.587F * green + 0.114F * blue;
        converted.red = converted.green = converted.blue = white;
    }
    return converted;
}
