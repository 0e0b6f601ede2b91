// Makes styled texts of arbitrary bytes and exports them. The HTML depends on the text alone: not on whether
// it is exported again, nor on how the text was put together.

#include "export/CVHTML.h"
#include "fuzz/Require.h"
#include "media/QFTextAttachment.h"
#include "platform/NSFont.h"
#include "plugin/QFLink.h"
#include "text/QFStrings.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <array>

using namespace Qt::StringLiterals;

namespace {

/// Styled text as the bytes say. Tables, cells, links and attachments come from small stocks, so that the
/// same one is met again.
class TextMaker
{
public:
    TextMaker(const uint8_t *data, size_t size) : _bytes(data, size)
    {
        for (quint64 columns = 0; columns < 3; ++columns) {
            _tables.push_back(std::make_shared<NSTextTable>());
            _tables.back()->numberOfColumns = columns;
            _tables.back()->layoutAlgorithm = NSTextTableLayoutAlgorithm(_bytes.ConsumeIntegralInRange(0, 2));
        }
        for (size_t i = 0; i < 4; ++i) {
            _cells.push_back(cell());
            _links.push_back(link());
            _attachments.push_back(attachment());
        }
    }

    [[nodiscard]] bool flag() { return _bytes.ConsumeBool(); }

    /// The text, and the same of single letters with attributes that are equal to their neighbours', not
    /// shared.
    std::pair<NSAttributedString, NSAttributedString> texts()
    {
        NSMutableAttributedString whole;
        NSMutableAttributedString letters;
        while (_bytes.remaining_bytes() > 0 && whole.length() < 2000) {
            const std::vector<NSAttributeDictionary::Entry> attributes = entries();
            const QString units = string();
            whole.append(units, NSAttributeDictionary(attributes));
            for (const QChar unit : units)
                letters.append(unit, NSAttributeDictionary(attributes));
        }
        return {whole.copy(), letters.copy()};
    }

private:
    QString string()
    {
        static constexpr auto alphabet =
            std::to_array<char16_t>({u'a', u'\t', u'\n', u'\r', u' ', u'<', u'?', u'&', u'"', u'\'', u'%',
                                     u'\u00E9', u'\u20AC', u'\uFFFC', u'\xD83D', u'\xDE00', u'\0'});
        QString units;
        for (int left = _bytes.ConsumeIntegralInRange(0, 40); left > 0; --left)
            units += QChar(flag() ? _bytes.PickValueInArray(alphabet) : _bytes.ConsumeIntegral<char16_t>());
        const int words = _bytes.ConsumeIntegralInRange(0, 7);
        return words == 0 ? u"\t-\t"_s + units : words == 1 ? u"<?php\r\n"_s + units : units;
    }
    float number() { return _bytes.PickValueInArray({0.0F, 1.0F, 0.5F, 12.0F, 12.5F, -3.0F, 1e30F, -1e30F}); }
    NSColor colour()
    {
        return {number(), number(), number(), number(),
                NSColorSpaceName(_bytes.ConsumeIntegralInRange(0, 4))};
    }

