#include "codecs/PSDReader.h"

#include "codecs/PlainCMYK.h"

#include <QtEndian>

#include <algorithm>

namespace {

using From = ColourTransform::From;
using Mode = PSDLayout::Mode;

From kindOf(Mode mode)
{
    if (mode == Mode::CMYK)
        return From::InvertedCMYK;
    return mode == Mode::Grey || mode == Mode::Duotone ? From::Grey : From::RGB;
}

/// Bytes that runs and literals stand for. False when there are not enough for the row; what is too much for
/// it is left out.
bool unpack(QByteArrayView packed, std::vector<uchar> &row)
{
    const auto *from = reinterpret_cast<const uchar *>(packed.data());
    const uchar *const end = from + packed.size();
    auto to = row.begin();
    while (to != row.end() && from != end) {
        constexpr uchar kNothing = 128;
        const uchar code = *from++;
        if (code == kNothing)
            continue;
        const qsizetype wanted = code > kNothing ? 257 - code : code + 1;
        const qsizetype count = std::min<qsizetype>(wanted, row.end() - to);
        if (code > kNothing) {
            if (from == end)
                return false;
            to = std::fill_n(to, count, *from++);
            continue;
        }
        if (end - from < count)
            return false;
        to = std::copy_n(from, count, to);
        from += count;
    }
    return to == row.end();
}

/// In place, from components of two bytes to components of one.
void narrow(std::vector<uchar> &row)
{
    for (size_t i = 0; i < row.size() / 2; ++i) {
        const uint value = qFromBigEndian<quint16>(row.data() + 2 * i);
        row[i] = static_cast<uchar>((value * 255U + 32767U) / 65535U);
    }
}

bool hasAlpha(const PSDLayout &layout)
{
    return layout.hasTransparency ||
           std::any_of(layout.colours.begin(), layout.colours.end(), [](QRgb colour) { return colour == 0; });
}

} // namespace

PSDReader::PSDReader(const PSDLayout &layout, const QByteArray &file)
    : _layout(layout), _file(file), _hasAlpha(hasAlpha(layout)),
      _transform(ColourTransform::toSRGB(layout.profile, kindOf(layout.mode))), _at(layout.channels),
      _planes(static_cast<size_t>(layout.channels.size()), Plane(static_cast<size_t>(layout.rowSize()))),
      _inks(layout.mode == Mode::CMYK ? 4 * static_cast<size_t>(layout.size.width()) : 0)
{
}

/// The stored bytes of a channel's next row; the layout has checked that they are there.
QByteArrayView PSDReader::nextRow(size_t channel)
{
    PSDLayout::Channel &at = _at[static_cast<qsizetype>(channel)];
    qsizetype length = _layout.rowSize();
    if (_layout.isPacked) {
        const char *stored = _file.data() + at.lengths;
        length = _layout.lengthSize == 4 ? qsizetype(qFromBigEndian<quint32>(stored))
                                         : qFromBigEndian<quint16>(stored);
        at.lengths += _layout.lengthSize;
    }
    const QByteArrayView row = _file.sliced(at.data, length);
    at.data += length;
    return row;
}

bool PSDReader::readPlane(size_t channel)
{
    const QByteArrayView stored = nextRow(channel);
    Plane &plane = _planes[channel];
    if (_layout.isPacked && !unpack(stored, plane))
        return false;
    if (!_layout.isPacked)
        std::copy(stored.begin(), stored.end(), plane.begin());
    if (_layout.depth == 16)
        narrow(plane);
    return true;
}

bool PSDReader::readRow(QRgb *row)
{
    for (size_t channel = 0; channel < _planes.size(); ++channel) {
        if (!readPlane(channel))
            return false;
    }
    if (_layout.mode == Mode::CMYK)
        composeCMYK(row);
    else
        composeColours(row);
    if (_layout.hasTransparency)
        applyAlpha(row);
    if (_hasAlpha && _transform && _inks.empty())
        convertTransparent(row);
    return true;
}

void PSDReader::finish(QImage &image) const
{
    if (!_hasAlpha && _transform && _inks.empty())
        _transform->apply(image);
}

void PSDReader::convertTransparent(QRgb *row) const
{
    const int width = _layout.size.width();
    std::transform(row, row + width, row, [](QRgb pixel) { return qUnpremultiply(pixel); });
    _transform->apply(row, width);
    std::transform(row, row + width, row, [](QRgb pixel) { return qPremultiply(pixel); });
}

void PSDReader::composeColours(QRgb *row)
{
    const Plane &first = _planes[0];
    const int width = _layout.size.width();
    for (int x = 0; x < width; ++x) {
        const auto i = static_cast<size_t>(x);
        switch (_layout.mode) {
        case Mode::Bitmap:
            row[x] = (first[i / 8] >> (7 - i % 8) & 1) != 0 ? 0xFF000000 : 0xFFFFFFFF;
            break;
        case Mode::Indexed:
            row[x] = _layout.colours[first[i]];
            break;
        case Mode::RGB:
            row[x] = qRgb(first[i], _planes[1][i], _planes[2][i]);
            break;
        default:
            row[x] = qRgb(first[i], first[i], first[i]);
        }
    }
}

void PSDReader::composeCMYK(QRgb *row)
{
    const int width = _layout.size.width();
    for (size_t x = 0; x < static_cast<size_t>(width); ++x) {
        for (size_t ink = 0; ink < 4; ++ink)
            _inks[4 * x + ink] = _planes[ink][x];
    }
    if (_transform)
        _transform->applyToCMYK(_inks.data(), row, width);
    else
        PlainCMYK::convert(_inks.data(), row, width, true);
}

/// The composite lies on white: what white has added goes away, which leaves premultiplied components.
void PSDReader::applyAlpha(QRgb *row) const
{
    const Plane &alphas = _planes.back();
    for (int x = 0; x < _layout.size.width(); ++x) {
        const int alpha = alphas[static_cast<size_t>(x)];
        const auto component = [&](int value) { return std::clamp(value - (255 - alpha), 0, alpha); };
        row[x] = qRgba(component(qRed(row[x])), component(qGreen(row[x])), component(qBlue(row[x])), alpha);
    }
}
