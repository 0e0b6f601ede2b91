#pragma once

#include <algorithm>
#include <vector>

/// Finds the columns in which the cells of a table stand, row by row, when cells reach over rows and columns.
/// At most `maximumColumns` columns exist; cells beyond are answered as not placed.
class TableGrid
{
public:
    static constexpr qint64 maximumColumns = 1000;
    static constexpr qint64 maximumRowSpan = 65534;

    [[nodiscard]] qint64 columns() const { return static_cast<qint64>(_takenUntil.size()); }
    [[nodiscard]] qint64 row() const { return _row; }

    void beginRow()
    {
        ++_row;
        _next = 0;
    }

    /// Column of the next cell in this row; its spans are cut to what fits. -1 when no column is left.
    qint64 place(qint64 &rowSpan, qint64 &columnSpan)
    {
        _next = nextFree(_next);
        if (_next >= maximumColumns)
            return -1;
        rowSpan = std::clamp<qint64>(rowSpan, 1, maximumRowSpan);
        columnSpan = std::clamp<qint64>(columnSpan, 1, maximumColumns - _next);
        const qint64 column = _next;
        _next += columnSpan;
        if (columns() < _next)
            _takenUntil.resize(static_cast<size_t>(_next), 0);
        for (qint64 taken = column; taken < _next; ++taken)
            _takenUntil[static_cast<size_t>(taken)] = _row + rowSpan;
        return column;
    }

    /// The next column without a cell in this row, at or behind `column`; may lie behind the last one.
    [[nodiscard]] qint64 nextFree(qint64 column) const
    {
        while (column < columns() && _takenUntil[static_cast<size_t>(column)] > _row)
            ++column;
        return column;
    }

private:
    std::vector<qint64> _takenUntil; ///< by column: the first row that is free again
    qint64 _row = -1;
    qint64 _next = 0;
};
