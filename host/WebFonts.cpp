#include "host/WebFonts.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

struct Family
{
    QStringView name;
    QStringView regular;
    QStringView bold;
    QStringView italic;
    QStringView boldItalic;
};

constexpr std::array<Family, 9> kFamilies{{
    {u"Arial", u"ArialMT", u"Arial-BoldMT", u"Arial-ItalicMT", u"Arial-BoldItalicMT"},
    {u"Courier", u"Courier", u"Courier-Bold", u"Courier", u"Courier-Bold"},
    {u"Geneva", u"Geneva", u"Geneva", u"Geneva", u"Geneva"},
    {u"Georgia", u"Georgia", u"Georgia-Bold", u"Georgia-Italic", u"Georgia-BoldItalic"},
    {u"Helvetica", u"Helvetica", u"Helvetica-Bold", u"Helvetica", u"Helvetica-Bold"},
    {u"Lucida Grande", u"LucidaGrande", u"LucidaGrande-Bold", u"LucidaGrande", u"LucidaGrande-Bold"},
    {u"Times New Roman", u"TimesNewRomanPSMT", u"TimesNewRomanPS-BoldMT", u"TimesNewRomanPS-ItalicMT",
     u"TimesNewRomanPS-BoldItalicMT"},
    {u"Trebuchet MS", u"TrebuchetMS", u"TrebuchetMS-Bold", u"TrebuchetMS-Italic", u"TrebuchetMS-BoldItalic"},
    {u"Verdana", u"Verdana", u"Verdana-Bold", u"Verdana", u"Verdana-BoldItalic"},
}};

/// Other names under which pages ask for a family.
constexpr std::array<std::pair<QStringView, QStringView>, 13> kAliases{{
    {u"courier new", u"Courier"},
    {u"monospace", u"Courier"},
    {u"mono", u"Courier"},
    {u"consolas", u"Courier"},
    {u"menlo", u"Courier"},
    {u"monaco", u"Courier"},
    {u"lucidagrande", u"Lucida Grande"},
    {u"times", u"Times New Roman"},
    {u"serif", u"Times New Roman"},
    {u"trebuchet", u"Trebuchet MS"},
    {u"ui-monospace", u"Courier"},
    {u"sfmono-regular", u"Courier"},
    {u"liberation mono", u"Courier"},
}};

QStringView unquoted(QStringView family)
{
    family = family.trimmed();
    if (family.size() > 1 && (family.front() == u'\'' || family.front() == u'"'))
        family = family.mid(1, family.size() - 2).trimmed();
    return family;
}

} // namespace

QString WebFonts::familyForStack(QStringView families)
{
    for (QStringView piece : families.tokenize(u',')) {
        const QStringView wanted = unquoted(piece);
        for (const Family &family : kFamilies) {
            if (wanted.compare(family.name, Qt::CaseInsensitive) == 0)
                return family.name.toString();
        }
        for (const auto &[alias, family] : kAliases) {
            if (wanted.compare(alias, Qt::CaseInsensitive) == 0)
                return family.toString();
        }
    }
    return {};
}

NSFont WebFonts::font(const QString &family, float size, bool bold, bool italic)
{
    NSFont font = NSFont::userFontOfSize(size);
    const QString name = family.isEmpty() ? font.familyName : family;
    const auto known = std::find_if(kFamilies.begin(), kFamilies.end(),
                                    [&](const Family &candidate) { return candidate.name == name; });
    if (known != kFamilies.end()) {
        const QStringView face =
            bold ? (italic ? known->boldItalic : known->bold) : (italic ? known->italic : known->regular);
        font.fontName = face.toString();
        font.familyName = name;
    }
    if (!family.isEmpty() || bold || italic)
        font.traits = (bold ? NSBoldFontMask : 0U) | (italic ? NSItalicFontMask : 0U);
    return font;
}
