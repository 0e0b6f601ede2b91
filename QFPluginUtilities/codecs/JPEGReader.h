#pragma once

#include "codecs/ColourProfile.h"
#include "codecs/JPEGDecoder.h"
#include "codecs/RowReader.h"

#include <vector>

/// Rows of a JPEG file, whole or reduced.
class JPEGReader final : public RowReader
{
public:
    /// At `eighths` eighths of its size; where a part is enough, with no more around it than decoding
    /// demands. An invalid reader where the file does not allow it.
    JPEGReader(const QByteArray &file, int eighths, const QRect &part);

    [[nodiscard]] bool isValid() const { return _isValid; }
    /// The part in the coordinates of the rows.
    [[nodiscard]] QRectF part() const { return _part; }

    [[nodiscard]] QSize size() const override { return _size; }
    [[nodiscard]] bool isOpaque() const override { return true; }
    [[nodiscard]] bool readRow(QRgb *row) override;
    void finish(QImage &image) const override;

private:
    [[nodiscard]] bool start(int eighths, const QRect &part);
    [[nodiscard]] bool passOver(QRectF &part);
    [[nodiscard]] ColourTransform::From colours() const;

    JPEGDecoder _decoder;
    std::shared_ptr<const ColourTransform> _transform;
    bool _isValid = false;
    QSize _size;
    QRectF _part;
    std::vector<uchar> _inks;
};
