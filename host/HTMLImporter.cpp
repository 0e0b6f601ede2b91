#include "host/HTMLImporter.h"

#include "host/CSSValues.h"
#include "host/HTMLBlanks.h"
#include "host/HTMLContext.h"
#include "host/HTMLElements.h"
#include "host/HTMLEncoding.h"
#include "host/HTMLImages.h"
#include "host/HTMLTokenizer.h"
#include "host/ListMarkers.h"
#include "host/StyledTextBuilder.h"
#include "platform/QFReport.h"
#include "plugin/QFLink.h"

#include <QSet>

#include <algorithm>
#include <initializer_list>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr size_t kMaximumDepth = 200;
// An address is exported again with each run of its link, so it must not be long.
constexpr qsizetype kMaximumAddressLength = 2048;
constexpr qsizetype kMaximumNameLength = 256; // of a place that links lead to

/// Names of the places in the page that links lead to.
QSet<QString> namesOfLinkTargets(QStringView html)
{
    QSet<QString> names;
    for (qsizetype hash = html.indexOf(u'#'); hash >= 0; hash = html.indexOf(u'#', hash + 1)) {
        qsizetype before = hash;
        while (before > 0 &&
               (html[before - 1] == u'"' || html[before - 1] == u'\'' || html[before - 1].isSpace()))
            --before;
        if (before == 0 || html[before - 1] != u'=')
            continue;
        qsizetype end = hash + 1;
        while (end < html.size() && end - hash <= kMaximumNameLength && !html[end].isSpace() &&
               !u"\"'<>#"_s.contains(html[end]))
            ++end;
        if (end > hash + 1)
            names.insert(resolvedReferences(html.mid(hash + 1, end - hash - 1)));
    }
    return names;
}

QString attributeText(const QString &text)
{
    QString escaped = HTMLImporter::textForMarkup(text);
    escaped.replace(u'"', u"&quot;"_s);
    escaped.replace(u'>', u"&gt;"_s);
    return escaped;
}

/// Addresses are exported as they stand, so nothing in them may end the attribute.
QString safeAddress(QStringView address)
{
    QString safe;
    for (const QChar unit : address.trimmed()) {
        if (unit == u'"')
            safe += u"%22";
        else if (unit == u'<')
            safe += u"%3C";
        else if (unit == u'>')
            safe += u"%3E";
        else if (unit == u' ')
            safe += u"%20";
        else if (unit.category() != QChar::Other_Control)
            safe += unit;
    }
    return safe;
}

class Importer
{
public:
    Importer(const QString &html, const QString &baseFolder)
        : _tag(html), _images(baseFolder), _linkTargets(namesOfLinkTargets(html))
    {
    }

    NSAttributedString run();

private:
    struct OpenElement
    {
        HTMLElement element;
        QString name;
        HTMLContext before;
    };
    struct List
    {
        QString format;
        qint64 number = 1;
        qint64 step = 1;
    };

    void startElement();
    void endElement();
    void takeText();
    void open(HTMLElement element);
    void closeTop();
    void closeDownTo(size_t depth);
    [[nodiscard]] bool isInHead() const { return !_open.empty() && _open.back().name == u"head"; }
    void closeImplied(HTMLElement started);
    void closeOpen(std::initializer_list<HTMLElement> wanted, std::initializer_list<HTMLElement> barriers);
    void beginBlock(HTMLElement element);
    void endBlock(HTMLElement element);
    void beginList();
    void beginItem();
    void beginAnchor();
    void insertImage();
    void notePlace();
    void applyContext();

    HTMLTokenizer _tag;
    HTMLImages _images;
    QSet<QString> _linkTargets;
    StyledTextBuilder _builder;
    HTMLContext _context = HTMLContext::ofBody();
    std::vector<OpenElement> _open;
    std::vector<List> _lists;
    qsizetype _elementsTooDeep = 0; ///< start tags beyond the depth, not yet ended
    bool _dropsNewline = false;     ///< right behind the start of preformatted text
};

