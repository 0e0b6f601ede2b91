#include "media/QFTextAttachmentAttributes.h"

#include "platform/Values.h"

using namespace Qt::StringLiterals;

namespace {

std::optional<NSColor> colour(const QVariant &value)
{
    if (value.metaType() != QMetaType::fromType<NSColor>())
        return std::nullopt;
    return value.value<NSColor>();
}

} // namespace

bool QFTextAttachmentAttributes::flipVertically() const
{
    return boolValue(_map->value(u"flipv"_s));
}

bool QFTextAttachmentAttributes::flipHorizontally() const
{
    return boolValue(_map->value(u"fliph"_s));
}

bool QFTextAttachmentAttributes::lockRatios() const
{
    return boolValue(_map->value(u"lockratios"_s));
}

float QFTextAttachmentAttributes::width() const
{
    return floatValue(_map->value(u"width"_s));
}

float QFTextAttachmentAttributes::originalWidth() const
{
    return floatValue(_map->value(u"originalwidth"_s));
}

float QFTextAttachmentAttributes::height() const
{
    return floatValue(_map->value(u"height"_s));
}

float QFTextAttachmentAttributes::originalHeight() const
{
    return floatValue(_map->value(u"originalheight"_s));
}

float QFTextAttachmentAttributes::widthOrOriginalWidth() const
{
    const float stored = width();
    return stored != 0 ? stored : originalWidth();
}

float QFTextAttachmentAttributes::heightOrOriginalHeight() const
{
    const float stored = height();
    return stored != 0 ? stored : originalHeight();
}

bool QFTextAttachmentAttributes::square() const
{
    return boolValue(_map->value(u"square"_s));
}

float QFTextAttachmentAttributes::scale() const
{
    const QVariant value = _map->value(u"scale"_s);
    return isNil(value) ? 1.0F : floatValue(value);
}

float QFTextAttachmentAttributes::rotation() const
{
    return floatValue(_map->value(u"rotation"_s));
}

bool QFTextAttachmentAttributes::clip() const
{
    return boolValue(_map->value(u"clip"_s));
}

QString QFTextAttachmentAttributes::altTag() const
{
    return stringValue(_map->value(u"alttag"_s));
}

QString QFTextAttachmentAttributes::fileName() const
{
    return stringValue(_map->value(u"filename"_s));
}

std::optional<NSColor> QFTextAttachmentAttributes::fillColour() const
{
    return colour(_map->value(u"fillcolour"_s));
}

qint32 QFTextAttachmentAttributes::mediaType() const
{
    return static_cast<qint32>(intValue(_map->value(u"type"_s)));
}

bool QFTextAttachmentAttributes::enableShadow() const
{
    return boolValue(_map->value(u"enableshadow"_s));
}

float QFTextAttachmentAttributes::shadowOffset() const
{
    return floatValue(_map->value(u"shadowoffset"_s));
}

float QFTextAttachmentAttributes::shadowBlur() const
{
    return floatValue(_map->value(u"shadowblur"_s));
}

std::optional<NSColor> QFTextAttachmentAttributes::shadowColour() const
{
    return colour(_map->value(u"shadowcolour"_s));
}

bool QFTextAttachmentAttributes::enableBorder() const
{
    return boolValue(_map->value(u"enableborder"_s));
}

float QFTextAttachmentAttributes::borderOffset() const
{
    return floatValue(_map->value(u"bordersize"_s));
}

float QFTextAttachmentAttributes::borderBlur() const
{
    return floatValue(_map->value(u"borderblur"_s));
}

std::optional<NSColor> QFTextAttachmentAttributes::borderColour() const
{
    return colour(_map->value(u"bordercolour"_s));
}

float QFTextAttachmentAttributes::shownWidth() const
{
    return lockRatios() ? originalWidth() * scale() : widthOrOriginalWidth();
}

float QFTextAttachmentAttributes::shownHeight() const
{
    return lockRatios() ? originalHeight() * scale() : heightOrOriginalHeight();
}

void ToggleBooleanAttributeKey(QVariantMap &map, const QString &key)
{
    map.insert(key, !boolValue(map.value(key)));
}

void SwapWidthAndHeight(QVariantMap &map)
{
    const auto width = map.find(u"width"_s);
    const auto height = map.find(u"height"_s);
    if (width != map.end() && height != map.end())
        std::swap(width.value(), height.value());
}
