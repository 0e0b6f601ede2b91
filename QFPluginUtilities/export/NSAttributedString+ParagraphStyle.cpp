#include "export/NSAttributedString+ParagraphStyle.h"

std::optional<NSParagraphStyle> ParagraphStyle::paragraphStyle(const NSAttributedString &text)
{
    const NSAttributeDictionary attributes = text.attributesAtIndex(0);
    const auto *style = attributes.find<NSParagraphStyle>(NSParagraphStyleAttributeName);
    return style ? std::optional(*style) : std::nullopt;
}

bool ParagraphStyle::hasInnerList(const NSAttributedString &text)
{
    const std::optional<NSParagraphStyle> style = paragraphStyle(text);
    return style && style->textLists.size() > 1;
}
