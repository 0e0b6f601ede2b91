#pragma once

#include "codecs/ColourProfile.h"
#include "codecs/PSDLayout.h"
#include "codecs/RowReader.h"

#include <array>
#include <vector>

/// Rows of a composite.
class PSDReader final : public RowReader
{
public:
    /// Both must outlive the reader.
    PSDReader(const PSDLayout &layout, const QByteArray &file);

    [[nodiscard]] QSize size() const override { return _layout.size; }
    [[nodiscard]] bool isOpaque() const override { return !_hasAlpha; }
    [[nodiscard]] bool readRow(QRgb *row) override;
    void finish(QImage &image) const override;

private:
    using Plane = std::vector<uchar>;

    [[nodiscard]] QByteArrayView nextRow(size_t channel);
    [[nodiscard]] bool readPlane(size_t channel);
    void composeColours(QRgb *row);
    void composeCMYK(QRgb *row);
    void applyAlpha(QRgb *row) const;
    void convertTransparent(QRgb *row) const;

    const PSDLayout &_layout;
    QByteArrayView _file;
    bool _hasAlpha;
    std::shared_ptr<const ColourTransform> _transform;
    QList<PSDLayout::Channel> _at; ///< what comes next of each channel
    std::vector<Plane> _planes;    ///< a row of each channel
    Plane _inks;
};
