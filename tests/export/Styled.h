#pragma once

#include "platform/NSAttributedString.h"
#include "platform/NSColor.h"
#include "platform/NSFont.h"
#include "platform/NSParagraphStyle.h"
#include "plugin/QFLink.h"

#include <initializer_list>
#include <vector>

// Short words for styled text in tests: styled({{u"plain ", {}}, {u"bold", {font(u"Helvetica-Bold", 12)}}}).

struct StyledPiece
{
    const char16_t *text;
    std::vector<NSAttributeDictionary::Entry> attributes;
};

inline NSAttributedString styled(std::initializer_list<StyledPiece> pieces)
{
    NSMutableAttributedString text;
    for (const StyledPiece &piece : pieces)
        text.append(QString::fromUtf16(piece.text), NSAttributeDictionary(piece.attributes));
    return text.copy();
}

inline NSAttributeDictionary::Entry font(const char16_t *name, float size)
{
    return {NSFontAttributeName, QVariant::fromValue(NSFont::fontWithName(QString::fromUtf16(name), size))};
}

inline NSAttributeDictionary::Entry colour(float red, float green, float blue)
{
    return {NSForegroundColorAttributeName, QVariant::fromValue(NSColor::calibratedRGB(red, green, blue))};
}

inline NSAttributeDictionary::Entry paragraph(const NSParagraphStyle &style)
{
    return {NSParagraphStyleAttributeName, QVariant::fromValue(style)};
}

inline NSAttributeDictionary::Entry aligned(NSTextAlignment alignment,
                                            NSWritingDirection direction = NSWritingDirection::Natural)
{
    return paragraph({alignment, direction, {}, {}});
}

/// In lists with these markers, outermost first: listed({u"disc", u"circle"}).
inline NSAttributeDictionary::Entry listed(std::initializer_list<const char16_t *> markers)
{
    NSParagraphStyle style;
    for (const char16_t *marker : markers)
        style.textLists.append({u'{' + QString::fromUtf16(marker) + u'}'});
    return paragraph(style);
}

inline NSAttributeDictionary::Entry inCell(const NSTextTableBlockPtr &cell)
{
    NSParagraphStyle style;
    style.textBlocks.append(cell);
    return paragraph(style);
}

inline NSAttributeDictionary::Entry linked(const char16_t *address)
{
    return {NSLinkAttributeName, QString::fromUtf16(address)};
}

inline NSAttributeDictionary::Entry linked(const QFLinkPtr &link)
{
    return {NSLinkAttributeName, QVariant::fromValue(link)};
}

inline NSAttributeDictionary::Entry directed(const QVariantMap &directive)
{
    return {kQFTextViewMarkupDirectivesAttributeName, directive};
}

inline NSAttributeDictionary::Entry raw()
{
    return {kQFTextViewIgnoreFormattingAttributeName, true};
}