    NSTextTableBlockPtr cell()
    {
        auto made = std::make_shared<NSTextTableBlock>();
        made->table = flag() ? _bytes.PickValueInArray({_tables[0], _tables[1], _tables[2]}) : _tables[2];
        made->startingColumn = _bytes.ConsumeIntegralInRange(-1, 3);
        made->columnSpan = _bytes.ConsumeIntegralInRange(-1, 3);
        made->verticalAlignment = NSTextBlockVerticalAlignment(_bytes.ConsumeIntegralInRange(-1, 4));
        made->width = _bytes.ConsumeFloatingPoint<double>();
        made->setWidthForLayer(NSTextBlockLayer::Padding, _bytes.ConsumeFloatingPoint<double>());
        if (flag())
            made->backgroundColor = colour();
        return made;
    }
    QVariant link()
    {
        auto made = std::make_shared<QFLink>(string(), flag());
        made->setAsset(_bytes.ConsumeIntegralInRange(0, 2));
        made->setTitle(string());
        return flag() ? QVariant(string()) : QVariant::fromValue(made);
    }
    QVariant attachment()
    {
        const QVariantMap media{{u"filename"_s, string()}, {u"width"_s, number()}};
        return QVariant::fromValue<NSTextAttachmentPtr>(std::make_shared<QFTextAttachment>(nullptr, media));
    }
    QVariant font()
    {
        NSFont made =
            NSFont::fontWithName(_bytes.PickValueInArray({u"Helvetica"_s, u"Georgia-Bold"_s, u"Courier"_s,
                                                          u"Futura-Bold"_s, u"a\n\">"_s, u""_s}),
                                 number());
        made.traits = _bytes.ConsumeIntegralInRange(0U, 3U);
        return QVariant::fromValue(made);
    }
    QVariant paragraphStyle()
    {
        NSParagraphStyle style;
        style.alignment = NSTextAlignment(_bytes.ConsumeIntegralInRange(-1, 5));
        style.baseWritingDirection = NSWritingDirection(_bytes.ConsumeIntegralInRange(-1, 1));
        for (int left = _bytes.ConsumeIntegralInRange(-6, 6); left > 0; --left)
            style.textLists.append({_bytes.PickValueInArray({u"{disc}"_s, u"{decimal}"_s, u"odd"_s})});
        if (flag())
            style.textBlocks = {_cells[_bytes.ConsumeIntegralInRange<size_t>(0, 3)]};
        return QVariant::fromValue(style);
    }
    QVariant directive()
    {
        QVariantMap made;
        for (const QString &key : {u"name"_s, u"tag"_s, u"ptag"_s, u"closetag"_s})
            if (flag())
                made.insert(key, _bytes.PickValueInArray({u"h2"_s, u"y"_s, u""_s}));
        if (flag())
            made.insert(u"opentag"_s, u"<b\n>"_s); // not in other tags: what closes at the very end stays
        return made;
    }

    QVariant value(NSAttributeKey key)
    {
        if (key == NSFontAttributeName)
            return font();
        if (key == NSForegroundColorAttributeName)
            return QVariant::fromValue(colour());
        if (key == NSParagraphStyleAttributeName)
            return paragraphStyle();
        if (key == NSLinkAttributeName)
            return _links[_bytes.ConsumeIntegralInRange<size_t>(0, 3)];
        if (key == NSAttachmentAttributeName)
            return _attachments[_bytes.ConsumeIntegralInRange<size_t>(0, 3)];
        return key == kQFTextViewMarkupDirectivesAttributeName ? directive() : QVariant(true);
    }
    /// Values mostly of their keys' types, some of other keys' types.
    std::vector<NSAttributeDictionary::Entry> entries()
    {
        static constexpr auto keys = std::to_array<NSAttributeKey>(
            {NSFontAttributeName, NSForegroundColorAttributeName, NSUnderlineStyleAttributeName,
             NSParagraphStyleAttributeName, NSLinkAttributeName, NSAttachmentAttributeName,
             kQFTextViewMarkupDirectivesAttributeName, kQFTextViewIgnoreFormattingAttributeName});
        std::vector<NSAttributeDictionary::Entry> made;
        for (int left = _bytes.ConsumeIntegralInRange(0, 4); left > 0; --left) {
            const NSAttributeKey key = _bytes.PickValueInArray(keys);
            const bool isOdd = _bytes.ConsumeIntegralInRange(0, 15) == 0;
            made.emplace_back(key, value(isOdd ? _bytes.PickValueInArray(keys) : key));
        }
        return made;
    }

    FuzzedDataProvider _bytes;
    std::vector<NSTextTablePtr> _tables;
    std::vector<NSTextTableBlockPtr> _cells;
    std::vector<QVariant> _links;
    std::vector<QVariant> _attachments;
};

QString exported(const NSAttributedString &text, bool unsafeFonts)
{
    CVHTML exporter;
    exporter.setAllowWebUnsafeFonts(unsafeFonts);
    return exporter.exportAttributedString(text, u"/nowhere"_s, u"p"_s);
}

/// What text without attributes becomes, pass by pass.
QString plainlyExported(const QString &text)
{
    QString html = QFStringUtilities::convertToEntities(text);
    html.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n');
    return html.replace(u"\n"_s, u"<br />"_s);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    TextMaker maker(data, size);
    const bool unsafeFonts = maker.flag();
    const auto [whole, letters] = maker.texts();
    require(letters == whole);
    const QString html = exported(whole, unsafeFonts);
    require(exported(whole, unsafeFonts) == html);
    require(exported(letters, unsafeFonts) == html);
    require(!html.contains(u'\n') && !html.contains(u'\r'));
    require(exported(NSAttributedString(whole.string()), unsafeFonts) == plainlyExported(whole.string()));
    return 0;
}
