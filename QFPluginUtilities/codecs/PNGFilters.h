#pragma once

#include <QtGlobal>

/// The filters of PNG rows, which leave differences from what lies to the left and above. Rows are bytes;
/// `step` is the distance of a byte from that of the pixel to its left, 1 to 4.
namespace PNGFilters {

enum Filter : quint8 { None, Left, Up, Mean, Paeth };
constexpr int kFilters = 5;

/// Room before each row and after it that may be read; it must be zero before the row and the one above.
constexpr qsizetype kMargin = 4;

/// Writes the differences to `result`; the sum of their absolute values, as signed bytes, tells how well they
/// will pack.
quint64 apply(Filter filter, const uchar *row, const uchar *above, qsizetype length, int step, uchar *result);

/// Makes a row of differences, in place. False for an unknown filter.
[[nodiscard]] bool undo(quint8 filter, uchar *row, const uchar *above, qsizetype length, int step);

} // namespace PNGFilters
