#include "codecs/PNGReader.h"

#include "codecs/Deflate.h"
#include "codecs/PNGFilters.h"
#include "imaging/Vectorised.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

using Colours = PNGLayout::Colours;
using From = ColourTransform::From;
using PNGFilters::kMargin;

qsizetype rowLength(const PNGLayout &layout)
{
    return qsizetype(layout.size.width()) * layout.channels();
}

QF_VECTORISED void convertRGB(const uchar *bytes, QRgb *row, qsizetype width)
{
    for (qsizetype x = 0; x < width; ++x)
        row[x] = 0xFF000000U | (uint(bytes[3 * x]) << 16) | (uint(bytes[3 * x + 1]) << 8) | bytes[3 * x + 2];
}

QF_VECTORISED void convertRGBA(const uchar *bytes, QRgb *row, qsizetype width)
{
    for (qsizetype x = 0; x < width; ++x)
        row[x] = (uint(bytes[4 * x + 3]) << 24) | (uint(bytes[4 * x]) << 16) | (uint(bytes[4 * x + 1]) << 8) |
                 bytes[4 * x + 2];
}

/// As qPremultiply, in a form that is done for many pixels at a time.
QF_VECTORISED void premultiply(QRgb *row, int width)
{
    for (int x = 0; x < width; ++x) {
        const uint pixel = row[x];
        const uint alpha = pixel >> 24;
        uint odd = (pixel & 0x00FF00FFU) * alpha;
        odd = ((odd + ((odd >> 8) & 0x00FF00FFU) + 0x00800080U) >> 8) & 0x00FF00FFU;
        uint even = ((pixel >> 8) & 0xFFU) * alpha;
        even = (even + ((even >> 8) & 0xFFU) + 0x80U) & 0xFF00U;
        row[x] = odd | even | (alpha << 24);
    }
}

} // namespace

bool PNGReader::canRead(const PNGLayout &layout)
{
    constexpr int kDepth = 8;
    return layout.depth == kDepth && !layout.isInterlaced && !layout.hasKey;
}

PNGReader::PNGReader(const PNGLayout &layout)
    : _layout(layout), _isOpaque(layout.isOpaque()),
      _transform(ColourTransform::toSRGB(
          layout.profile, layout.channels() < 3 && layout.palette.isEmpty() ? From::Grey : From::RGB)),
      _palette(layout.palette.begin(), layout.palette.end()),
      _unpacked(Deflate::inflated(layout.data, (rowLength(layout) + 1) * layout.size.height()))
{
    for (auto &row : _rows)
        row.resize(static_cast<size_t>(rowLength(layout) + 2 * kMargin));
}

bool PNGReader::readRow(QRgb *row)
{
    const qsizetype length = rowLength(_layout);
    const auto *packed = reinterpret_cast<const uchar *>(_unpacked.constData()) + _position;
    uchar *const bytes = _rows[0].data() + kMargin;
    std::memcpy(bytes, packed + 1, static_cast<size_t>(length));
    if (!PNGFilters::undo(*packed, bytes, _rows[1].data() + kMargin, length, _layout.channels()))
        return false;
    convert(bytes, row);
    if (!_isOpaque) {
        if (_transform)
            _transform->apply(row, _layout.size.width());
        premultiply(row, _layout.size.width());
    }
    _position += length + 1;
    std::swap(_rows[0], _rows[1]);
    return true;
}

/// Pixels that are not premultiplied yet.
void PNGReader::convert(const uchar *bytes, QRgb *row) const
{
    const int width = _layout.size.width();
    switch (_layout.colours) {
    case Colours::RGB:
        convertRGB(bytes, row, width);
        break;
    case Colours::RGBA:
        convertRGBA(bytes, row, width);
        break;
    case Colours::Grey:
        std::transform(bytes, bytes + width, row, [](uchar grey) { return qRgb(grey, grey, grey); });
        break;
    case Colours::Indexed:
        std::transform(bytes, bytes + width, row, [this](uchar index) { return _palette[index]; });
        break;
    case Colours::GreyAlpha:
        for (int x = 0; x < width; ++x, bytes += 2)
            row[x] = qRgba(bytes[0], bytes[0], bytes[0], bytes[1]);
        break;
    }
}

void PNGReader::finish(QImage &image) const
{
    if (_isOpaque && _transform)
        _transform->apply(image);
}
