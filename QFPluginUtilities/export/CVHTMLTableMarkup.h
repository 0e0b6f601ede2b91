#pragma once

#include "platform/NSTextTable.h"

#include <QString>

// The start tags of tables, rows and cells. Widths are points; what is negative or no number counts as 0.

/// `<table …>` for the table of which this is the first cell met. Its border colour is written without a
/// blank before the attribute and without a number sign: meant so.
[[nodiscard]] QString tableStartTag(const NSTextTableBlock &cell);
[[nodiscard]] QString rowStartTag(const NSTextTableBlock &cell);
/// `<td …>`. In a table of fixed layout it bears two widths: meant so. A table without columns gives no
/// percentage.
[[nodiscard]] QString cellStartTag(const NSTextTableBlock &cell);

/// Whether `</td>` follows each run of the cell: not for a cell across several columns, which is meant so.
[[nodiscard]] bool hasCellEndTag(const NSTextTableBlock &cell);
[[nodiscard]] bool isInLastColumn(const NSTextTableBlock &cell);
