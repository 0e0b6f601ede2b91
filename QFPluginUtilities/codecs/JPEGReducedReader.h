#pragma once

#include "codecs/ColourProfile.h"
#include "codecs/JPEGBits.h"
#include "codecs/JPEGKernels.h"
#include "codecs/JPEGScan.h"
#include "codecs/RowReader.h"

#include <array>
#include <memory>
#include <vector>

/// Rows of a JPEG file at a half, a quarter or an eighth of its size. Of each block it decodes the
/// coefficients that the result can show, and passes the others several at a time. For the common files:
/// baseline, one scan, no restarts, grey or of luminance and colour differences. It gives up on broken code,
/// which a JPEGReader shows as far as it goes.
class JPEGReducedReader final : public RowReader
{
public:
    /// At `eighths` eighths of its size: 1, 2 or 4. Where a part is enough, with no more around it than whole
    /// units of blocks. Invalid where the file is of another kind.
    JPEGReducedReader(const QByteArray &file, int eighths, const QRect &part);

    [[nodiscard]] bool isValid() const { return _isValid; }
    /// The part in the coordinates of the rows.
    [[nodiscard]] QRectF part() const { return _part; }
    [[nodiscard]] QSize size() const override { return _size; }
    [[nodiscard]] bool isOpaque() const override { return true; }
    [[nodiscard]] bool readRow(QRgb *row) override;
    void finish(QImage &image) const override;

private:
    /// A component of the picture, of which a row of units is decoded at a time.
    struct Plane
    {
        int blocksAcross = 1; ///< in a unit
        int blocksDown = 1;
        int width = 1; ///< of a block's samples
        int height = 1;
        const HuffmanTable *dc = nullptr;
        const HuffmanTable *ac = nullptr;
        int prediction = 0;
        JPEGKernels::Transform transform = nullptr;
        int lastIndex = 0;                 ///< of the coefficients that count
        std::array<float, 64> scales{};    ///< in the order of the code
        std::array<uchar, 64> positions{}; ///< in a block; kNowhere for what does not count
        qsizetype stride = 0;
        std::vector<float> samples;
    };

    [[nodiscard]] bool start(const QByteArray &file, int eighths, const QRect &part);
    [[nodiscard]] bool setUp(Plane &plane, const JPEGScan::Component &component, int eighths) const;
    [[nodiscard]] bool decodeUnits();
    [[nodiscard]] bool skipUnits(int count);
    [[nodiscard]] bool decodeFirst(Plane &plane);
    [[nodiscard]] bool skipBlock(Plane &plane);
    [[nodiscard]] bool decodeBlock(Plane &plane, float *samples);

    bool _isValid = false;
    QByteArray _file;
    JPEGScan _scan;
    std::shared_ptr<const ColourTransform> _transform;
    JPEGBits _bits;
    std::vector<Plane> _planes;
    JPEGKernels::Block _block;
    int _firstUnit = 0; ///< of those across that are decoded
    int _endUnit = 0;
    int _nextUnitRow = 0;
    int _rowsAtOnce = 1; ///< that a row of units makes
    int _nextRow = 0;    ///< of these
    QSize _size;
    QRectF _part;
};
