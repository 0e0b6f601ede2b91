#include "export/CVHTMLWalk.h"

#include "export/CVHTMLAttachment.h"
#include "export/CVHTMLTableMarkup.h"
#include "export/NSAttributedString+ParagraphStyle.h"
#include "export/QFMarkupDirective.h"
#include "platform/Formatting.h"
#include "platform/NSFont.h"
#include "platform/QFHost.h"
#include "platform/Values.h"

#include <QStringBuilder>

using namespace Qt::StringLiterals;

namespace {

CVHTMLStyleDefaults styleDefaults(const CVHTML &owner)
{
    const NSFont font = NSFont::userFontOfSize(0);
    return {font.familyName, font.pointSize, owner.allowWebUnsafeFonts()};
}

QString placeholder(const QString &contentTag)
{
    return u'%' % printed(contentTag) % u'%';
}

/// Where a list item's content begins: behind the marker, which stands between two tabs. -1 without them.
qsizetype contentStart(QStringView piece)
{
    const qsizetype first = piece.indexOf(u'\t');
    const qsizetype second = first < 0 ? -1 : piece.indexOf(u'\t', first + 1);
    return second < 0 ? -1 : second + 1;
}

} // namespace

CVHTMLExport::CVHTMLExport(CVHTML &owner, CVHTMLRequest request)
    : _owner(owner), _request(std::move(request)), _styles(styleDefaults(owner)),
      _placeholderOnly(_request.HTMLTemplate == placeholder(_request.contentTag))
{
    QObject *page = _request.fromPage;
    if (!page)
        return;
    _pageID = QFHost::uniqueID(page);
    _imageFormat = CVHTMLMedia::imageFormatAsQTFormat(QFHost::imageFormat(_request.fromPage));
    // A page without settings gives 1023, unlike no page at all, which gives 768: meant so.
    _imageQuality = CVHTMLMedia::imageQualityAsQTQuality(QFHost::imageQuality(_request.fromPage));
}

QString CVHTMLExport::exported(const NSAttributedString &text)
{
    return filledTemplate(text.isEmpty() ? u""_s : CVHTMLWalk(*this, text).html());
}

QString CVHTMLExport::filledTemplate(const QString &content) const
{
    if (_placeholderOnly)
        return content;
    QString filled = _request.HTMLTemplate.isNull() ? u""_s : _request.HTMLTemplate;
    // Literal and in one pass: a placeholder inside the content is not filled again.
    return filled.replace(placeholder(_request.contentTag), content);
}

NSAttributedString CVHTMLExport::itemContent(const NSAttributedString &item)
{
    using NSStringOperations::RemovedTextLists;
    if (_depth + 1 < deepestList)
        return NSStringOperations::attributedStringWithoutTextLists(item, RemovedTextLists::Outermost,
                                                                    _amended);
    NSStringOperations::AmendedDictionaries withoutLists;
    return NSStringOperations::attributedStringWithoutTextLists(item, RemovedTextLists::All, withoutLists);
}

QString CVHTMLExport::exportedItem(const NSAttributedString &item)
{
    ++_depth;
    QString html = exported(item);
    --_depth;
    return html;
}

CVHTMLWalk::CVHTMLWalk(CVHTMLExport &job, const NSAttributedString &text)
    : _job(job), _text(text), _output(text.length() + 16 * text.runs().size())
{
}

QString CVHTMLWalk::html()
{
    for (qsizetype run = 0; run < _text.runs().size();)
        run = exportRun(run);

    // The newline rule covers the runs only: what closes behind them keeps its newlines.
    if (_table)
        _output.appendLiteral(u"</table>");
    if (_directiveOpen)
        _output.appendVerbatim(QFMarkupDirective::closeTag(_job._owner.currentMarkupAttribute()));
    if (_paragraphOpen)
        _output.appendLiteral(u"</p>");
    return _output.take();
}

