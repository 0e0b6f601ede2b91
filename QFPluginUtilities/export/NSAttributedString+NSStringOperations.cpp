#include "export/NSAttributedString+NSStringOperations.h"

#include "platform/NSParagraphStyle.h"

namespace {

using NSStringOperations::AmendedDictionaries;
using NSStringOperations::RemovedTextLists;

NSAttributeDictionary amendedDictionary(const NSAttributeDictionary &attributes, RemovedTextLists removed)
{
    const auto *found = attributes.find<NSParagraphStyle>(NSParagraphStyleAttributeName);
    if (!found || found->textLists.isEmpty())
        return attributes;
    NSParagraphStyle style = *found;
    if (removed == RemovedTextLists::Outermost && style.textLists.size() > 1)
        style.textLists.removeFirst();
    else
        style.textLists.clear();
    return attributes.withValue(NSParagraphStyleAttributeName, QVariant::fromValue(style));
}

/// The amended form from the memory. The memory keeps the dictionary itself too: its address stays taken.
NSAttributeDictionary remembered(const NSAttributeDictionary &attributes, RemovedTextLists removed,
                                 AmendedDictionaries &amended)
{
    const auto found = amended.constFind(attributes.address());
    if (found != amended.cend())
        return found->second;
    const NSAttributeDictionary fresh = amendedDictionary(attributes, removed);
    constexpr qsizetype maximum = 4096;
    if (amended.size() >= maximum)
        amended.clear();
    amended.insert(attributes.address(), {attributes, fresh});
    return fresh;
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
    AmendedDictionaries amended;
    return attributedStringWithoutTextLists(text, RemovedTextLists::Outermost, amended);
}

NSAttributedString attributedStringWithoutTextLists(const NSAttributedString &text, RemovedTextLists removed,
                                                    AmendedDictionaries &amended)
{
    if (text.runs().size() == 1)
        return NSAttributedString(text.string(),
                                  remembered(text.runs().constFirst().attributes, removed, amended));
    NSMutableAttributedString result;
    result.reserve(text.length(), text.runs().size());
    for (qsizetype run = 0; run < text.runs().size(); ++run) {
        const NSRange range = text.rangeOfRun(run);
        result.append(text.string().mid(range.location, range.length),
                      remembered(text.runs().at(run).attributes, removed, amended));
    }
    return result;
}

} // namespace NSStringOperations
