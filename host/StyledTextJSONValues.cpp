#include "host/StyledTextJSONValues.h"

#include "platform/Values.h"

#include <QJsonArray>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMaximumDepth = 256;

constexpr std::array<QStringView, 5> kColorSpaceNames{u"CalibratedRGB", u"DeviceRGB", u"CalibratedWhite",
                                                      u"DeviceWhite", u"Pattern"};
constexpr std::array<QStringView, 3> kColorKeys{u"fillcolour", u"shadowcolour", u"bordercolour"};

float floatFrom(double number)
{
    constexpr double limit = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(number, -limit, limit));
}

/// The shortest decimal that reads back as the same 32-bit float: 13.7, not 13.699999809265137.
QJsonValue jsonOfFloat(float number)
{
    if (!std::isfinite(number))
        return QJsonValue();
    std::array<char, 32> digits{};
    const auto [end, code] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    return QByteArray(digits.data(), end - digits.data()).toDouble();
}

QJsonValue jsonOfString(const QString &text)
{
    return text.isNull() ? QJsonValue() : QJsonValue(text);
}

void setFloat(float &field, const QJsonValue &json)
{
    if (json.isDouble())
        field = floatFrom(json.toDouble());
}

void setDouble(double &field, const QJsonValue &json)
{
    if (json.isDouble())
        field = json.toDouble();
}

void setInteger(qint64 &field, const QJsonValue &json)
{
    field = StyledTextJSONValues::integerFrom(json).value_or(field);
}

void setTrait(NSFont &font, NSFontTraitMask trait, const QJsonValue &json)
{
    if (json.isBool())
        font.traits = json.toBool() ? font.traits | trait : font.traits & ~static_cast<quint32>(trait);
}

/// `null` gives nil; an absent key and other types leave the field.
template <typename Set>
void setString(const QJsonValue &json, Set set)
{
    if (json.isString() || json.isNull())
        set(StyledTextJSONValues::stringFrom(json));
}

std::optional<NSColor> colorFromComponents(const QJsonArray &components, NSColorSpaceName space)
{
    if (components.size() < 3 || components.size() > 4 ||
        !std::all_of(components.begin(), components.end(), [](const QJsonValue &c) { return c.isDouble(); }))
        return {};
    NSColor color;
    color.space = space;
    color.red = floatFrom(components[0].toDouble());
    color.green = floatFrom(components[1].toDouble());
    color.blue = floatFrom(components[2].toDouble());
    setFloat(color.alpha, components.size() == 4 ? components[3] : QJsonValue());
    return color;
}

/// One number for all four edges, or an array of four.
void setLayer(NSTextTableBlock &cell, NSTextBlockLayer layer, const QJsonValue &json)
{
    if (json.isDouble())
        cell.setWidthForLayer(layer, json.toDouble());
    const QJsonArray edges = json.toArray();
    for (int edge = 0; edge < 4 && edges.size() == 4; ++edge)
        cell.setWidthForLayer(layer, static_cast<NSRectEdge>(edge), edges[edge].toDouble());
}

void writeLayer(QJsonObject &json, const QString &key, const NSTextTableBlock &cell, NSTextBlockLayer layer)
{
    QJsonArray edges;
    bool same = true;
    for (int edge = 0; edge < 4; ++edge) {
        const double width = cell.widthForLayer(layer, static_cast<NSRectEdge>(edge));
        edges.append(width);
        same = same && width == cell.widthForLayer(layer, NSRectEdge::MinX);
    }
    if (!same)
        json[key] = edges;
    else if (edges[0].toDouble() != 0)
        json[key] = edges[0];
}

void setBorderColors(NSTextTableBlock &cell, const QJsonObject &json)
{
    if (const auto color = StyledTextJSONValues::colorFrom(json["borderColor"_L1]))
        cell.setBorderColor(color);
    const QJsonArray edges = json["borderColors"_L1].toArray();
    for (int edge = 0; edge < 4 && edges.size() == 4; ++edge)
        cell.setBorderColorForEdge(static_cast<NSRectEdge>(edge),
                                   StyledTextJSONValues::colorFrom(edges[edge]));
}