NSAttributedString Importer::run()
{
    applyContext();
    for (;;) {
        switch (_tag.next()) {
        case HTMLTokenizer::Token::Text:
            takeText();
            break;
        case HTMLTokenizer::Token::StartTag:
            startElement();
            break;
        case HTMLTokenizer::Token::EndTag:
            endElement();
            break;
        case HTMLTokenizer::Token::End:
            closeDownTo(0);
            return _builder.finish();
        }
    }
}

void Importer::applyContext()
{
    _builder.setStyle(_context.style);
    _builder.setAlignment(_context.alignment, _context.direction);
}

void Importer::takeText()
{
    if (isInHead() && !std::all_of(_tag.text().begin(), _tag.text().end(), isHTMLBlank))
        closeTop();
    if (_context.isHidden)
        return;
    QStringView text = _tag.text();
    if (_dropsNewline && text.startsWith(u"\r\n"))
        text = text.mid(2);
    else if (_dropsNewline && text.startsWith(u'\n'))
        text = text.mid(1);
    _dropsNewline = false;
    const bool keeps = _context.keepsWhitespace;
    QString shown = text.toString();
    // The builder drops carriage returns. What they keep apart must not come together as markup.
    if (keeps)
        shown.remove(u'\r');
    if (!shown.isEmpty()) {
        _builder.appendText(HTMLImporter::textForMarkup(shown),
                            keeps ? StyledTextBuilder::Whitespace::Keep
                                  : StyledTextBuilder::Whitespace::Collapse);
    }
}

// ---- Elements

void Importer::startElement()
{
    const HTMLElement element = htmlElement(_tag.name());
    _dropsNewline = false;
    if (element == HTMLElement::Void)
        return;
    closeImplied(element);
    if (!_context.isHidden && !_linkTargets.isEmpty())
        notePlace();
    if (isVoid(element)) {
        if (_context.isHidden)
            return;
        if (element == HTMLElement::Break)
            _builder.appendLineBreak();
        else if (element == HTMLElement::Rule)
            _builder.appendRule();
        else
            insertImage();
        return;
    }
    if (_open.size() >= kMaximumDepth) {
        ++_elementsTooDeep;
        if (isBlock(element))
            _builder.endParagraph();
        return;
    }
    open(element);
}

void Importer::open(HTMLElement element)
{
    _open.push_back({element, _tag.name(), _context});
    _context = _context.inside(element, _tag, _builder.isInCell());
    if (!_context.isHidden) {
        beginBlock(element);
        if (element == HTMLElement::Anchor)
            beginAnchor();
    }
    applyContext();
}

void Importer::endElement()
{
    if (_tag.name() == u"br" && !_context.isHidden)
        return _builder.appendLineBreak();
    const HTMLElement element = htmlElement(_tag.name());
    if (isVoid(element))
        return;
    if (_elementsTooDeep > 0) {
        --_elementsTooDeep;
        if (isBlock(element))
            _builder.endParagraph();
        return;
    }
    for (size_t depth = _open.size(); depth > 0; --depth) {
        const OpenElement &candidate = _open[depth - 1];
        if (candidate.name == _tag.name())
            return closeDownTo(depth - 1);
        // An end tag reaches out of a cell only when it ends a part of the table.
        if (candidate.element == HTMLElement::Cell && element != HTMLElement::Table &&
            element != HTMLElement::Section && element != HTMLElement::Row && element != HTMLElement::Root)
            return;
    }
}

void Importer::closeDownTo(size_t depth)
{
    while (_open.size() > depth)
        closeTop();
}

void Importer::closeTop()
{
    const OpenElement top = _open.back();
    _open.pop_back();
    if (!_context.isHidden)
        endBlock(top.element);
    _context = top.before;
    applyContext();
}

/// Ends the innermost of the wanted elements unless a barrier stands before it.
void Importer::closeOpen(std::initializer_list<HTMLElement> wanted,
                         std::initializer_list<HTMLElement> barriers)
{
    const auto isOneOf = [](std::initializer_list<HTMLElement> set, HTMLElement element) {
        return std::find(set.begin(), set.end(), element) != set.end();
    };
    for (size_t depth = _open.size(); depth > 0; --depth) {
        if (isOneOf(wanted, _open[depth - 1].element))
            return closeDownTo(depth - 1);
        if (isOneOf(barriers, _open[depth - 1].element))
            return;
    }
}

