#pragma once

#include "platform/QFExport.h"

#include <QImage>
#include <QRect>

#include <memory>

/// Scales a picture that comes row by row, from the top, so that a decoder never has to hold it whole.
/// Lanczos with three lobes on premultiplied components, edges extended outwards; shrinking more than
/// fourfold begins with area means to three times the target. Holds the rows that one row of the result
/// needs, and the result.
class QF_EXPORT RowScaler
{
public:
    /// Scales the part `crop` of rows `sourceWidth` wide to `target`. `crop` may lie between pixels, as it
    /// does where the decoder has already reduced the picture. Both sizes are at least 1.
    RowScaler(int sourceWidth, const QRectF &crop, const QSize &target, bool isOpaque);
    ~RowScaler();
    RowScaler(const RowScaler &) = delete;
    RowScaler &operator=(const RowScaler &) = delete;

    /// The next row of the source: `sourceWidth` premultiplied pixels. Rows outside the crop must be given
    /// too.
    void addRow(const QRgb *row);
    /// The result, once all rows have been added: RGB32 when opaque, else ARGB32_Premultiplied. Null when
    /// there was no memory for it.
    [[nodiscard]] QImage takeImage();

private:
    struct Private;
    std::unique_ptr<Private> d;
};
