#include "host/StyledTextPool.h"

#include "host/WebFonts.h"
#include "plugin/QFLink.h"

#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace {

constexpr int kRawStyle = -1;

size_t hashOf(const CharacterStyle &style)
{
    const QFLinkPtr link = style.link.value<QFLinkPtr>();
    const NSColor color = style.color.value_or(NSColor{-1, -1, -1});
    return qHashMulti(0, style.family, style.size, style.bold, style.italic, style.underlined, color.red,
                      color.green, color.blue, color.alpha, style.directive, link.get(),
                      link ? QString() : style.link.toString());
}

size_t hashOf(const NSParagraphStyle &paragraph)
{
    size_t hash = qHashMulti(0, static_cast<int>(paragraph.alignment),
                             static_cast<int>(paragraph.baseWritingDirection), paragraph.textLists.size());
    for (const NSTextList &list : paragraph.textLists)
        hash = qHashMulti(hash, list.markerFormat);
    for (const NSTextTableBlockPtr &cell : paragraph.textBlocks)
        hash = qHashMulti(hash, cell.get());
    return hash;
}

NSAttributeDictionary attributesOf(const CharacterStyle &style)
{
    std::vector<NSAttributeDictionary::Entry> entries;
    entries.emplace_back(NSFontAttributeName, QVariant::fromValue(WebFonts::font(style.family, style.size,
                                                                                 style.bold, style.italic)));
    if (style.color)
        entries.emplace_back(NSForegroundColorAttributeName, QVariant::fromValue(*style.color));
    if (style.underlined)
        entries.emplace_back(NSUnderlineStyleAttributeName, 1);
    if (style.link.isValid())
        entries.emplace_back(NSLinkAttributeName, style.link);
    if (!style.directive.isNull()) {
        entries.emplace_back(kQFTextViewMarkupDirectivesAttributeName,
                             QVariantMap{{u"name"_s, style.directive}, {u"tag"_s, style.directive}});
    }
    return NSAttributeDictionary(std::move(entries));
}

} // namespace

StyledTextPool::StyleID StyledTextPool::style(const CharacterStyle &style)
{
    QList<StyleID> &candidates = _styleIDs[hashOf(style)];
    for (const StyleID id : candidates) {
        if (_styles.at(id).style == style)
            return id;
    }
    _styles.append({style, attributesOf(style)});
    candidates.append(static_cast<StyleID>(_styles.size() - 1));
    return candidates.constLast();
}

StyledTextPool::StyleID StyledTextPool::styleWithoutLink(StyleID id)
{
    if (!styleOf(id).link.isValid())
        return id;
    CharacterStyle plain = styleOf(id);
    plain.link.clear();
    return style(plain);
}

StyledTextPool::ParagraphID StyledTextPool::paragraph(const NSParagraphStyle &paragraph)
{
    QList<ParagraphID> &candidates = _paragraphIDs[hashOf(paragraph)];
    for (const ParagraphID id : candidates) {
        if (_paragraphs.at(id).value<NSParagraphStyle>() == paragraph)
            return id;
    }
    _paragraphs.append(QVariant::fromValue(paragraph));
    candidates.append(static_cast<ParagraphID>(_paragraphs.size() - 1));
    return candidates.constLast();
}

NSAttributeDictionary StyledTextPool::dictionary(StyleID style, ParagraphID paragraph)
{
    NSAttributeDictionary &made = _dictionaries[{style, paragraph}];
    if (made.isEmpty())
        made =
            _styles.at(style).attributes.withValue(NSParagraphStyleAttributeName, _paragraphs.at(paragraph));
    return made;
}

NSAttributeDictionary StyledTextPool::rawDictionary(ParagraphID paragraph)
{
    NSAttributeDictionary &made = _dictionaries[{kRawStyle, paragraph}];
    if (made.isEmpty())
        made = {{NSParagraphStyleAttributeName, _paragraphs.at(paragraph)},
                {kQFTextViewIgnoreFormattingAttributeName, true}};
    return made;
}
