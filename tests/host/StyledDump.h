#pragma once

#include "media/QFTextAttachment.h"
#include "platform/NSAttributedString.h"
#include "platform/NSFont.h"
#include "platform/NSParagraphStyle.h"
#include "platform/NSTextAttachment.h"
#include "plugin/QFLink.h"

#include <QStringList>

using namespace Qt::StringLiterals;

// Styled text on one line: "[b 24 center]Title↵[]\n". Brackets hold what differs from left-aligned body text
// in the user's font; newlines show as ↵ and tabs as →.

inline QStringList dumpedFont(const NSFont &font)
{
    const NSFont body = NSFont::userFontOfSize(0);
    QStringList words;
    if (font.familyName != body.familyName)
        words += font.fontName;
    if (font.isBold())
        words += u"b"_s;
    if (font.isItalic())
        words += u"i"_s;
    if (font.pointSize != body.pointSize)
        words += QString::number(font.pointSize);
    return words;
}

inline QStringList dumpedParagraph(const NSParagraphStyle &style)
{
    static const QStringList alignments{u"left"_s, u"right"_s, u"center"_s, u"justified"_s, u"natural"_s};
    QStringList words;
    if (style.alignment != NSTextAlignment::Left)
        words += alignments.value(static_cast<int>(style.alignment));
    QString lists;
    for (const NSTextList &list : style.textLists)
        lists += list.markerFormat;
    if (!lists.isEmpty())
        words += lists;
    for (const NSTextTableBlockPtr &cell : style.textBlocks) {
        words += u"%1,%2:%3x%4/%5"_s.arg(cell->startingRow)
                     .arg(cell->startingColumn)
                     .arg(cell->rowSpan)
                     .arg(cell->columnSpan)
                     .arg(cell->table->numberOfColumns);
    }
    return words;
}

inline QString dumpedLink(const QVariant &link)
{
    if (link.metaType() != QMetaType::fromType<QFLinkPtr>())
        return u"->"_s + link.toString();
    const QFLinkPtr object = link.value<QFLinkPtr>();
    return u"=>"_s + QStringList{object->href(), object->target(), object->title(), object->rel()}.join(u'|');
}

inline QString dumpedAttachment(const NSTextAttachmentPtr &attachment)
{
    QString words = attachment->fileWrapper()->preferredFilename();
    if (const auto image = std::dynamic_pointer_cast<QFTextAttachment>(attachment)) {
        for (const QString &key : {u"alttag"_s, u"width"_s, u"filename"_s})
            words += u'|' + image->mediaAttributes().value(key).toString();
    }
    return words;
}

inline QString dumped(const NSAttributedString &text)
{
    QString dump;
    for (qsizetype run = 0; run < text.runs().size(); ++run) {
        const NSRange range = text.rangeOfRun(run);
        const NSAttributeDictionary &attributes = text.runs().at(run).attributes;
        QStringList words;
        if (const auto *font = attributes.find<NSFont>(NSFontAttributeName))
            words += dumpedFont(*font);
        if (attributes.contains(NSUnderlineStyleAttributeName))
            words += u"u"_s;
        if (const auto *color = attributes.find<NSColor>(NSForegroundColorAttributeName))
            words += u"#%1/%2/%3"_s.arg(color->red * 255).arg(color->green * 255).arg(color->blue * 255);
        if (const auto *style = attributes.find<NSParagraphStyle>(NSParagraphStyleAttributeName))
            words += dumpedParagraph(*style);
        if (const QVariant *link = attributes.find(NSLinkAttributeName))
            words += dumpedLink(*link);
        if (const auto *attachment = attributes.find<NSTextAttachmentPtr>(NSAttachmentAttributeName))
            words += dumpedAttachment(*attachment);
        if (attributes.contains(kQFTextViewIgnoreFormattingAttributeName))
            words += u"raw"_s;
        if (const auto *directive = attributes.find<QVariantMap>(kQFTextViewMarkupDirectivesAttributeName))
            words += u'<' + directive->value(u"tag"_s).toString() + u'>';
        dump += u'[' + words.join(u' ') + u']' + text.string().mid(range.location, range.length);
    }
    return dump.replace(u'\n', u'\u21B5').replace(u'\t', u'\u2192');
}
