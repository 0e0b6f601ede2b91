#include "codecs/JPEGReader.h"

#include "codecs/PlainCMYK.h"

#include <algorithm>
#include <cmath>

namespace {

using From = ColourTransform::From;
using Rows = JPEGDecoder::Rows;

/// Colour of less than full resolution is smoothed across the border of a part: pixels beside it do not
/// count.
constexpr int kBorder = 2;

} // namespace

JPEGReader::JPEGReader(const QByteArray &file, int eighths, const QRect &part) : _decoder(file)
{
    _isValid = start(eighths, part);
}

bool JPEGReader::start(int eighths, const QRect &part)
{
    if (!_decoder.readHeader())
        return false;
    _transform = ColourTransform::toSRGB(_decoder.profile(), colours());
    if (!_decoder.start(eighths))
        return false;
    const double scale = eighths / 8.0;
    _part = {part.x() * scale, part.y() * scale, part.width() * scale, part.height() * scale};
    _size = _decoder.reducedSize();
    if (part != QRect(QPoint(), _decoder.size()) && !passOver(_part))
        return false;
    if (_decoder.rows() != Rows::Pixels)
        _inks.resize(4 * static_cast<size_t>(_size.width()));
    return true;
}

/// Leaves out columns on both sides and rows above.
bool JPEGReader::passOver(QRectF &part)
{
    int x = std::max(static_cast<int>(part.left()) - kBorder, 0);
    int width = std::min(static_cast<int>(std::ceil(part.right())) + kBorder, _size.width()) - x;
    const int y = std::max(static_cast<int>(part.top()) - kBorder, 0);
    if (!_decoder.keepColumns(&x, &width) || !_decoder.skipRows(y))
        return false;
    _size = {width, _size.height() - y};
    part.translate(-x, -y);
    return true;
}

From JPEGReader::colours() const
{
    if (_decoder.rows() == Rows::Pixels)
        return _decoder.isGrey() ? From::Grey : From::RGB;
    return _decoder.rows() == Rows::CMYK ? From::CMYK : From::InvertedCMYK;
}

bool JPEGReader::readRow(QRgb *row)
{
    if (_inks.empty())
        return _decoder.readRow(row);
    if (!_decoder.readRow(_inks.data()))
        return false;
    if (_transform)
        _transform->applyToCMYK(_inks.data(), row, _size.width());
    else
        PlainCMYK::convert(_inks.data(), row, _size.width(), _decoder.rows() == Rows::InvertedCMYK);
    return true;
}

void JPEGReader::finish(QImage &image) const
{
    if (_transform && _inks.empty())
        _transform->apply(image);
}
