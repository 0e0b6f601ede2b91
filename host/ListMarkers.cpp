#include "host/ListMarkers.h"

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array<std::pair<QStringView, QStringView>, 15> kTypes{{
    {u"disc", u"{disc}"},
    {u"circle", u"{circle}"},
    {u"square", u"{square}"},
    {u"decimal", u"{decimal}"},
    {u"1", u"{decimal}"},
    {u"upper-alpha", u"{upper-alpha}"},
    {u"upper-latin", u"{upper-alpha}"},
    {u"A", u"{upper-alpha}"},
    {u"lower-alpha", u"{lower-alpha}"},
    {u"lower-latin", u"{lower-alpha}"},
    {u"a", u"{lower-alpha}"},
    {u"upper-roman", u"{upper-roman}"},
    {u"I", u"{upper-roman}"},
    {u"lower-roman", u"{lower-roman}"},
    {u"i", u"{lower-roman}"},
}};

QString letters(qint64 number)
{
    QString text;
    for (; number > 0; number = (number - 1) / 26)
        text.prepend(QChar(u'a' + static_cast<char16_t>((number - 1) % 26)));
    return text;
}

QString roman(qint64 number)
{
    constexpr std::array<std::pair<int, QStringView>, 13> digits{{{1000, u"m"},
                                                                  {900, u"cm"},
                                                                  {500, u"d"},
                                                                  {400, u"cd"},
                                                                  {100, u"c"},
                                                                  {90, u"xc"},
                                                                  {50, u"l"},
                                                                  {40, u"xl"},
                                                                  {10, u"x"},
                                                                  {9, u"ix"},
                                                                  {5, u"v"},
                                                                  {4, u"iv"},
                                                                  {1, u"i"}}};
    QString text;
    for (const auto &[value, digit] : digits) {
        for (; number >= value; number -= value)
            text += digit;
    }
    return text;
}

} // namespace

QString ListMarkers::formatForType(QStringView type)
{
    const auto *found = std::find_if(kTypes.begin(), kTypes.end(), [type](const auto &row) {
        return row.first.size() == 1 ? row.first == type : row.first.compare(type, Qt::CaseInsensitive) == 0;
    });
    return found == kTypes.end() ? QString() : found->second.toString();
}

QString ListMarkers::standardFormat(bool ordered, qsizetype depth)
{
    if (ordered)
        return u"{decimal}"_s;
    return depth <= 1 ? u"{disc}"_s : depth == 2 ? u"{circle}"_s : u"{square}"_s;
}

QString ListMarkers::markerText(QStringView format, qint64 number)
{
    if (format == u"{disc}")
        return u"\u2022"_s;
    if (format == u"{circle}")
        return u"\u25E6"_s;
    if (format == u"{square}")
        return u"\u25AA"_s;
    QString text = QString::number(number);
    if (format.endsWith(u"alpha}") && number > 0)
        text = letters(number);
    else if (format.endsWith(u"roman}") && number > 0 && number < 4000)
        text = roman(number);
    return (format.startsWith(u"{upper") ? text.toUpper() : text) + u'.';
}