void writeBorderColors(QJsonObject &json, const NSTextTableBlock &cell)
{
    QJsonArray edges;
    bool same = true;
    const auto &first = cell.borderColorForEdge(NSRectEdge::MinX);
    for (int edge = 0; edge < 4; ++edge) {
        const auto &color = cell.borderColorForEdge(static_cast<NSRectEdge>(edge));
        edges.append(color ? StyledTextJSONValues::jsonOf(*color) : QJsonValue());
        same = same && color == first;
    }
    if (!same)
        json["borderColors"_L1] = edges;
    else if (first)
        json["borderColor"_L1] = edges[0];
}

QJsonValue jsonOfNumber(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::Float:
        return std::isfinite(value.toFloat()) ? jsonOfFloat(value.toFloat()) : QJsonValue::Undefined;
    case QMetaType::Double: {
        const double number = value.toDouble();
        return std::isfinite(number) ? QJsonValue(number) : QJsonValue(QJsonValue::Undefined);
    }
    case QMetaType::ULongLong:
    case QMetaType::ULong:
        if (value.toULongLong() > static_cast<quint64>(std::numeric_limits<qint64>::max()))
            return value.toDouble();
        return value.toLongLong();
    default:
        return intValue(value);
    }
}

QJsonValue jsonOfList(const QVariantList &list, int depth)
{
    QJsonArray array;
    for (const QVariant &element : list) {
        const QJsonValue json = StyledTextJSONValues::jsonOfVariant(element, depth + 1);
        if (json.isUndefined())
            return json;
        array.append(json);
    }
    return array;
}

QJsonValue jsonOfMap(const QVariantMap &map, int depth)
{
    QJsonObject object;
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        const QJsonValue json = StyledTextJSONValues::jsonOfVariant(entry.value(), depth + 1);
        if (json.isUndefined())
            return json;
        object.insert(entry.key(), json);
    }
    return object;
}

} // namespace

