#include "media/TransformGeometry.h"

#include "media/QFTextAttachmentAttributes.h"
#include "platform/Values.h"

#include <cmath>

using namespace Qt::StringLiterals;

QVariantMap TransformGeometry::orientedAttributes(const QVariantMap &attributes)
{
    const QVariant orientation = attributes.value(u"orientation"_s);
    if (isNil(orientation))
        return attributes;
    QVariantMap map = attributes;
    const auto turn = [&map](float degrees) {
        map.insert(u"rotation"_s, degrees); // in place of the user's own, as meant
    };
    const auto turnOnSide = [&map, turn](float degrees) {
        turn(degrees);
        SwapWidthAndHeight(map);
    };
    // Codes of the Exif tag Orientation. What 5 and 7 do has always been each other's, and stays so.
    switch (intValue(orientation)) {
    case 2:
        ToggleBooleanAttributeKey(map, u"fliph"_s);
        break;
    case 3:
        turn(180);
        break;
    case 4:
        ToggleBooleanAttributeKey(map, u"flipv"_s);
        break;
    case 5:
        ToggleBooleanAttributeKey(map, u"flipv"_s);
        turnOnSide(270);
        break;
    case 6:
        turnOnSide(90);
        break;
    case 7:
        ToggleBooleanAttributeKey(map, u"flipv"_s);
        turnOnSide(90);
        break;
    case 8:
        turnOnSide(270);
        break;
    default:
        break;
    }
    return map;
}

TransformGeometry::Base TransformGeometry::base(const QVariantMap &map, NSSize original)
{
    const QFTextAttachmentAttributes attributes(map);
    NSSize size = original;
    if (attributes.square()) {
        const float side = original.width > original.height ? original.height : original.width;
        size = {side, side};
    }
    if (attributes.lockRatios()) {
        size = {size.width * attributes.scale(), size.height * attributes.scale()};
    } else {
        // Each by itself: a square crop can get other than square again.
        if (attributes.width() != 0)
            size.width = attributes.width();
        if (attributes.height() != 0)
            size.height = attributes.height();
    }
    Base base{size, 0, NSIntegralRect({0, 0, size.width, size.height}), {}};
    if (attributes.enableBorder())
        base.border = std::ceil(attributes.borderOffset());
    if (base.border > 0) {
        base.size = {size.width + 2 * base.border, size.height + 2 * base.border};
        base.drawing = NSIntegralRect(NSOffsetRect(base.drawing, base.border, base.border));
    } else {
        base.border = 0;
    }
    base.canvas = NSIntegralRect({0, 0, base.size.width, base.size.height});
    return base;
}

float TransformGeometry::shadowPadding(float offset, float blur)
{
    return std::ceil(offset) + std::ceil(blur * 0.5F);
}

NSSize TransformGeometry::turnedCanvas(NSSize size, float degrees, bool clips)
{
    const NSRect source = NSIntegralRect({0, 0, size.width, size.height});
    return clips ? source.size() : NSRotatedRectBounds(source, -degrees).size();
}

QRect TransformGeometry::rasterRect(const NSRect &rect, int rasterHeight)
{
    const int top = rasterHeight - static_cast<int>(rect.y) - static_cast<int>(rect.height);
    return {static_cast<int>(rect.x), top, static_cast<int>(rect.width), static_cast<int>(rect.height)};
}
