#include "export/CVHTMLWalk.h"

#include "export/CVHTMLAttachment.h"
#include "export/CVHTMLTableMarkup.h"
#include "export/NSAttributedString+NSStringOperations.h"
#include "export/QFMarkupDirective.h"
#include "platform/Formatting.h"
#include "platform/NSFont.h"
#include "platform/QFHost.h"
#include "platform/Values.h"

#include <QStringBuilder>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

/// So many runs show how much markup a text takes.
constexpr qsizetype showingRuns = 1024;

/// Asks for the dictionaries of runs to come. They lie anywhere in memory, and waiting for them would take
/// longer than all else: first comes the head of a dictionary, some runs later what it points to.
void prefetchDictionaries(const QList<NSAttributedString::Run> &runs, qsizetype run)
{
    constexpr qsizetype far = 24;
    constexpr qsizetype near = 12;
    if (run + far >= runs.size())
        return;
    __builtin_prefetch(runs.at(run + far).attributes.address());
    const std::span<const NSAttributeDictionary::Entry> entries = runs.at(run + near).attributes.entries();
    for (const auto &entry : entries.first(std::min<size_t>(entries.size(), 4)))
        __builtin_prefetch(&entry);
}

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

CVHTMLExport::CVHTMLExport(CVHTML &owner, CVHTMLRequest request, const NSAttributedString &text)
    : _owner(owner), _request(std::move(request)), _text(text),
      _styles(styleDefaults(owner), text.runs().size()),
      _placeholderOnly(_request.HTMLTemplate == placeholder(_request.contentTag)),
      _placeholders(_request.HTMLTemplate.count(placeholder(_request.contentTag)))
{
    QObject *page = _request.fromPage;
    if (!page)
        return;
    _pageID = QFHost::uniqueID(page);
    _imageFormat = CVHTMLMedia::imageFormatAsQTFormat(QFHost::imageFormat(_request.fromPage));
    // A page without settings gives 1023, unlike no page at all, which gives 768: meant so.
    _imageQuality = CVHTMLMedia::imageQualityAsQTQuality(QFHost::imageQuality(_request.fromPage));
}

QString CVHTMLExport::exported()
{
    QFHTMLTextWriter output(_text.length() + 16 * _text.runs().size());
    CVHTMLWalk(*this, {0, _text.length()}, 0, output, CVHTMLWalk::Output::Own).run();
    return filledTemplate(output.take());
}

QString CVHTMLExport::filledTemplate(const QString &content) const
{
    if (_placeholderOnly)
        return content;
    QString filled = _request.HTMLTemplate.isNull() ? u""_s : _request.HTMLTemplate;
    // Literal and in one pass: a placeholder inside the content is not filled again.
    return filled.replace(placeholder(_request.contentTag), content);
}

/// Appends an item, which is a filled template like the whole. Where the template adds nothing, the item is
/// written straight into the output around it.
void CVHTMLExport::exportItem(NSRange content, qsizetype outerLists, QFHTMLTextWriter &output)
{
    if (_placeholderOnly) {
        CVHTMLWalk(*this, content, outerLists, output, CVHTMLWalk::Output::Shared).run();
        return;
    }
    QFHTMLTextWriter item(content.length);
    CVHTMLWalk(*this, content, outerLists, item, CVHTMLWalk::Output::Own).run();
    const QString html = item.take();
    const qsizetype filledSize = _request.HTMLTemplate.size() + _placeholders * html.size();
    if (filledSize > _templateRoom) {
        const QFReport::Place place(_pageID, content);
        reportLoss(u"template"_s,
                   u"A list item is left without its template: the page would grow beyond measure."_s);
        output.appendMarkup(html);
        return;
    }
    _templateRoom -= filledSize;
    output.appendMarkup(filledTemplate(html));
}

CVHTMLWalk::CVHTMLWalk(CVHTMLExport &job, NSRange range, qsizetype outerLists, QFHTMLTextWriter &output,
                       Output kind)
    : _job(job), _text(job._text), _range(range), _outerLists(outerLists), _output(output), _outputKind(kind),
      _isReserved(outerLists > 0)
{
}

void CVHTMLWalk::run()
{
    if (_range.isEmpty())
        return;
    const QList<NSAttributedString::Run> &runs = _text.runs();
    for (qsizetype run = _text.runAtIndex(_range.location);
         run < runs.size() && runs.at(run).start < _range.end();) {
        prefetchDictionaries(runs, run);
        run = exportRun(run);
        if (run >= showingRuns && !_isReserved)
            reserveForRest(run);
    }

    if (_table)
        _output.appendLiteral(u"</table>");
    if (_directiveOpen)
        closeLastDirective();
    if (_paragraphOpen)
        _output.appendLiteral(u"</p>");
}