/// End tags that may be left out.
void Importer::closeImplied(HTMLElement started)
{
    using enum HTMLElement;
    if (isInHead() && started != Unknown && started != Skipped)
        closeTop();
    if (isBlock(started))
        closeOpen({Paragraph}, {Block, Center, Quote, List, Item, Definition, Cell, Table, Caption});
    if (started == Item)
        closeOpen({Item}, {List, Cell, Table});
    else if (started == Term || started == Definition)
        closeOpen({Term, Definition}, {DefinitionList, Cell, Table});
    else if (started == Cell)
        closeOpen({Cell, Caption}, {Row, Table});
    else if (started == Row)
        closeOpen({Row, Caption}, {Section, Table});
    else if (started == Section)
        closeOpen({Section, Row, Caption}, {Table});
    else if (started == Anchor)
        closeOpen({Anchor}, {Block, Item, Cell, Table});
}

// ---- Blocks

void Importer::beginBlock(HTMLElement element)
{
    switch (element) {
    case HTMLElement::Block:
    case HTMLElement::Center:
    case HTMLElement::Term:
    case HTMLElement::Definition:
    case HTMLElement::Caption:
        return _builder.endParagraph();
    case HTMLElement::Paragraph:
    case HTMLElement::Heading:
    case HTMLElement::Quote:
    case HTMLElement::DefinitionList:
        return _builder.separate();
    case HTMLElement::Preformatted:
        _dropsNewline = true;
        return _builder.separate();
    case HTMLElement::List:
        return beginList();
    case HTMLElement::Item:
        return beginItem();
    case HTMLElement::Table:
        return _builder.beginTable(tableLook(_tag));
    case HTMLElement::Row:
        return _builder.beginRow();
    case HTMLElement::Cell:
        return _builder.beginCell(cellLook(_tag));
    default:
        return;
    }
}

void Importer::endBlock(HTMLElement element)
{
    switch (element) {
    case HTMLElement::Block:
    case HTMLElement::Center:
    case HTMLElement::Term:
    case HTMLElement::Definition:
    case HTMLElement::Caption:
        return _builder.endParagraph();
    case HTMLElement::Paragraph:
    case HTMLElement::Heading:
    case HTMLElement::Quote:
    case HTMLElement::DefinitionList:
    case HTMLElement::Preformatted:
        return _builder.separate();
    case HTMLElement::List:
        _lists.pop_back();
        return _builder.endList();
    case HTMLElement::Item:
        return _builder.endItem();
    case HTMLElement::Table:
        return _builder.endTable();
    case HTMLElement::Row:
        return _builder.endRow();
    case HTMLElement::Cell:
        return _builder.endCell();
    default:
        return;
    }
}

void Importer::beginList()
{
    const bool ordered = _tag.name() == u"ol";
    QString format = ListMarkers::formatForType(_tag.attribute(u"type"));
    CSSValues::forEachDeclaration(_tag.attribute(u"style"), [&](QStringView property, QStringView value) {
        if (property == u"list-style-type" || property == u"list-style")
            format = ListMarkers::formatForType(value);
    });
    if (format.isNull())
        format = ListMarkers::standardFormat(ordered, static_cast<qsizetype>(_lists.size()) + 1);
    bool hasStart = false;
    const qint64 start = _tag.attribute(u"start").toInt(&hasStart);
    _lists.push_back({format, hasStart ? start : 1, 1});
    _builder.beginList(format);
}

void Importer::beginItem()
{
    if (_lists.empty())
        return _builder.endParagraph();
    List &list = _lists.back();
    bool hasValue = false;
    const qint64 value = _tag.attribute(u"value").toInt(&hasValue);
    if (hasValue)
        list.number = value;
    _builder.beginItem(ListMarkers::markerText(list.format, list.number));
    list.number += list.step;
}

