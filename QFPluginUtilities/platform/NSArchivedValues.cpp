#include "platform/NSArchivedValues.h"

#include "platform/NSColor.h"
#include "platform/NSFont.h"
#include "platform/NSKeyedArchiveLayout.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/NSPropertyListValue.h"
#include "platform/Values.h"

#include <QUrl>

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLongestFontName = 1024;

void encodeArray(const QVariant &object, NSKeyedArchiver &coder)
{
    coder.encodeObjects(object.toList(), NSKeyedArchiveLayout::elementsKey);
}

QVariant decodeArray(NSKeyedUnarchiver &coder)
{
    QVariantList objects = coder.decodeObjects(NSKeyedArchiveLayout::elementsKey);
    objects.removeIf([](const QVariant &object) { return isNil(object); });
    return objects;
}

void encodeDictionary(const QVariant &object, NSKeyedArchiver &coder)
{
    const QVariantMap map = object.toMap();
    QVariantList keys;
    QVariantList values;
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        if (!NSKeyedArchiver::canEncode(entry.value()))
            continue;
        keys.append(entry.key());
        values.append(entry.value());
    }
    coder.encodeObjects(keys, u"NS.keys");
    coder.encodeObjects(values, NSKeyedArchiveLayout::elementsKey);
}

QVariant decodeDictionary(NSKeyedUnarchiver &coder)
{
    const QVariantList keys = coder.decodeObjects(u"NS.keys");
    const QVariantList values = coder.decodeObjects(NSKeyedArchiveLayout::elementsKey);
    if (keys.size() != values.size())
        return {};
    QVariantMap map;
    for (qsizetype i = 0; i < keys.size(); ++i) {
        const QString key = stringValue(keys[i]);
        if (key.isNull() || isNil(values[i]))
            continue;
        // Sorting compares keys, and many dictionaries can share long ones.
        if (!coder.spend(key.size()))
            return {};
        map.insert(key, values[i]);
    }
    return map;
}

void encodeDate(const QVariant &object, NSKeyedArchiver &coder)
{
    if (object.toDateTime().isValid())
        coder.encodeDouble(secondsSinceReferenceDate(object.toDateTime()), u"NS.time");
}

QVariant decodeDate(NSKeyedUnarchiver &coder)
{
    constexpr double absent = std::numeric_limits<double>::quiet_NaN();
    const QDateTime date = dateFromReferenceDate(coder.decodeDouble(u"NS.time", absent));
    return date.isValid() ? QVariant(date) : QVariant();
}

void encodeURL(const QVariant &object, NSKeyedArchiver &coder)
{
    coder.encodeObject({}, u"NS.base");
    coder.encodeObject(object.toUrl().toString(QUrl::FullyEncoded), u"NS.relative");
}

QVariant decodeURL(NSKeyedUnarchiver &coder)
{
    const QString relative = stringValue(coder.decodeObject(u"NS.relative"));
    const auto base = coder.decode<QUrl>(u"NS.base");
    if (!coder.spend(relative.size() + base.toString().size()))
        return {};
    const QUrl url(relative);
    return url.isValid() ? QVariant(base.isValid() ? base.resolved(url) : url) : QVariant();
}

QVariant decodeData(NSKeyedUnarchiver &coder)
{
    const QVariant bytes = coder.decodeObject(u"NS.data");
    return bytes.typeId() == QMetaType::QByteArray ? bytes : QVariant();
}

QVariant decodeString(NSKeyedUnarchiver &coder)
{
    const QVariant text = coder.decodeObject(u"NS.string");
    return text.typeId() == QMetaType::QString ? text : QVariant();
}

void encodeFont(const QVariant &object, NSKeyedArchiver &coder)
{
    const auto font = object.value<NSFont>();
    coder.encodeObject(font.fontName, u"NSName");
    coder.encodeDouble(font.pointSize, u"NSSize");
    coder.encodeObject(font.familyName, u"QFFamilyName");
    coder.encodeInt(font.traits, u"QFTraits");
}

/// Fonts from elsewhere have a name and a size only; the rest is then read from the name.
QVariant decodeFont(NSKeyedUnarchiver &coder)
{
    const QString name = stringValue(coder.decodeObject(u"NSName"));
    const QString family = stringValue(coder.decodeObject(u"QFFamilyName"));
    const auto size = static_cast<float>(coder.decodeDouble(u"NSSize"));
    if (name.size() > kLongestFontName || family.size() > kLongestFontName || !std::isfinite(size))
        return {};
    if (!coder.containsValueForKey(u"QFTraits"))
        return name.isNull() ? QVariant() : QVariant::fromValue(NSFont::fontWithName(name, size));
    return QVariant::fromValue(
        NSFont{name, family, size, static_cast<quint32>(coder.decodeInt(u"QFTraits"))});
}

