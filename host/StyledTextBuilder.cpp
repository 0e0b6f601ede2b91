#include "host/StyledTextBuilder.h"

#include "host/HTMLBlanks.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMaximumListDepth = 32; // of styles; deeper lists are written at this depth
constexpr qsizetype kTabWidth = 8;

} // namespace

StyledTextBuilder::StyledTextBuilder()
    : _body(_pool.style({})), _style(_body), _lineStyle(_body), _spaceStyle(_body)
{
    _paragraph = currentParagraph(nullptr);
}

void StyledTextBuilder::setStyle(const CharacterStyle &style)
{
    _style = _pool.style(style);
}

void StyledTextBuilder::setAlignment(NSTextAlignment alignment, NSWritingDirection direction)
{
    _alignment = alignment;
    _direction = direction;
}

StyledTextPool::ParagraphID StyledTextBuilder::currentParagraph(const NSTextTableBlockPtr &cell)
{
    NSParagraphStyle paragraph;
    paragraph.alignment = _alignment;
    paragraph.baseWritingDirection = _direction;
    if (cell) {
        paragraph.textBlocks.append(cell);
    } else {
        for (const QString &marker : std::as_const(_lists))
            paragraph.textLists.append({marker});
    }
    return _pool.paragraph(paragraph);
}

// ---- Writing

/// Appends in the current style, and notes what the line's end will look like.
void StyledTextBuilder::append(const QString &text)
{
    _result.append(text, _pool.dictionary(_style, _paragraph));
    _lineStyle = _style;
    _lastWasText = _pool.styleOf(_style).directive.isNull();
    _atLineStart = false;
    _flowHasContent = true;
}

void StyledTextBuilder::appendRaw(const QString &markup)
{
    _result.append(markup, _pool.rawDictionary(_paragraph));
    _lastWasText = false;
    _flowHasContent = true;
}

/// Ends a line. In a cell the newline belongs to the last run, since each run of a cell exports as a cell of
/// its own; elsewhere it is no part of a link.
void StyledTextBuilder::appendNewline()
{
    StyledTextPool::StyleID style = _lastWasText ? _lineStyle : _body;
    if (!_cell)
        style = _pool.styleWithoutLink(style);
    _result.append(u"\n"_s, _pool.dictionary(style, _paragraph));
    _atLineStart = true;
    _lastWasText = _lastWasText && style == _lineStyle;
}

void StyledTextBuilder::openParagraph()
{
    if (_paragraphIsOpen)
        return;
    if (isInList() || !_pool.styleOf(_style).directive.isNull())
        closeExportedTable();
    if (_wantsEmptyLine && _flowHasContent && !isInList())
        _result.append(u"\n"_s, _pool.dictionary(_body, _paragraph));
    _wantsEmptyLine = false;
    _paragraph = currentParagraph(_cell);
    _lineStyle = _body;
    _lastWasText = false;
    _paragraphIsOpen = true;
    _atLineStart = true;
    _column = 0;
    if (isInList())
        return openItemLine();
    if (!_cell)
        _exportedTableIsOpen = false;
    if (_prefixIsPending) {
        _result.append(_marker + u' ', _pool.dictionary(_style, _paragraph));
        _prefixIsPending = false;
    }
}

/// An item is one line: its first paragraph starts the line, later ones go on in it behind raw breaks.
void StyledTextBuilder::openItemLine()
{
    if (_itemLineIsOpen) {
        appendRaw(u"<br />"_s.repeated(std::max(_itemBreaks, 1)));
    } else {
        const QString prefix = _prefixIsPending ? u'\t' + _marker + u'\t' : u"\t\t"_s;
        _result.append(prefix, _pool.dictionary(_body, _paragraph));
    }
    _prefixIsPending = false;
    _itemLineIsOpen = true;
    _itemBreaks = 1;
    _flowHasContent = true;
}

void StyledTextBuilder::endItemLine()
{
    endParagraph();
    if (_itemLineIsOpen)
        appendNewline();
    _itemLineIsOpen = false;
}

/// An exported table is closed by the next ordinary paragraph only. Before anything else that could follow
/// it, an empty paragraph does that.
void StyledTextBuilder::closeExportedTable()
{
    if (!_exportedTableIsOpen || _cell)
        return;
    NSParagraphStyle plain;
    plain.alignment = NSTextAlignment::Left;
    _result.append(u"\n"_s, _pool.dictionary(_body, _pool.paragraph(plain)));
    _exportedTableIsOpen = false;
}

void StyledTextBuilder::endParagraph()
{
    const int newlines = std::max(_pendingBreaks, 1); // a break at a paragraph's end is the end itself
    _pendingBreaks = 0;
    _spaceIsPending = false;
    if (!_paragraphIsOpen)
        return;
    _paragraphIsOpen = false;
    if (isInList()) {
        _itemBreaks = newlines;
        return;
    }
    for (int line = 0; line < newlines; ++line)
        appendNewline();
    _flowHasContent = true;
}

void StyledTextBuilder::separate()
{
    endParagraph();
    _wantsEmptyLine = true;
    if (isInList())
        _itemBreaks = 2;
}

// ---- Content

/// Makes everything ready that stands before a text, attachment or piece of markup.
void StyledTextBuilder::beginContent()
{
    openParagraph();
    flushBreaks();
    flushSpace();
    flushMarkup();
}

