#include "fuzz/Require.h"
#include "media/QFTransformImage.h"
#include "media/TransformGeometry.h"
#include "platform/NSColor.h"
#include "platform/NSGeometry.h"
#include "platform/Values.h"

#include <QVariantMap>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>

// A picture under any attributes: sizes stay in bounds or the picture is empty.

using namespace Qt::StringLiterals;

namespace {

/// Takes numbers from the input: any float, or a small one.
class Input
{
public:
    Input(const uint8_t *data, size_t size) : _data(data), _size(size) {}

    [[nodiscard]] bool hasMore() const { return _size > 0; }
    uint8_t byte()
    {
        if (_size == 0)
            return 0;
        --_size;
        return *_data++;
    }
    float number()
    {
        if (byte() % 4 != 0)
            return static_cast<float>(static_cast<int8_t>(byte())) / 4;
        std::array<uint8_t, sizeof(float)> bytes{};
        for (uint8_t &one : bytes)
            one = byte();
        float value = 0;
        std::memcpy(&value, bytes.data(), sizeof value);
        return value;
    }

private:
    const uint8_t *_data;
    size_t _size;
};

QVariantMap attributesFrom(Input &input)
{
    constexpr std::array kKeys{
        u"flipv",  u"fliph",        u"lockratios",   u"width",         u"originalwidth", u"height",
        u"square", u"scale",        u"rotation",     u"clip",          u"enableshadow",  u"shadowoffset",
        u"height", u"shadowblur",   u"enableborder", u"bordersize",    u"orientation",   u"fillcolour",
        u"width",  u"shadowcolour", u"bordercolour", u"originalheight"};
    QVariantMap map;
    while (input.hasMore()) {
        const QString key = QString::fromUtf16(kKeys.at(input.byte() % kKeys.size()));
        if (key.endsWith(u"colour"_s))
            map.insert(key, QVariant::fromValue(NSColor::calibratedRGB(input.number(), input.number(), 0.5F,
                                                                       input.number())));
        else
            map.insert(key, input.number());
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
    Input input(data, size);
    const NSSize original{input.number(), input.number()};
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