namespace StyledTextJSONValues {

std::optional<qint64> integerFrom(const QJsonValue &json)
{
    const QVariant number = json.toVariant();
    if (number.typeId() == QMetaType::LongLong)
        return number.toLongLong();
    const double real = json.toDouble(0.5);
    if (!json.isDouble() || real != std::trunc(real) || std::abs(real) >= 9.2e18)
        return {};
    return static_cast<qint64>(real);
}

QString stringFrom(const QJsonValue &json)
{
    if (!json.isString())
        return {};
    const QString text = json.toString();
    return text.isNull() ? u""_s : text;
}

std::optional<NSFont> fontFrom(const QJsonValue &json)
{
    if (!json.isObject())
        return {};
    const QJsonObject object = json.toObject();
    const NSFont standard = NSFont::userFontOfSize(0);
    const QString name = stringFrom(object["name"_L1]);
    const QString family = stringFrom(object["family"_L1]);
    NSFont font = name.isNull() ? standard : NSFont::fontWithName(name, standard.pointSize);
    if (name.isNull() && !family.isNull())
        font = {family, family, standard.pointSize, 0};
    setString(object.value("family"_L1), [&](const QString &value) { font.familyName = value; });
    setFloat(font.pointSize, object["size"_L1]);
    setTrait(font, NSBoldFontMask, object["bold"_L1]);
    setTrait(font, NSItalicFontMask, object["italic"_L1]);
    return font;
}

QJsonValue jsonOf(const NSFont &font)
{
    return QJsonObject{{u"name"_s, jsonOfString(font.fontName.isNull() ? u""_s : font.fontName)},
                       {u"family"_s, jsonOfString(font.familyName)},
                       {u"size"_s, jsonOfFloat(font.pointSize)},
                       {u"bold"_s, font.isBold()},
                       {u"italic"_s, font.isItalic()}};
}

std::optional<NSColor> colorFrom(const QJsonValue &json)
{
    if (json.isArray())
        return colorFromComponents(json.toArray(), NSColorSpaceName::CalibratedRGB);
    const QString space = json["space"_L1].toString();
    const auto known = std::find(kColorSpaceNames.begin(), kColorSpaceNames.end(), space);
    if (known == kColorSpaceNames.end())
        return {};
    return colorFromComponents(json["components"_L1].toArray(),
                               static_cast<NSColorSpaceName>(known - kColorSpaceNames.begin()));
}

QJsonValue jsonOf(const NSColor &color)
{
    const QJsonArray components{jsonOfFloat(color.red), jsonOfFloat(color.green), jsonOfFloat(color.blue),
                                jsonOfFloat(color.alpha)};
    if (color.space == NSColorSpaceName::CalibratedRGB)
        return components;
    return QJsonObject{{u"space"_s, kColorSpaceNames[static_cast<size_t>(color.space)].toString()},
                       {u"components"_s, components}};
}

QFLinkPtr linkFrom(const QJsonObject &json)
{
    auto link = std::make_shared<QFLink>(stringFrom(json["href"_L1]), json["internal"_L1].toBool());
    link->setAsset(integerFrom(json["asset"_L1]).value_or(0));
    setString(json.value("target"_L1), [&](const QString &value) { link->setTarget(value); });
    link->setTitle(stringFrom(json["title"_L1]));
    link->setRel(stringFrom(json["rel"_L1]));
    link->setAnchor(stringFrom(json["anchor"_L1]));
    link->setSubpageID(stringFrom(json["subpageID"_L1]));
    link->setName(stringFrom(json["name"_L1]));
    return link;
}

QJsonObject jsonOf(const QFLink &link)
{
    QJsonObject json;
    const std::array<std::pair<QString, QString>, 6> strings{{{u"href"_s, link.href()},
                                                              {u"title"_s, link.title()},
                                                              {u"rel"_s, link.rel()},
                                                              {u"anchor"_s, link.anchor()},
                                                              {u"subpageID"_s, link.subpageID()},
                                                              {u"name"_s, link.storedName()}}};
    for (const auto &[key, text] : strings) {
        if (!text.isNull())
            json[key] = text;
    }
    if (link.target() != u"self")
        json["target"_L1] = jsonOfString(link.target());
    if (link.internal())
        json["internal"_L1] = true;
    if (link.asset() != 0)
        json["asset"_L1] = link.asset();
    return json;
}

NSTextTablePtr tableFrom(const QJsonObject &json)
{
    auto table = std::make_shared<NSTextTable>();
    table->numberOfColumns =
        static_cast<quint64>(std::max<qint64>(integerFrom(json["numberOfColumns"_L1]).value_or(0), 0));
    const qint64 layout = integerFrom(json["layoutAlgorithm"_L1]).value_or(0);
    table->layoutAlgorithm =
        layout == 1 ? NSTextTableLayoutAlgorithm::Fixed : NSTextTableLayoutAlgorithm::Automatic;
    return table;
}

QJsonObject jsonOf(const NSTextTable &table)
{
    return {{u"numberOfColumns"_s, static_cast<qint64>(std::min<quint64>(table.numberOfColumns, INT64_MAX))},
            {u"layoutAlgorithm"_s, static_cast<int>(table.layoutAlgorithm)}};
}

NSTextTableBlockPtr cellFrom(const QJsonObject &json)
{
    auto cell = std::make_shared<NSTextTableBlock>();
    setInteger(cell->startingRow, json["startingRow"_L1]);
    setInteger(cell->startingColumn, json["startingColumn"_L1]);
    setInteger(cell->rowSpan, json["rowSpan"_L1]);
    setInteger(cell->columnSpan, json["columnSpan"_L1]);
    const qint64 alignment = integerFrom(json["verticalAlignment"_L1]).value_or(0);
    if (alignment >= INT32_MIN && alignment <= INT32_MAX)
        cell->verticalAlignment = static_cast<NSTextBlockVerticalAlignment>(alignment);
    setDouble(cell->width, json["width"_L1]);
    setDouble(cell->height, json["height"_L1]);
    setLayer(*cell, NSTextBlockLayer::Padding, json["padding"_L1]);
    setLayer(*cell, NSTextBlockLayer::Border, json["border"_L1]);
    setLayer(*cell, NSTextBlockLayer::Margin, json["margin"_L1]);
    setBorderColors(*cell, json);
    cell->backgroundColor = colorFrom(json["backgroundColor"_L1]);
    return cell;
}

QJsonObject jsonOf(const NSTextTableBlock &cell)
{
    QJsonObject json{{u"startingColumn"_s, cell.startingColumn}};
    const std::array<std::pair<QString, qint64>, 4> integers{
        {{u"startingRow"_s, cell.startingRow},
         {u"rowSpan"_s, cell.rowSpan - 1},
         {u"columnSpan"_s, cell.columnSpan - 1},
         {u"verticalAlignment"_s, static_cast<qint64>(cell.verticalAlignment)}}};
    for (const auto &[key, difference] : integers) {
        if (difference != 0)
            json[key] = key.endsWith(u"Span") ? difference + 1 : difference;
    }
    if (cell.width != 0)
        json["width"_L1] = cell.width;
    if (cell.height != 0)
        json["height"_L1] = cell.height;
    writeLayer(json, u"padding"_s, cell, NSTextBlockLayer::Padding);
    writeLayer(json, u"border"_s, cell, NSTextBlockLayer::Border);
    writeLayer(json, u"margin"_s, cell, NSTextBlockLayer::Margin);
    writeBorderColors(json, cell);
    if (cell.backgroundColor)
        json["backgroundColor"_L1] = jsonOf(*cell.backgroundColor);
    return json;
}

QVariantMap mediaAttributesFrom(const QJsonObject &json)
{
    QVariantMap attributes;
    for (auto entry = json.begin(); entry != json.end(); ++entry) {
        const bool isColor = std::find(kColorKeys.begin(), kColorKeys.end(), entry.key()) != kColorKeys.end();
        const std::optional<NSColor> color = isColor ? colorFrom(entry.value()) : std::nullopt;
        const QVariant value = color ? QVariant::fromValue(*color) : variantFrom(entry.value());
        if (value.isValid() && (!isColor || color))
            attributes.insert(entry.key(), value);
    }
    return attributes;
}

QVariant variantFrom(const QJsonValue &json)
{
    if (json.isNull() || json.isUndefined())
        return {};
    if (json.isString())
        return stringFrom(json);
    if (json.isArray()) {
        QVariantList list;
        const QJsonArray elements = json.toArray();
        for (const auto &element : elements) {
            if (!element.isNull())
                list.append(variantFrom(element));
        }
        return list;
    }
    if (json.isObject()) {
        QVariantMap map;
        const QJsonObject object = json.toObject();
        for (auto entry = object.begin(); entry != object.end(); ++entry) {
            if (!entry.value().isNull())
                map.insert(entry.key(), variantFrom(entry.value()));
        }
        return map;
    }
    return json.toVariant();
}

QJsonValue jsonOfVariant(const QVariant &value, int depth)
{
    if (depth > kMaximumDepth || isNil(value))
        return QJsonValue::Undefined;
    if (isNumber(value))
        return jsonOfNumber(value);
    switch (value.typeId()) {
    case QMetaType::QString:
        return value.toString();
    case QMetaType::QVariantList:
        return jsonOfList(value.toList(), depth);
    case QMetaType::QStringList:
        return QJsonArray::fromStringList(value.toStringList());
    case QMetaType::QVariantMap:
        return jsonOfMap(value.toMap(), depth);
    default:
        return value.metaType() == QMetaType::fromType<NSColor>() ? jsonOf(value.value<NSColor>())
                                                                  : QJsonValue(QJsonValue::Undefined);
    }
}

} // namespace StyledTextJSONValues
