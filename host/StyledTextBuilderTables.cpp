#include "host/StyledTextBuilder.h"
#include "host/TableGrid.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// Cells that are added to short rows, in a whole document; beyond that rows stay short.
constexpr qint64 kMaximumPaddedCells = 200000;

} // namespace

void StyledTextBuilder::beginTable(const TableLook &look)
{
    if (++_tableDepth > 1)
        return endParagraph();
    endItemLine();
    _wantsEmptyLine = false;
    _lastCell = nullptr;
    _grid = std::make_shared<TableGrid>();
    _table = std::make_shared<NSTextTable>();
    _tableLook = look;
    _table->layoutAlgorithm =
        look.fixedLayout ? NSTextTableLayoutAlgorithm::Fixed : NSTextTableLayoutAlgorithm::Automatic;
    _firstGap = _gaps.size();
}

void StyledTextBuilder::endTable()
{
    if (_tableDepth == 0)
        return;
    endParagraph();
    if (--_tableDepth > 0)
        return;
    endRow();
    _table->numberOfColumns = static_cast<quint64>(_grid->columns());
    for (size_t gap = _firstGap; gap < _gaps.size(); ++gap)
        _gaps[gap].columns = _grid->columns();
    _table = nullptr;
    _grid = nullptr;
    _exportedTableIsOpen = true;
    _wantsEmptyLine = false;
    _flowHasContent = true;
}

void StyledTextBuilder::beginRow()
{
    if (_tableDepth > 1)
        return endParagraph();
    if (_tableDepth == 0)
        return;
    endRow();
    _grid->beginRow();
    _rowIsOpen = true;
}

/// Every row must reach the last column, for there the exporter ends it. What is missing up to the widest row
/// so far is added here, the rest when the table's width is known.
void StyledTextBuilder::endRow()
{
    if (_tableDepth > 1)
        return endParagraph();
    endCell();
    if (!_rowIsOpen)
        return;
    _rowIsOpen = false;
    qint64 column = _grid->nextFree(0);
    for (; column < _grid->columns() && _paddedCells < kMaximumPaddedCells;
         column = _grid->nextFree(column + 1))
        appendEmptyCell(_result, _table, _grid->row(), column);
    _gaps.push_back({_result.length(), _table, _grid->row(), _grid->columns(), 0});
}

void StyledTextBuilder::beginCell(const CellLook &look)
{
    if (_tableDepth == 0)
        return;
    if (_tableDepth > 1) {
        if (_paragraphIsOpen)
            appendText(u" ", Whitespace::Collapse);
        return;
    }
    endCell();
    if (!_rowIsOpen)
        beginRow();
    qint64 rowSpan = look.rowSpan;
    qint64 columnSpan = look.columnSpan;
    const qint64 column = _grid->place(rowSpan, columnSpan);
    if (column < 0 && !_lastCell)
        return;
    _cell = column < 0 ? _lastCell : makeCell(look, column);
    _cell->rowSpan = column < 0 ? _cell->rowSpan : rowSpan;
    _cell->columnSpan = column < 0 ? _cell->columnSpan : columnSpan;
    _lastCell = _cell;
    _cellStart = _result.length();
    _flowHasContent = false;
    _wantsEmptyLine = false;
    _prefixIsPending = false;
}

NSTextTableBlockPtr StyledTextBuilder::makeCell(const CellLook &look, qint64 column) const
{
    auto cell = std::make_shared<NSTextTableBlock>();
    cell->table = _table;
    cell->startingRow = _grid->row();
    cell->startingColumn = column;
    cell->verticalAlignment = look.verticalAlignment;
    cell->width = look.width;
    cell->height = look.height;
    cell->backgroundColor = look.backgroundColor;
    cell->setWidthForLayer(NSTextBlockLayer::Border, _tableLook.border);
    cell->setWidthForLayer(NSTextBlockLayer::Padding, _tableLook.padding);
    cell->setWidthForLayer(NSTextBlockLayer::Margin, _tableLook.spacing);
    cell->setBorderColor(_tableLook.borderColor);
    return cell;
}

void StyledTextBuilder::endCell()
{
    if (_tableDepth > 1 || !_cell)
        return;
    flushMarkup();
    if (_result.length() == _cellStart)
        openParagraph();
    endParagraph();
    _cell = nullptr;
    _prefixIsPending = false;
    _wantsEmptyLine = false;
    _paragraph = currentParagraph(nullptr);
}

void StyledTextBuilder::appendEmptyCell(NSMutableAttributedString &text, const NSTextTablePtr &table,
                                        qint64 row, qint64 column)
{
    auto cell = std::make_shared<NSTextTableBlock>();
    cell->table = table;
    cell->startingRow = row;
    cell->startingColumn = column;
    text.append(u"\n"_s, _pool.dictionary(_body, currentParagraph(cell)));
    ++_paddedCells;
}

/// The text with the cells that rows lack because a later row was wider.
NSAttributedString StyledTextBuilder::withGapsFilled()
{
    const bool anyGap = std::any_of(_gaps.begin(), _gaps.end(),
                                    [](const RowGap &gap) { return gap.firstColumn < gap.columns; });
    if (!anyGap)
        return _result.copy();
    NSMutableAttributedString filled;
    qsizetype copied = 0;
    for (const RowGap &gap : _gaps) {
        if (gap.firstColumn >= gap.columns || _paddedCells >= kMaximumPaddedCells)
            continue;
        filled.append(_result.attributedSubstringFromRange({copied, gap.position - copied}));
        copied = gap.position;
        for (qint64 column = gap.firstColumn; column < gap.columns; ++column)
            appendEmptyCell(filled, gap.table, gap.row, column);
    }
    filled.append(_result.attributedSubstringFromRange({copied, _result.length() - copied}));
    return filled.copy();
}

NSAttributedString StyledTextBuilder::finish()
{
    while (_tableDepth > 0)
        endTable();
    while (_listDepth > 0)
        endList();
    endParagraph();
    flushMarkup();
    const QString &text = _result.string();
    if (text.endsWith(u'\n') && !_exportedTableIsOpen)
        _result.replaceCharactersInRange({text.size() - 1, 1}, QString());
    return withGapsFilled();
}
