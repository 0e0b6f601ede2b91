#include "host/CSSValues.h"

#include <QColor>
#include <QList>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array<std::pair<QStringView, float>, 8> kSizeKeywords{{{u"xx-small", 0.6F},
                                                                      {u"x-small", 0.75F},
                                                                      {u"small", 0.89F},
                                                                      {u"medium", 1.0F},
                                                                      {u"large", 1.2F},
                                                                      {u"x-large", 1.5F},
                                                                      {u"xx-large", 2.0F},
                                                                      {u"xxx-large", 3.0F}}};
constexpr std::array<float, 7> kLegacySizes{0.63F, 0.82F, 1.0F, 1.13F, 1.5F, 2.0F, 3.0F};

constexpr float kSmallestFont = 1;
constexpr float kLargestFont = 500;

float roundedSize(float size)
{
    return std::clamp(std::round(size * 2) / 2, kSmallestFont, kLargestFont);
}

/// The number at the start of `value`, and what follows it.
std::optional<double> leadingNumber(QStringView value, QStringView &unit)
{
    qsizetype end = 0;
    while (end < value.size() && (value[end].isDigit() || value[end] == u'.' ||
                                  (end == 0 && value[end] == u'-') || (end == 0 && value[end] == u'+')))
        ++end;
    bool ok = false;
    const double number = value.left(end).toDouble(&ok);
    unit = value.mid(end).trimmed();
    return ok ? std::optional(number) : std::nullopt;
}

std::optional<NSColor> hexColor(QStringView digits)
{
    bool ok = false;
    const uint number = digits.toUInt(&ok, 16);
    if (!ok)
        return {};
    const auto channel = [number](int shift) {
        return static_cast<float>((number >> shift) & 0xFF) / 255.0F;
    };
    const auto nibble = [number](int shift) { return static_cast<float>((number >> shift) & 0xF) / 15.0F; };
    switch (digits.size()) {
    case 3:
        return NSColor::calibratedRGB(nibble(8), nibble(4), nibble(0));
    case 6:
        return NSColor::calibratedRGB(channel(16), channel(8), channel(0));
    case 8:
        return NSColor::calibratedRGB(channel(24), channel(16), channel(8), channel(0));
    default:
        return {};
    }
}

std::optional<NSColor> functionColor(QStringView arguments)
{
    std::array<float, 4> components{0, 0, 0, 1};
    size_t count = 0;
    for (QStringView piece : arguments.tokenize(u',')) {
        QStringView unit;
        const auto number = leadingNumber(piece.trimmed(), unit);
        if (!number || count == components.size())
            return {};
        const double whole = unit == u"%" ? 100 : count < 3 ? 255 : 1;
        components[count++] = static_cast<float>(std::clamp(*number / whole, 0.0, 1.0));
    }
    if (count < 3)
        return {};
    return NSColor::calibratedRGB(components[0], components[1], components[2], components[3]);
}

} // namespace

namespace CSSValues {

void forEachDeclaration(QStringView style, const std::function<void(QStringView, QStringView)> &take)
{
    for (const QStringView declaration : style.tokenize(u';')) {
        const qsizetype colon = declaration.indexOf(u':');
        if (colon <= 0)
            continue;
        const QString property = declaration.left(colon).trimmed().toString().toLower();
        QStringView value = declaration.mid(colon + 1).trimmed();
        if (const qsizetype important = value.indexOf(u'!'); important >= 0)
            value = value.left(important).trimmed();
        take(property, value);
    }
}

std::optional<NSColor> color(QStringView value)
{
    value = value.trimmed();
    if (value.startsWith(u'#'))
        return hexColor(value.mid(1));
    const qsizetype open = value.indexOf(u'(');
    if (open > 0 && value.startsWith(u"rgb", Qt::CaseInsensitive) && value.endsWith(u')'))
        return functionColor(value.mid(open + 1, value.size() - open - 2));
    if (value.isEmpty() || !value.front().isLetter() ||
        value.compare(u"transparent"_s, Qt::CaseInsensitive) == 0)
        return {};
    const QColor named = QColor::fromString(value);
    if (!named.isValid())
        return {};
    return NSColor::calibratedRGB(static_cast<float>(named.red()) / 255.0F,
                                  static_cast<float>(named.green()) / 255.0F,
                                  static_cast<float>(named.blue()) / 255.0F);
}

std::optional<float> fontSize(QStringView value, float parent, float standard)
{
    for (const auto &[keyword, factor] : kSizeKeywords) {
        if (value.compare(keyword, Qt::CaseInsensitive) == 0)
            return factor == 1 ? standard : roundedSize(standard * factor);
    }
    if (value.compare(u"larger", Qt::CaseInsensitive) == 0)
        return roundedSize(parent * 1.2F);
    if (value.compare(u"smaller", Qt::CaseInsensitive) == 0)
        return roundedSize(parent / 1.2F);
    QStringView unit;
    const auto number = leadingNumber(value, unit);
    if (!number || *number <= 0)
        return {};
    const auto size = static_cast<float>(std::min(*number, 1e6));
    if (unit == u"em")
        return size == 1 ? parent : roundedSize(parent * size);
    if (unit == u"rem")
        return size == 1 ? standard : roundedSize(standard * size);
    if (unit == u"%")
        return size == 100 ? parent : roundedSize(parent * size / 100);
    if (unit == u"px" || unit == u"pt")
        return std::clamp(size, kSmallestFont, kLargestFont);
    return {};
}

std::optional<double> length(QStringView value)
{
    QStringView unit;
    const auto number = leadingNumber(value.trimmed(), unit);
    if (!number || *number < 0 || (!unit.isEmpty() && unit != u"px" && unit != u"pt"))
        return {};
    return std::min(*number, 32767.0);
}

std::optional<float> legacyFontSize(QStringView value, float standard)
{
    value = value.trimmed();
    bool ok = false;
    const int number = value.toInt(&ok);
    if (!ok)
        return {};
    const bool relative = value.startsWith(u'+') || value.startsWith(u'-');
    const int index = std::clamp(relative ? 3 + std::clamp(number, -7, 7) : number, 1, 7) - 1;
    const float factor = kLegacySizes[static_cast<size_t>(index)];
    return factor == 1 ? standard : roundedSize(standard * factor);
}

} // namespace CSSValues
