#pragma once

#include <QImage>
#include <QRectF>
#include <QSize>

/// Decodes a picture row by row, from the top, once. One thread at a time.
class RowReader
{
public:
    RowReader() = default;
    virtual ~RowReader() = default;
    RowReader(const RowReader &) = delete;
    RowReader &operator=(const RowReader &) = delete;

    [[nodiscard]] virtual QSize size() const = 0;
    [[nodiscard]] virtual bool isOpaque() const = 0;
    /// The next row, premultiplied. False when the data are broken or have run out.
    [[nodiscard]] virtual bool readRow(QRgb *row) = 0;
    /// Converts what has been made of the rows to sRGB, for readers that leave that for the end. Linear
    /// operations on the rows do nearly the same before and after it, and there are mostly fewer pixels then.
    virtual void finish(QImage & /*image*/) const {}

    /// All rows: RGB32 when opaque, else ARGB32_Premultiplied; null on error.
    [[nodiscard]] QImage image();
    /// The part `crop` scaled to `target`, without holding the picture. Of a large one the rows are decoded
    /// on a thread of their own, while those before are filtered; the result is the same. Null on error.
    [[nodiscard]] QImage scaled(const QRectF &crop, const QSize &target);
};
