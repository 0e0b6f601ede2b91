#include "export/CVHTMLRunStyle.h"

#include "export/QFColours.h"
#include "platform/Formatting.h"
#include "platform/NSColor.h"
#include "platform/NSFont.h"
#include "platform/Values.h"

#include <QStringBuilder>

#include <algorithm>
#include <bit>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

/// A point size as "%d" prints it, within what a page can mean.
QString pixels(float pointSize)
{
    constexpr float limit = 32767;
    return QString::number(std::isnan(pointSize) ? 0
                                                 : static_cast<int>(std::clamp(pointSize, -limit, limit)));
}

/// Whether a font's name can stand in a style attribute as it is: names come from documents, unescaped.
bool isSafeInStyle(const QString &fontName)
{
    return std::ranges::none_of(fontName, [](QChar unit) {
        return unit == u'"' || unit == u'<' || unit == u'>' || unit.category() == QChar::Other_Control;
    });
}

/// The style of a font of another family than the default's. Unknown fonts under their own name lose their
/// weight: that is meant, and since a span is open no `strong` makes up for it.
QString otherFamilyStyle(const NSFont &font, const QString &weight, bool allowWebUnsafeFonts)
{
    QFWebSafeFonts fonts;
    fonts.setNilOnWebUnsafeFont(allowWebUnsafeFonts && isSafeInStyle(font.fontName));
    const QString stack = fonts.styleStringForFont(font);
    if (stack.isNull())
        return u"font-size:" % pixels(font.pointSize) % u"px; font-family:" % printed(font.fontName) % u"; ";
    return u"font:" % pixels(font.pointSize) % u"px " % stack % u"; " % weight;
}

QString fontStyle(const NSFont &font, const QString &weight, const CVHTMLStyleDefaults &defaults)
{
    if (!sameString(font.familyName, defaults.familyName))
        return otherFamilyStyle(font, weight, defaults.allowWebUnsafeFonts);
    if (font.pointSize == defaults.pointSize)
        return {};
    return u"font-size:" % pixels(font.pointSize) % u"px; " % weight;
}

QString colourStyle(const NSColor *given, const QString &weight)
{
    const std::optional<NSColor> color =
        given ? given->colorUsingColorSpaceName(NSCalibratedRGBColorSpace) : std::nullopt;
    if (!color)
        return {};
    return u"color:" % QFColourUtilities::webColourString(*color) % u"; " % weight;
}

/// As many slots as runs make sense, but at most 1024 of them: real texts have some dozens of styles.
unsigned slotBits(qsizetype runs)
{
    return static_cast<unsigned>(std::bit_width(static_cast<quint64>(std::clamp<qsizetype>(runs, 8, 1023))));
}

template <typename T>
bool areSame(const T *a, const T *b)
{
    return a && b ? *a == *b : a == b;
}

/// The value if it is exactly a T: a value of a wrong type counts as absent.
template <typename T>
const T *valueAs(const QVariant &value)
{
    return value.metaType() == QMetaType::fromType<T>() ? static_cast<const T *>(value.constData()) : nullptr;
}

} // namespace

bool CVHTMLLooks::isLike(const CVHTMLLooks &other) const
{
    return isUnderlined == other.isUnderlined && areSame(font, other.font) && areSame(color, other.color);
}

CVHTMLCharacterStyle characterStyle(const CVHTMLLooks &looks, const CVHTMLStyleDefaults &defaults)
{
    const NSFont *font = looks.font;
    const bool isBold = font && font->isBold();
    const bool isItalic = font && font->isItalic();
    // Any value underlines, zero too; but only a run with a font is asked.
    const bool isUnderlined = font && looks.isUnderlined;

    // The weight stands behind the font and again behind the colour: twice, when there are both.
    const QString weight = isBold ? u"font-weight:bold; "_s : QString();
    const QString style =
        (font ? fontStyle(*font, weight, defaults) : QString()) + colourStyle(looks.color, weight);

    CVHTMLCharacterStyle result;
    const auto wrap = [&result](QStringView opening, QStringView closing) {
        result.opening += opening;
        result.closing.prepend(closing);
    };
    if (!style.isEmpty())
        wrap(QString(u"<span style=\"" % style % u"\">"), u"</span>");
    else if (isBold)
        wrap(u"<strong>", u"</strong>");
    if (isItalic)
        wrap(u"<em>", u"</em>");
    if (isUnderlined)
        wrap(u"<u>", u"</u>");
    return result;
}

std::optional<NSTextAlignment> resolvedAlignment(const NSParagraphStyle &style)
{
    if (style.alignment != NSTextAlignment::Natural)
        return style.alignment;
    switch (style.baseWritingDirection) {
    case NSWritingDirection::LeftToRight:
        return NSTextAlignment::Left;
    case NSWritingDirection::RightToLeft:
        return NSTextAlignment::Right;
    default:
        return std::nullopt;
    }
}

CVHTMLRunStyle::CVHTMLRunStyle(const NSAttributeDictionary &given) : attributes(given)
{
    for (const auto &[key, value] : attributes.entries()) {
        if (key == NSFontAttributeName)
            looks.font = valueAs<NSFont>(value);
        else if (key == NSForegroundColorAttributeName)
            looks.color = valueAs<NSColor>(value);
        else if (key == NSUnderlineStyleAttributeName)
            looks.isUnderlined = true;
        else if (key == NSParagraphStyleAttributeName)
            paragraphStyle = valueAs<NSParagraphStyle>(value);
        else if (key == NSLinkAttributeName)
            link = &value;
        else if (key == NSAttachmentAttributeName)
            attachment = valueAs<NSTextAttachmentPtr>(value);
        else if (key == kQFTextViewMarkupDirectivesAttributeName)
            directive = valueAs<QVariantMap>(value);
        else if (key == kQFTextViewIgnoreFormattingAttributeName)
            isRaw = boolValue(value);
    }
    if (!paragraphStyle)
        return;
    alignment = resolvedAlignment(*paragraphStyle);
    if (!paragraphStyle->textBlocks.isEmpty()) {
        NSTextTableBlock *first = paragraphStyle->textBlocks.constFirst().get();
        cell = first && first->table ? first : nullptr;
    }
}

CVHTMLRunStyleCache::CVHTMLRunStyleCache(CVHTMLStyleDefaults defaults, qsizetype runs)
    : _defaults(std::move(defaults)), _shift(64 - slotBits(runs)), _slots(size_t(1) << (64 - _shift))
{
}

void CVHTMLRunStyleCache::fill(Slot &slot, const NSAttributeDictionary &attributes)
{
    slot.style = CVHTMLRunStyle(attributes);
    slot.style.character = knownCharacterStyle(slot.style);
    slot.isUsed = true;
}

/// Links differ in their address and seldom in their looks: a few styles serve most dictionaries.
CVHTMLCharacterStyle CVHTMLRunStyleCache::knownCharacterStyle(const CVHTMLRunStyle &style)
{
    for (const KnownCharacterStyle &known : _known) {
        if (known.looks.isLike(style.looks))
            return known.style;
    }
    KnownCharacterStyle &fresh = _known[_nextKnown];
    _nextKnown = (_nextKnown + 1) % _known.size();
    fresh = {style.attributes, style.looks, characterStyle(style.looks, _defaults)};
    return fresh.style;
}