/// Exports the run with this number, or the whole list that begins with it; answers the number of the next
/// run.
qsizetype CVHTMLWalk::exportRun(qsizetype run)
{
    const CVHTMLRunStyle &style = _job._styles.styleFor(_text.runs().at(run).attributes);
    const NSRange range = _text.rangeOfRun(run);
    if (style.directive) {
        exportDirectiveRun(style, range);
        return run + 1;
    }
    closeDirective();
    if (style.isRaw) {
        appendUnbrokenText(range);
        return run + 1;
    }
    if (style.isInList())
        return exportList(run);
    exportOrdinaryRun(style, range);
    return run + 1;
}

/// A run in a markup directive: no styling, paragraph, list or table, and an open table or paragraph stays
/// open.
void CVHTMLWalk::exportDirectiveRun(const CVHTMLRunStyle &style, NSRange range)
{
    openDirective(*style.directive);
    if (style.link)
        appendLink(*style.link, range);
    if (style.attachment)
        appendAttachment(*style.attachment, range);
    else
        appendUnbrokenText(range);
    if (style.link)
        _output.appendLiteral(u"</a>");
}

void CVHTMLWalk::exportOrdinaryRun(const CVHTMLRunStyle &style, NSRange range)
{
    if (style.cell)
        openTableAndCell(*style.cell);
    else if (_table)
        closeTable();
    if (style.alignment && *style.alignment != _alignment)
        alignParagraph(*style.alignment);

    if (!style.character.opening.isEmpty())
        _output.appendVerbatim(style.character.opening);
    if (style.link)
        appendLink(*style.link, range);
    if (style.attachment) {
        if (style.alignment && *style.alignment != _alignment)
            alignAttachmentParagraph(*style.alignment);
        appendAttachment(*style.attachment, range);
    } else {
        _output.appendText(textIn(range));
    }
    if (style.link)
        _output.appendLiteral(u"</a>");
    if (!style.character.closing.isEmpty())
        _output.appendVerbatim(style.character.closing);

    if (style.cell)
        closeCell(*style.cell);
}

/// Makes a directive the current one. An open one of the same name goes on; its close tag will be the new
/// one's.
void CVHTMLWalk::openDirective(const QVariantMap &directive)
{
    const QVariantMap current = _job._owner.currentMarkupAttribute();
    if (_directiveOpen && !sameString(QFMarkupDirective::name(current), QFMarkupDirective::name(directive)))
        closeDirective();
    _job._owner.setCurrentMarkupAttribute(directive);
    if (_directiveOpen)
        return;
    _output.appendMarkup(QFMarkupDirective::openTag(directive));
    _directiveOpen = true;
}

void CVHTMLWalk::closeDirective()
{
    if (!_directiveOpen)
        return;
    _output.appendMarkup(QFMarkupDirective::closeTag(_job._owner.currentMarkupAttribute()));
    _directiveOpen = false;
}

void CVHTMLWalk::openTableAndCell(const NSTextTableBlock &cell)
{
    if (cell.table != _table) {
        if (_table)
            _output.appendLiteral(u"</table>");
        _output.appendVerbatim(tableStartTag(cell));
        _table = cell.table;
    }
    if (cell.startingColumn == 0 && !_rowOpen) {
        _output.appendVerbatim(rowStartTag(cell));
        _rowOpen = true;
    }
    if (&cell != _previousCell) {
        _output.appendVerbatim(cellStartTag(cell));
        _previousCell = &cell;
    }
}

/// Closes the table and forgets its last cell. An open row stays open, so that the first row of the next
/// table goes without a start tag: meant so.
void CVHTMLWalk::closeTable()
{
    _output.appendLiteral(u"</table>");
    _table.reset();
    _previousCell = nullptr;
}

/// Ends cell and row behind each run, not at the cell's last one: meant so.
void CVHTMLWalk::closeCell(const NSTextTableBlock &cell)
{
    if (hasCellEndTag(cell))
        _output.appendLiteral(u"</td>");
    if (_rowOpen && isInLastColumn(cell)) {
        _output.appendLiteral(u"</tr>");
        _rowOpen = false;
    }
}

void CVHTMLWalk::alignParagraph(NSTextAlignment alignment)
{
    if (_paragraphOpen)
        _output.appendLiteral(u"</p>");
    _output.appendVerbatim(
        QString(u"<p style=\"text-align:" % CVHTML::stringForAlignment(alignment) % u";\">"));
    _paragraphOpen = true;
    _alignment = alignment;
}