void StyledTextBuilder::flushBreaks()
{
    for (; _pendingBreaks > 0; --_pendingBreaks) {
        _spaceIsPending = false;
        if (isInList())
            appendRaw(u"<br />"_s);
        else
            appendNewline();
        _atLineStart = true;
    }
}

void StyledTextBuilder::flushSpace()
{
    if (!_spaceIsPending)
        return;
    _spaceIsPending = false;
    if (!_atLineStart)
        _result.append(u" "_s, _pool.dictionary(_spaceStyle, _paragraph));
}

void StyledTextBuilder::flushMarkup()
{
    if (_preparedMarkup.isEmpty())
        return;
    appendRaw(_preparedMarkup);
    _preparedMarkup.clear();
}

void StyledTextBuilder::appendText(QStringView text, Whitespace whitespace)
{
    if (whitespace == Whitespace::Collapse)
        appendCollapsed(text);
    else
        appendKept(text);
}

/// Runs of blanks become one; blanks at the start and end of a line go.
void StyledTextBuilder::appendCollapsed(QStringView text)
{
    QString words;
    words.reserve(text.size());
    bool blankBefore = false;
    bool hasWords = false;
    bool startsWithBlank = false;
    for (const QChar unit : text) {
        if (isHTMLBlank(unit)) {
            blankBefore = true;
            continue;
        }
        if (blankBefore && hasWords)
            words += u' ';
        startsWithBlank = startsWithBlank || (blankBefore && !hasWords);
        blankBefore = false;
        hasWords = true;
        words += unit;
    }
    const auto pendSpace = [this] {
        if (!_spaceIsPending)
            _spaceStyle = _style;
        _spaceIsPending = true;
    };
    if (startsWithBlank || (blankBefore && !hasWords))
        pendSpace();
    if (hasWords) {
        beginContent();
        append(words);
        _column += words.size();
        if (blankBefore)
            pendSpace();
    }
}

/// Blanks that a browser would drop become no-break spaces, and tabs reach to the next eighth column.
void StyledTextBuilder::appendKept(QStringView text)
{
    QString line;
    qsizetype column = _paragraphIsOpen ? _column : 0;
    const auto flush = [&] {
        if (line.isEmpty())
            return;
        qsizetype end = line.size();
        while (line[end - 1] == u'\n')
            --end;
        const auto breaks = static_cast<int>(line.size() - end);
        line.truncate(end);
        beginContent();
        append(line);
        _pendingBreaks += breaks;
        line.clear();
    };
    const auto needsFirstBlankKept = [&] {
        if (!line.isEmpty())
            return line.back().isSpace();
        return !_paragraphIsOpen || _atLineStart || _pendingBreaks > 0 || _result.string().back().isSpace();
    };
    for (const QChar unit : text) {
        if (unit == u'\r')
            continue;
        if (unit == u'\n' && !isInList() && _paragraphIsOpen && _pendingBreaks == 0 && !line.isEmpty()) {
            line += u'\n';
            column = 0;
        } else if (unit == u'\n') {
            flush();
            appendLineBreak();
            column = 0;
        } else if (unit == u' ' || unit == u'\t') {
            const qsizetype width = unit == u' ' ? 1 : kTabWidth - column % kTabWidth;
            line += width > 1 || needsFirstBlankKept() ? QString(width, QChar::Nbsp) : u" "_s;
            column += width;
        } else {
            line += unit;
            ++column;
        }
    }
    flush();
    _column = column;
}

void StyledTextBuilder::appendLineBreak()
{
    openParagraph();
    _spaceIsPending = false;
    _column = 0;
    ++_pendingBreaks;
}

void StyledTextBuilder::appendAttachment(const NSTextAttachmentPtr &attachment)
{
    beginContent();
    const NSAttributeDictionary attributes =
        _pool.dictionary(_style, _paragraph)
            .withValue(NSAttachmentAttributeName, QVariant::fromValue(attachment));
    _result.append(QString(NSAttachmentCharacter), attributes);
    _lastWasText = false;
    _atLineStart = false;
    _flowHasContent = true;
}

void StyledTextBuilder::appendRule()
{
    endParagraph();
    if (_cell || isInList()) {
        appendText(u"\u2014\u2014\u2014", Whitespace::Collapse);
        return endParagraph();
    }
    closeExportedTable();
    _wantsEmptyLine = false;
    openParagraph();
    appendRaw(u"<hr />\n"_s);
    _paragraphIsOpen = false;
    _flowHasContent = false; // a rule keeps its distance by itself
}

// ---- Lists

void StyledTextBuilder::beginList(const QString &markerFormat)
{
    endParagraph();
    if (!_cell)
        endItemLine();
    _wantsEmptyLine = false;
    ++_listDepth;
    if (_lists.size() < kMaximumListDepth)
        _lists.append(markerFormat);
    _prefixIsPending = false;
}

void StyledTextBuilder::endList()
{
    endItem();
    if (_listDepth > 0 && --_listDepth < _lists.size())
        _lists.removeLast();
    _wantsEmptyLine = false;
    _flowHasContent = false; // a list keeps its distance by itself
}

void StyledTextBuilder::beginItem(const QString &marker)
{
    endItem();
    _marker = marker;
    _prefixIsPending = true;
}

void StyledTextBuilder::endItem()
{
    endParagraph();
    if (!_cell)
        endItemLine();
    _prefixIsPending = false;
    _wantsEmptyLine = false;
}
