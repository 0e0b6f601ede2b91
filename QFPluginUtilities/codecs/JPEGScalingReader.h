#pragma once

#include "codecs/ColourProfile.h"
#include "codecs/JPEGBits.h"
#include "codecs/JPEGKernels.h"
#include "codecs/JPEGScan.h"
#include "codecs/RowReader.h"

#include <array>
#include <memory>
#include <vector>

/// Rows of a JPEG file that is about to be scaled down, at the file's size or a half, a quarter or an eighth
/// of it. Of each block it decodes the coefficients that the result can show, and passes the others several
/// at a time. Colour that has fewer samples than the rows is not smoothed between them: scaling does that.
/// For the common files: baseline, one scan, no restarts, grey or of luminance and colour differences. It
/// gives up on broken code, which a JPEGReader shows as far as it goes.
class JPEGScalingReader final : public RowReader
{
public:
    /// At `eighths` eighths of its size: 1, 2, 4 or 8. Where a part is enough, with no more around it than
    /// whole units of blocks. Invalid where the file is of another kind.
    JPEGScalingReader(const QByteArray &file, int eighths, const QRect &part);

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
        int timesAcross = 1; ///< that each sample comes in a row: 1 or 2
        int timesDown = 1;   ///< rows that each row of samples is used for: 1 or 2
        const HuffmanTable *dc = nullptr;
        const HuffmanTable *ac = nullptr;
        int prediction = 0;
        JPEGKernels::Transform transform = nullptr;
        int lastIndex = 0; ///< of the coefficients that count
        // In the order of the code, and on to where a block's last symbol may lead.
        std::array<float, 128> scales{};
        std::array<uchar, 128> positions{}; ///< in a block; kNowhere for what does not count
        qsizetype stride = 0;
        std::vector<qint16> samples;
    };

    [[nodiscard]] bool start(const QByteArray &file, int eighths, const QRect &part);
    [[nodiscard]] bool setUp(Plane &plane, const JPEGScan::Component &component, int eighths) const;
    [[nodiscard]] const qint16 *rowOf(const Plane &plane) const;
    void makeColours();
    [[nodiscard]] bool setUpColours();
    [[nodiscard]] bool decodeUnits();
    [[nodiscard]] bool skipUnits(int count);
    [[nodiscard]] static bool decodeFirst(Plane &plane, JPEGBits &bits);
    [[nodiscard]] bool skipBlock(Plane &plane);
    [[nodiscard]] bool decodeBlock(Plane &plane, qint16 *samples);

    bool _isValid = false;
    QByteArray _file;
    JPEGScan _scan;
    std::shared_ptr<const ColourTransform> _transform;
    JPEGBits _bits;
    std::vector<Plane> _planes;
    JPEGKernels::Block _block;
    std::array<std::vector<qint16>, 3> _colours;      ///< of the row: red, green and blue
    std::array<std::vector<qint16>, 3> _fewerColours; ///< the same, where each comes twice
    int _firstUnit = 0;                               ///< of those across that are decoded
    int _endUnit = 0;
    int _nextUnitRow = 0;
    int _rowsAtOnce = 1; ///< that a row of units makes
    int _nextRow = 0;    ///< of these
    QSize _size;
    QRectF _part;
};