// ---- Inline

/// A link becomes its address, or a link object when it carries more than that.
void Importer::beginAnchor()
{
    const QString href = _tag.attribute(u"href");
    if (href.isNull())
        return;
    if (href.size() > kMaximumAddressLength)
        return reportLoss(u"link"_s, u"left out: its address is too long"_s, href.left(100));
    const QString title = _tag.attribute(u"title");
    const QString target = _tag.attribute(u"target");
    const QString rel = _tag.attribute(u"rel");
    if (title.isEmpty() && target.isEmpty() && rel.isEmpty()) {
        _context.style.link = safeAddress(href);
        return;
    }
    const auto link = std::make_shared<QFLink>(safeAddress(href), false);
    if (!title.isEmpty())
        link->setTitle(title.left(kMaximumAddressLength));
    if (!target.isEmpty())
        link->setTarget(safeAddress(target.left(kMaximumNameLength)));
    if (!rel.isEmpty())
        link->setRel(attributeText(rel.left(kMaximumNameLength)));
    _context.style.link = QVariant::fromValue(link);
}

/// A picture that cannot be attached leaves its alternative text, as a link when it lies on another server.
void Importer::insertImage()
{
    const QString source = _tag.attribute(u"src").trimmed();
    const QString alternative = _tag.attribute(u"alt");
    HTMLImages::Size size{CSSValues::length(_tag.attribute(u"width")),
                          CSSValues::length(_tag.attribute(u"height"))};
    CSSValues::forEachDeclaration(_tag.attribute(u"style"), [&](QStringView property, QStringView value) {
        if (property == u"width")
            size.width = CSSValues::length(value);
        else if (property == u"height")
            size.height = CSSValues::length(value);
    });
    const QString alt = alternative.isNull() ? QString() : attributeText(alternative);
    if (const auto attachment = _images.attachment(source, alt, size, !_lists.empty()))
        return _builder.appendAttachment(attachment);

    reportLoss(u"image"_s, u"left out: not in the document's folder, or cannot be read"_s, source.left(1000));
    CharacterStyle style = _context.style;
    const bool isOnServer =
        source.startsWith(u"http://") || source.startsWith(u"https://") || source.startsWith(u"//");
    if (isOnServer && source.size() <= kMaximumAddressLength && !style.link.isValid())
        style.link = safeAddress(source);
    _builder.setStyle(style);
    if (!alternative.isEmpty())
        _builder.appendText(HTMLImporter::textForMarkup(alternative),
                            StyledTextBuilder::Whitespace::Collapse);
    _builder.setStyle(_context.style);
}

/// A place that links in the page lead to becomes an empty raw element.
void Importer::notePlace()
{
    QString name = _tag.attribute(u"id");
    if (name.isNull() && htmlElement(_tag.name()) == HTMLElement::Anchor)
        name = _tag.attribute(u"name");
    if (!name.isEmpty() && _linkTargets.remove(name))
        _builder.prepareRawMarkup(u"<a id=\""_s + attributeText(name) + u"\"></a>"_s);
}

} // namespace

QString HTMLImporter::textForMarkup(const QString &text)
{
    const auto startsMarkup = [](QChar next) { return next.isLetter() || u"/!?#"_s.contains(next); };
    QString safe;
    qsizetype copied = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar unit = text.at(i);
        if ((unit != u'<' && unit != u'&') || (i + 1 < text.size() && !startsMarkup(text.at(i + 1))))
            continue;
        safe += QStringView(text).mid(copied, i - copied);
        safe += unit == u'<' ? u"&lt;" : u"&amp;";
        copied = i + 1;
    }
    return copied == 0 ? text : safe.append(QStringView(text).mid(copied));
}

NSAttributedString HTMLImporter::read(const QByteArray &html, const QString &baseFolder)
{
    return readText(decodedHTML(html), baseFolder);
}

NSAttributedString HTMLImporter::readText(const QString &html, const QString &baseFolder)
{
    return Importer(html, baseFolder).run();
}