/// Room for a whole whose other runs take as much markup as those that are done: making the output longer
/// piece by piece costs several times the export. A limit keeps an odd beginning from reserving memory for
/// nothing.
void CVHTMLWalk::reserveForRest(qsizetype runsDone)
{
    constexpr qsizetype mostMarkup = 256;
    const qsizetype markup = _output.size() - _text.rangeOfRun(runsDone - 1).end();
    const qsizetype markupOfRun = std::clamp<qsizetype>(markup / runsDone + 1, 0, mostMarkup);
    _output.reserve(_text.length() + markupOfRun * _text.runs().size());
    _isReserved = true;
}

/// Exports the run with this number, or the whole list that begins with it; answers the number of the next
/// run.
qsizetype CVHTMLWalk::exportRun(qsizetype run)
{
    const CVHTMLRunStyle &style = _job._styles.styleFor(_text.runs().at(run).attributes);
    const NSRange range = _text.rangeOfRun(run).clippedTo(_range);
    if (style.directive) {
        exportDirectiveRun(style, range);
        return run + 1;
    }
    closeDirective();
    if (style.isRaw) {
        appendUnbrokenText(range);
        return run + 1;
    }
    if (isInList(style))
        return exportList(*style.paragraphStyle, range.location);
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

/// The newline rule covers the runs only: at the end of a text, the close tag keeps its newlines. At the end
/// of a list item they fall under the rule of the text around it, but make no pair with a break before them.
void CVHTMLWalk::closeLastDirective()
{
    const QString closeTag = QFMarkupDirective::closeTag(_job._owner.currentMarkupAttribute());
    if (_outputKind == Output::Own) {
        _output.appendVerbatim(closeTag);
        return;
    }
    _output.endPair();
    _output.appendMarkup(closeTag);
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
    const QStringView text = textIn(range);
    if (!text.contains(u'\n') && !text.contains(u'\r')) {
        _output.appendText(text);
        return;
    }
    _scratch = text.toString();
    _output.appendText(CVHTML::substituteNewlines(_scratch));
}

void CVHTMLWalk::appendLink(const QVariant &link, NSRange range)
{
    // Most links are plain addresses; what `processLink` makes of them needs no detour.
    if (link.typeId() == QMetaType::QString) {
        _output.appendLiteral(u"<a href=\"");
        _output.appendText(*static_cast<const QString *>(link.constData()));
        _output.appendLiteral(u"\">");
        return;
    }
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
    const QString name =
        attachmentPlan(attachment, request.imagePrefix, _attachmentNumber, _job._imageFormat).finalName();
    if (_job._writtenFiles.contains(name))
        reportLoss(u"file-written-twice"_s, u"A file of the same export is overwritten: "_s + name, name);
    _job._owner.processAttachment(attachment, request.imagePrefix, _attachmentNumber, request.toPath,
                                  request.imagesFolder, _job._imageFormat, _job._imageQuality, _scratch);
    if (!_scratch.isEmpty())
        _job._writtenFiles.insert(name);
    _output.appendMarkup(_scratch);
}

/// Exports the list paragraphs from here on, as far as their paragraph style stays the same; answers the
/// number of the next run. What is open around them, paragraph or table, stays open: the list lands inside
/// it.
qsizetype CVHTMLWalk::exportList(const NSParagraphStyle &style, qsizetype start)
{
    const QString markerFormat = style.textLists.at(_outerLists).markerFormat;
    const bool hasInnerList = style.textLists.size() > _outerLists + 1;
    NSRange whole;
    (void)_text.attribute(NSParagraphStyleAttributeName, start, &whole, NSRange{start, _range.end() - start});
    const QList<NSRange> pieces = NSStringOperations::rangesSeparatedByString(textIn(whole), u"\n");
    if (!pieces.isEmpty()) {
        int listType = 1;
        const QString cssClass =
            CVHTML::htmlBulletStyleFromCocoaTextListMarkerFormat(markerFormat, &listType);
        const QStringView tag = listType == 0 ? u"ol" : u"ul";
        _output.appendVerbatim(QString(u'<' % tag % u" class=\"" % printed(cssClass) % u"\">"));
        for (const NSRange piece : pieces)
            exportListItem({whole.location + piece.location, piece.length}, hasInnerList);
        _output.appendVerbatim(QString(u"</" % tag % u'>'));
    }
    return whole.end() < _range.end() ? _text.runAtIndex(whole.end()) : _text.runs().size();
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

    const bool isDeepest = _outerLists + 1 >= CVHTMLExport::deepestList;
    const qsizetype outerLists = isDeepest ? std::numeric_limits<qsizetype>::max() : _outerLists + 1;
    _output.appendLiteral(u"<li>");
    _job.exportItem(content, outerLists, _output);
    _output.appendLiteral(u"</li>");
}
