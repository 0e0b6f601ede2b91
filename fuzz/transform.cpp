#include "fuzz/Require.h"
#include "media/QFTransformImage.h"
#include "media/TransformGeometry.h"
#include "platform/NSColor.h"
#include "platform/NSGeometry.h"
#include "platform/Values.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <bit>
#include <cmath>

// A picture under any attributes: sizes stay in bounds or the picture is empty.

using namespace Qt::StringLiterals;

namespace {

/// Any float, or mostly a small one.
float number(FuzzedDataProvider &input)
{
    if (input.ConsumeIntegral<uint8_t>() % 4 != 0)
        return static_cast<float>(input.ConsumeIntegral<int8_t>()) / 4;
    return std::bit_cast<float>(input.ConsumeIntegral<uint32_t>());
}

QVariantMap attributesFrom(FuzzedDataProvider &input)
{
    constexpr std::array kKeys{
        u"flipv",  u"fliph",        u"lockratios",   u"width",         u"originalwidth", u"height",
        u"square", u"scale",        u"rotation",     u"clip",          u"enableshadow",  u"shadowoffset",
        u"height", u"shadowblur",   u"enableborder", u"bordersize",    u"orientation",   u"fillcolour",
        u"width",  u"shadowcolour", u"bordercolour", u"originalheight"};
    QVariantMap map;
    while (input.remaining_bytes() > 0) {
        const QString key = QString::fromUtf16(kKeys.at(input.ConsumeIntegral<uint8_t>() % kKeys.size()));
        if (key.endsWith(u"colour"_s))
            map.insert(key, QVariant::fromValue(
                                NSColor::calibratedRGB(number(input), number(input), 0.5F, number(input))));
        else
            map.insert(key, number(input));
    }
    return map;
}

/// The work for larger pictures would only be more of the same.
bool isQuick(NSSize size)
{
    return size.width < 2000 && size.height < 2000;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider input(data, size);
    const NSSize original{number(input), number(input)};
    const QVariantMap attributes = attributesFrom(input);

    const QVariantMap oriented = TransformGeometry::orientedAttributes(attributes);
    const TransformGeometry::Base base = TransformGeometry::base(oriented, original);
    require(base.border >= 0 || std::isnan(base.border));
    const float padding = TransformGeometry::shadowPadding(floatValue(oriented.value(u"shadowoffset"_s)),
                                                           floatValue(oriented.value(u"shadowblur"_s)));
    const NSSize shadowed{base.size.width + padding, base.size.height + padding};
    const NSSize turned =
        TransformGeometry::turnedCanvas(shadowed, floatValue(oriented.value(u"rotation"_s)), false);
    if (!isQuick(base.size) || !isQuick(shadowed) || !isQuick(turned))
        return 0;

    QImage picture(37, 23, QImage::Format_ARGB32_Premultiplied);
    picture.fill(QColor(200, 100, 50, 180));
    const NSImagePtr result = QFTransformImage::transformImageUsingAttributes(
        std::make_shared<NSImage>(picture), attributes, original);
    require(result && (result->isEmpty() || !result->bitmap().isNull()));
    return 0;
}
