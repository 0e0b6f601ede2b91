#pragma once

#include "host/CharacterStyle.h"
#include "host/StyledTextPool.h"
#include "platform/NSAttributedString.h"
#include "platform/NSTextAttachment.h"

#include <QStringList>

#include <memory>
#include <vector>

class TableGrid;

/// Builds styled text as a document is read from start to end: paragraphs, lists and tables in the form that
/// the exporter expects. Blocks ask for their surroundings, text opens paragraphs by itself. List items are
/// one line each ("\t•\tText"): breaks inside them are raw `<br />` elements, since a newline would end the
/// item. Inside a cell, lists are written as plain lines, and inner tables as lines of their own.
class StyledTextBuilder
{
public:
    enum class Whitespace : quint8 { Collapse, Keep };

    /// What a new table or cell looks like, in points.
    struct TableLook
    {
        double border = 0;
        double padding = 1;
        double spacing = 2;
        std::optional<NSColor> borderColor;
        bool fixedLayout = false;
    };
    struct CellLook
    {
        qint64 rowSpan = 1;
        qint64 columnSpan = 1;
        double width = 0;
        double height = 0;
        NSTextBlockVerticalAlignment verticalAlignment = NSTextBlockVerticalAlignment::Middle;
        std::optional<NSColor> backgroundColor;
    };

    StyledTextBuilder();

    /// How text from here on looks.
    void setStyle(const CharacterStyle &style);
    /// How paragraphs that open from here on stand.
    void setAlignment(NSTextAlignment alignment, NSWritingDirection direction);

    void appendText(QStringView text, Whitespace whitespace);
    void appendLineBreak();
    void appendAttachment(const NSTextAttachmentPtr &attachment);
    /// Markup to be copied as it is, written once the next text or attachment comes.
    void prepareRawMarkup(const QString &markup) { _preparedMarkup += markup; }
    void appendRule();

    /// Ends the paragraph, if one is open.
    void endParagraph();
    /// Ends the paragraph and puts an empty line before the next one.
    void separate();

    void beginList(const QString &markerFormat);
    void endList();
    /// `marker` is written literally.
    void beginItem(const QString &marker);
    void endItem();

    void beginTable(const TableLook &look);
    void endTable();
    void beginRow();
    void endRow();
    void beginCell(const CellLook &look);
    void endCell();
    [[nodiscard]] bool isInCell() const { return _cell != nullptr; }

    /// Ends everything that is open and answers the text.
    [[nodiscard]] NSAttributedString finish();

private:
    struct RowGap
    {
        qsizetype position = 0; ///< in the text
        NSTextTablePtr table;
        qint64 row = 0;
        qint64 firstColumn = 0;
        qint64 columns = 0;
    };

    [[nodiscard]] bool isInList() const { return !_lists.isEmpty() && !_cell; }
    [[nodiscard]] StyledTextPool::ParagraphID currentParagraph(const NSTextTableBlockPtr &cell);
    void openParagraph();
    void openItemLine();
    void endItemLine();
    void closeExportedTable();
    void flushSpace();
    void flushBreaks();
    void flushMarkup();
    void beginContent();
    void append(const QString &text);
    void appendRaw(const QString &markup);
    void appendNewline();
    void appendCollapsed(QStringView text);
    void appendKept(QStringView text);
    [[nodiscard]] NSTextTableBlockPtr makeCell(const CellLook &look, qint64 column) const;
    void appendEmptyCell(NSMutableAttributedString &text, const NSTextTablePtr &table, qint64 row,
                         qint64 column);
    [[nodiscard]] NSAttributedString withGapsFilled();

    StyledTextPool _pool;
    NSMutableAttributedString _result;
    NSTextAlignment _alignment = NSTextAlignment::Left;
    NSWritingDirection _direction = NSWritingDirection::Natural;
    StyledTextPool::StyleID _body;
    StyledTextPool::StyleID _style;

    // The paragraph that is open, or was last.
    StyledTextPool::ParagraphID _paragraph = 0;
    StyledTextPool::StyleID _lineStyle = 0;  ///< of the line's last text
    StyledTextPool::StyleID _spaceStyle = 0; ///< of the blank that is pending
    int _pendingBreaks = 0;
    qsizetype _column = 0; ///< of the line, for tabs
    QString _preparedMarkup;

    QStringList _lists; ///< marker formats, outermost first; the deepest may be missing
    QString _marker;
    int _listDepth = 0;
    int _itemBreaks = 0; ///< before the item's next paragraph

    // The outermost table that is open.
    int _tableDepth = 0;
    std::shared_ptr<TableGrid> _grid;
    NSTextTablePtr _table;
    TableLook _tableLook;
    NSTextTableBlockPtr _cell;
    NSTextTableBlockPtr _lastCell;
    qsizetype _cellStart = 0;
    std::vector<RowGap> _gaps; ///< one for each row of all tables, in order
    size_t _firstGap = 0;      ///< of the table
    qint64 _paddedCells = 0;

    bool _paragraphIsOpen = false;
    bool _lastWasText = false; ///< and not raw markup or an attachment
    bool _atLineStart = true;  ///< where blanks are dropped
    bool _spaceIsPending = false;
    bool _wantsEmptyLine = false;
    bool _flowHasContent = false; ///< something stands before in this cell or, outside cells, in the text
    bool _prefixIsPending = false;
    bool _itemLineIsOpen = false;
    bool _rowIsOpen = false;
    bool _exportedTableIsOpen = false; ///< no ordinary paragraph has followed the last table yet
};