/// The numbers by which archives know the colour spaces.
constexpr std::array<std::pair<NSColorSpaceName, qint64>, 5> kColorSpaceNumbers{{
    {NSColorSpaceName::CalibratedRGB, 1},
    {NSColorSpaceName::DeviceRGB, 2},
    {NSColorSpaceName::CalibratedWhite, 3},
    {NSColorSpaceName::DeviceWhite, 4},
    {NSColorSpaceName::Pattern, 10},
}};

bool isWhite(NSColorSpaceName space)
{
    return space == NSColorSpaceName::CalibratedWhite || space == NSColorSpaceName::DeviceWhite;
}

/// Components are text, separated by blanks, in as many digits as a 32-bit float needs to come back the same.
template <size_t count>
QByteArray printedComponents(const std::array<float, count> &components)
{
    QByteArray text;
    for (const float component : components) {
        std::array<char, 32> digits{};
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), component).ptr;
        text.append(text.isEmpty() ? "" : " ").append(digits.data(), end - digits.data());
    }
    return text;
}

/// As many components as there are, up to four; NaN and infinity read as 0.
std::vector<float> parsedComponents(const QByteArray &text)
{
    std::vector<float> components;
    const char *at = text.constData();
    const char *const end = at + text.size();
    while (components.size() < 4) {
        while (at != end && *at == ' ')
            ++at;
        float component = 0;
        const auto [next, error] = std::from_chars(at, end, component);
        if (error != std::errc())
            break;
        components.push_back(std::isfinite(component) ? component : 0);
        at = next;
    }
    return components;
}

void encodeColor(const QVariant &object, NSKeyedArchiver &coder)
{
    const auto color = object.value<NSColor>();
    for (const auto &[space, number] : kColorSpaceNumbers) {
        if (space == color.space)
            coder.encodeInt(number, u"NSColorSpace");
    }
    if (isWhite(color.space))
        coder.encodeBytes(printedComponents(std::array{color.red, color.alpha}), u"NSWhite");
    else if (color.space != NSColorSpaceName::Pattern)
        coder.encodeBytes(printedComponents(std::array{color.red, color.green, color.blue, color.alpha}),
                          u"NSRGB");
}

QVariant decodeColor(NSKeyedUnarchiver &coder)
{
    const qint64 stored = coder.decodeInt(u"NSColorSpace");
    for (const auto &[space, number] : kColorSpaceNumbers) {
        if (number != stored)
            continue;
        NSColor color;
        color.space = space;
        if (space == NSColorSpaceName::Pattern)
            return QVariant::fromValue(color);
        const size_t own = isWhite(space) ? 1 : 3; // the alpha behind them may be missing
        const std::vector<float> parts =
            parsedComponents(coder.decode<QByteArray>(isWhite(space) ? u"NSWhite" : u"NSRGB"));
        if (parts.size() < own)
            return {};
        color.red = parts[0];
        color.green = parts[own == 3 ? 1 : 0];
        color.blue = parts[own == 3 ? 2 : 0];
        color.alpha = parts.size() > own ? parts[own] : 1;
        return QVariant::fromValue(color);
    }
    return {};
}

} // namespace

QList<NSArchivableClass> archivableValueClasses()
{
    return {
        {u"NSArray"_s, {}, 0, QMetaType::fromType<QVariantList>(), encodeArray, decodeArray},
        {u"NSDictionary"_s, {}, 0, QMetaType::fromType<QVariantMap>(), encodeDictionary, decodeDictionary},
        {u"NSDate"_s, {}, 0, QMetaType::fromType<QDateTime>(), encodeDate, decodeDate},
        {u"NSURL"_s, {}, 0, QMetaType::fromType<QUrl>(), encodeURL, decodeURL},
        {u"NSFont"_s, {}, 0, QMetaType::fromType<NSFont>(), encodeFont, decodeFont},
        {u"NSColor"_s, {}, 0, QMetaType::fromType<NSColor>(), encodeColor, decodeColor},
        // Written plain here, but as objects elsewhere.
        {u"NSData"_s, {}, 0, {}, nullptr, decodeData},
        {u"NSString"_s, {}, 0, {}, nullptr, decodeString},
    };
}
