#include "export/QFWebSafeFonts.h"

#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/QFReport.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

struct FontStack
{
    QStringView fontName;
    QStringView stack;
};

constexpr QStringView kArial = u"Arial, Verdana, Helvetica, sans-serif";
constexpr QStringView kCourier = u"Courier, mono"; // "mono" is meant
constexpr QStringView kGeorgia = u"Georgia, serif";
constexpr QStringView kHelvetica = u"Helvetica, Arial, Verdana, sans-serif";
constexpr QStringView kLucida = u"'Lucida Grande', LucidaGrande, Verdana, sans-serif";
constexpr QStringView kTimes = u"Times, Georgia, Courier, serif";
constexpr QStringView kTrebuchet = u"Trebuchet, Verdana, serif"; // serif is meant, as for Verdana
constexpr QStringView kVerdana = u"Verdana, serif";
constexpr QStringView kFallback = u"Verdana, Arial, Helvetica, sans-serif";

// Published style sheets count on these stacks: faces that are missing, odd generics and the missing comma of
// the mincho stack stay as they are.
constexpr std::array<FontStack, 30> kStacks{{
    {u"Arial-BoldItalicMT", kArial},
    {u"Arial-BoldMT", kArial},
    {u"Arial-ItalicMT", kArial},
    {u"ArialMT", kArial},
    {u"Courier", kCourier},
    {u"Courier-Bold", kCourier},
    {u"Geneva", u"Geneva, serif"},
    {u"Georgia", kGeorgia},
    {u"Georgia-Bold", kGeorgia},
    {u"Georgia-BoldItalic", kGeorgia},
    {u"Georgia-Italic", kGeorgia},
    {u"Helvetica", kHelvetica},
    {u"Helvetica-Bold", kHelvetica},
    {u"HiraKakuPro-W3", u"Hiragino Kaku Gothic Pro, Osaka, MS PGothic, sans-serif"},
    {u"HiraMinPro-W3", u"Hiragino Mincho Pro, HeiseiMincho, MS PMincho serif"},
    {u"LucidaGrande", kLucida},
    {u"LucidaGrande-Bold", kLucida},
    {u"Osaka", u"OsakaMono, Osaka, MS Gothic, monospace"},
    {u"TimesNewRomanPS-BoldItalicMT", kTimes},
    {u"TimesNewRomanPS-BoldMT", kTimes},
    {u"TimesNewRomanPS-ItalicMT", kTimes},
    {u"TimesNewRomanPSMT", kTimes},
    {u"Trebuchet-BoldItalic", kTrebuchet},
    {u"TrebuchetMS", kTrebuchet},
    {u"TrebuchetMS-Bold", kTrebuchet},
    {u"TrebuchetMS-BoldItalic", kTrebuchet},
    {u"TrebuchetMS-Italic", kTrebuchet},
    {u"Verdana", kVerdana},
    {u"Verdana-Bold", kVerdana},
    {u"Verdana-BoldItalic", kVerdana},
}};

struct MenuFont
{
    QStringView title;
    QStringView fontName;
};

constexpr QStringView kThemeDefaultTitle = u"Theme Default";

constexpr std::array<MenuFont, 13> kMenuFonts{{
    {kThemeDefaultTitle, kThemeDefaultTitle},
    {u"Arial", u"ArialMT"},
    {u"Courier", u"Courier"},
    {u"Georgia", u"Georgia"},
    {u"Geneva", u"Geneva"},
    {u"Helvetica", u"Helvetica"},
    {u"Lucida Grande", u"LucidaGrande"},
    {u"Times", u"TimesNewRomanPSMT"},
    {u"Trebuchet", u"TrebuchetMS"},
    {u"Verdana", u"Verdana"},
    {u"Hiragino Kaku Gothic Pro", u"HiraKakuPro-W3"},
    {u"Hiragino Mincho Pro", u"HiraMinPro-W3"},
    {u"Osaka", u"Osaka"},
}};

} // namespace

QString QFWebSafeFonts::styleStringForFont(const NSFont &font) const
{
    const auto found = std::ranges::find(kStacks, QStringView(font.fontName), &FontStack::fontName);
    if (found != kStacks.end() && !font.fontName.isEmpty())
        return found->stack.toString();
    return _nilOnWebUnsafeFont ? QString() : kFallback.toString();
}

bool QFWebSafeFonts::containsWebUnsafeFonts(const NSAttributedString &text)
{
    QFWebSafeFonts fonts;
    fonts.setNilOnWebUnsafeFont(true);
    return std::ranges::any_of(text.runs(), [&fonts](const NSAttributedString::Run &run) {
        const auto *font = run.attributes.find<NSFont>(NSFontAttributeName);
        return font && fonts.styleStringForFont(*font).isNull();
    });
}

QString QFWebSafeFonts::fontNameFromTitle(const QString &title)
{
    const auto found = std::ranges::find(kMenuFonts, QStringView(title), &MenuFont::title);
    return found == kMenuFonts.end() ? QString() : found->fontName.toString();
}

std::optional<NSFont> QFWebSafeFonts::menuItemTitleToFont(const QString &title)
{
    const QString fontName = fontNameFromTitle(title);
    if (fontName.isNull())
        return std::nullopt;
    return NSFont::fontWithName(fontName, NSFont::systemFontSize());
}

void QFWebSafeFonts::styliseFontMenu(NSMenu &menu)
{
    for (NSMenuItem &item : menu.items) {
        if (item.title.isEmpty())
            continue;
        if (item.title == kThemeDefaultTitle) {
            item.action = u"applyThemeDefaultFont:"_s;
            continue;
        }
        const std::optional<NSFont> font = menuItemTitleToFont(item.title);
        if (!font) {
            logFailure(qfExportLog(), u"font-menu"_s, formatted(u"No matching font for '%@'", {item.title}));
            continue;
        }
        item.attributedTitle =
            NSAttributedString(item.title, {{NSFontAttributeName, QVariant::fromValue(*font)}});
        item.action = u"applyWebSafeFont:"_s;
    }
}
