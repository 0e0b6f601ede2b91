#pragma once

#include "codecs/ColourProfile.h"
#include "codecs/PNGLayout.h"
#include "codecs/RowReader.h"

#include <array>
#include <vector>

/// Rows of a PNG file of 8 bits a component that is neither interlaced nor has a transparent colour. Holds
/// the pixels as they are in the file, unpacked.
class PNGReader final : public RowReader
{
public:
    [[nodiscard]] static bool canRead(const PNGLayout &layout);

    /// The layout must outlive the reader. An invalid reader when the data are broken.
    explicit PNGReader(const PNGLayout &layout);

    [[nodiscard]] bool isValid() const { return !_unpacked.isNull(); }

    [[nodiscard]] QSize size() const override { return _layout.size; }
    [[nodiscard]] bool isOpaque() const override { return _isOpaque; }
    [[nodiscard]] bool readRow(QRgb *row) override;
    void finish(QImage &image) const override;

private:
    void convert(const uchar *bytes, QRgb *row) const;

    const PNGLayout &_layout;
    bool _isOpaque;
    std::shared_ptr<const ColourTransform> _transform;
    std::vector<QRgb> _palette;
    QByteArray _unpacked;
    qsizetype _position = 0;
    std::array<std::vector<uchar>, 2> _rows; ///< this row and the one above, with margins
};
