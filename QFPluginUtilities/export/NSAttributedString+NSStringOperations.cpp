#include "export/NSAttributedString+NSStringOperations.h"

#include "platform/NSParagraphStyle.h"

namespace {

NSAttributeDictionary withoutOutermostTextList(const NSAttributeDictionary &attributes)
{
    const auto *found = attributes.find<NSParagraphStyle>(NSParagraphStyleAttributeName);
    if (!found || found->textLists.isEmpty())
        return attributes;
    NSParagraphStyle style = *found;
    style.textLists.removeFirst();
    return attributes.withValue(NSParagraphStyleAttributeName, QVariant::fromValue(style));
}

} // namespace

namespace NSStringOperations {

QList<NSRange> rangesSeparatedByString(QStringView text, QStringView separator)
{
    QList<NSRange> ranges;
    qsizetype from = 0;
    while (from < text.size()) {
        const qsizetype found = separator.isEmpty() ? -1 : text.indexOf(separator, from);
        const qsizetype end = found < 0 ? text.size() : found;
        if (end > from)
            ranges.append({from, end - from});
        from = end + separator.size();
        if (found < 0)
            break;
    }
    return ranges;
}

QList<NSAttributedString> componentsSeparatedByString(const NSAttributedString &text,
                                                      const QString &separator)
{
    QList<NSAttributedString> pieces;
    for (const NSRange range : rangesSeparatedByString(text.string(), separator))
        pieces.append(text.attributedSubstringFromRange(range));
    return pieces;
}

NSAttributedString attributedStringWithoutOutermostTextList(const NSAttributedString &text)
{
    NSMutableAttributedString result;
    result.reserve(text.length(), text.runs().size());
    for (qsizetype run = 0; run < text.runs().size(); ++run) {
        const NSRange range = text.rangeOfRun(run);
        result.append(text.string().mid(range.location, range.length),
                      withoutOutermostTextList(text.runs().at(run).attributes));
    }
    return result.copy();
}

} // namespace NSStringOperations