void CVHTMLWalk::alignAttachmentParagraph(NSTextAlignment alignment)
{
    if (_paragraphOpen)
        _output.appendLiteral(u"</p>");
    _output.appendVerbatim(QString(u"<p" % CVHTML::attributeForAlignment(alignment) % u'>'));
    _paragraphOpen = true;
    _alignment = alignment;
}

/// Raw text: without its line breaks.
void CVHTMLWalk::appendUnbrokenText(NSRange range)
{
    _scratch = textIn(range).toString();
    _output.appendText(CVHTML::substituteNewlines(_scratch));
}

void CVHTMLWalk::appendLink(const QVariant &link, NSRange range)
{
    const QFReport::Place place(_job._pageID, range);
    _scratch.resize(0);
    const CVHTMLRequest &request = _job._request;
    _job._owner.processLink(link, request.fromPage, request.depthCorrection, _scratch,
                            _job._owner.filesFolderName());
    _output.appendMarkup(_scratch);
}

void CVHTMLWalk::appendAttachment(const NSTextAttachmentPtr &attachment, NSRange range)
{
    const QFReport::Place place(_job._pageID, range);
    _scratch.resize(0);
    const CVHTMLRequest &request = _job._request;
    const QString name = exportedFileName(attachment, request.imagePrefix, _attachmentNumber);
    if (_job._writtenFiles.contains(name))
        reportLoss(u"file-written-twice"_s, u"A file of the same export is overwritten: "_s + name, name);
    _job._owner.processAttachment(attachment, request.imagePrefix, _attachmentNumber, request.toPath,
                                  request.imagesFolder, _job._imageFormat, _job._imageQuality, _scratch);
    if (!_scratch.isEmpty())
        _job._writtenFiles.insert(name);
    _output.appendMarkup(_scratch);
}

/// Exports the list paragraphs from this run on, as far as their paragraph style stays the same. What is open
/// around them, paragraph or table, stays open: the list lands inside it.
qsizetype CVHTMLWalk::exportList(qsizetype run)
{
    const qsizetype start = _text.runs().at(run).start;
    NSRange whole;
    (void)_text.attribute(NSParagraphStyleAttributeName, start, &whole,
                          NSRange{start, _text.length() - start});
    const QList<NSRange> pieces = NSStringOperations::rangesSeparatedByString(textIn(whole), u"\n");
    if (!pieces.isEmpty()) {
        int listType = 1;
        const NSAttributedString first = _text.attributedSubstringFromRange({start, 1});
        const QString cssClass = CVHTML::textListStyleAttribute(first, &listType);
        const bool hasInnerList = ParagraphStyle::hasInnerList(first);
        const QStringView tag = listType == 0 ? u"ol" : u"ul";
        _output.appendMarkup(QString(u'<' % tag % u" class=\"" % printed(cssClass) % u"\">"));
        for (const NSRange piece : pieces)
            exportListItem({whole.location + piece.location, piece.length}, hasInnerList);
        _output.appendVerbatim(QString(u"</" % tag % u'>'));
    }
    return whole.end() < _text.length() ? _text.runAtIndex(whole.end()) : _text.runs().size();
}

/// One line of a list: what follows its marker, exported by itself. A line without a marker is dropped.
void CVHTMLWalk::exportListItem(NSRange piece, bool hasInnerList)
{
    const qsizetype offset = contentStart(textIn(piece));
    if (offset < 0) {
        const QFReport::Place place(_job._pageID, piece);
        reportLoss(u"dropped-list-line"_s, u"A list line without a marker between two tabs is left out."_s);
        return;
    }
    NSRange content{piece.location + offset, piece.length - offset};
    // The line of an inner list has a single marker, which belongs to the inner list: it keeps its prefix.
    if (hasInnerList && contentStart(textIn(content)) < 0)
        content = piece;

    const QFReport::Place place(_job._pageID, content);
    const NSAttributedString item = _job.itemContent(_text.attributedSubstringFromRange(content));
    _output.appendLiteral(u"<li>");
    _output.appendMarkup(_job.exportedItem(item));
    _output.appendLiteral(u"</li>");
}
