#include "codecs/JPEGReducedReader.h"

#include "codecs/JPEGDecoder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

constexpr uchar kNowhere = 64;

/// Columns and rows of the coefficients in the order of the code.
std::array<uchar, 64> zigzag()
{
    std::array<uchar, 64> order{};
    int index = 0;
    for (int diagonal = 0; diagonal < 15; ++diagonal) {
        for (int step = 0; step <= diagonal; ++step) {
            const int row = diagonal % 2 == 0 ? diagonal - step : step;
            const int column = diagonal - row;
            if (row < 8 && column < 8)
                order[size_t(index++)] = uchar(row * 8 + column);
        }
    }
    return order;
}

/// A length in pixels as samples of the reduced picture.
int reduced(int pixels, int eighths)
{
    return (pixels * eighths + 7) / 8;
}

} // namespace

JPEGReducedReader::JPEGReducedReader(const QByteArray &file, int eighths, const QRect &part)
    : _file(file), _bits(QByteArrayView())
{
    _isValid = start(file, eighths, part);
}

bool JPEGReducedReader::start(const QByteArray &file, int eighths, const QRect &part)
{
    JPEGDecoder decoder(file);
    auto scan = JPEGScan::ofFile(file);
    if (!scan || !decoder.readHeader() || !(decoder.isGrey() || decoder.isYCbCr()))
        return false;
    _scan = std::move(*scan);
    _transform = ColourTransform::toSRGB(decoder.profile(), decoder.isGrey() ? ColourTransform::From::Grey
                                                                             : ColourTransform::From::RGB);
    const int unitWidth = 8 * _scan.components.first().across;
    _firstUnit = part.left() / unitWidth;
    _endUnit = part.right() / unitWidth + 1;
    for (const JPEGScan::Component &component : _scan.components) {
        if (!setUp(_planes.emplace_back(), component, eighths))
            return false;
    }
    _rowsAtOnce = _scan.unitRows * eighths / 8;
    _nextRow = _rowsAtOnce;

    const int skipped = part.top() / _scan.unitRows;
    const int left = _firstUnit * unitWidth * eighths / 8;
    const int top = skipped * _rowsAtOnce;
    const double scale = eighths / 8.0;
    _part =
        QRectF(part.x() * scale - left, part.y() * scale - top, part.width() * scale, part.height() * scale);
    _size = {std::min(_endUnit * unitWidth * eighths / 8, reduced(_scan.width, eighths)) - left,
             reduced(_scan.height, eighths) - top};
    _bits = JPEGBits(QByteArrayView(_file).sliced(_scan.dataAt));
    for (; _nextUnitRow < skipped; ++_nextUnitRow) {
        if (!skipUnits(_scan.unitsAcross))
            return false;
    }
    return !_size.isEmpty();
}

/// Colour of less than full resolution is decoded at the size of the rest.
bool JPEGReducedReader::setUp(Plane &plane, const JPEGScan::Component &component, int eighths) const
{
    static const std::array<uchar, 64> order = zigzag();
    const JPEGScan::Component &first = _scan.components.first();
    const auto &quantiser = _scan.quantisers[size_t(component.quantiser)];
    constexpr int kLargestFactor =
        255; // larger ones are for deeper pictures, and might lead beyond all numbers
    if (!quantiser || *std::max_element(quantiser->begin(), quantiser->end()) > kLargestFactor ||
        first.across % component.across != 0 || first.down % component.down != 0)
        return false;
    plane.blocksAcross = component.across;
    plane.blocksDown = component.down;
    plane.width = eighths * first.across / component.across;
    plane.height = eighths * first.down / component.down;
    if (plane.width > 8 || plane.height > 8 || (plane.width & (plane.width - 1)) != 0 ||
        (plane.height & (plane.height - 1)) != 0)
        return false;
    plane.dc = &_scan.dcTables[size_t(component.dcTable)];
    plane.ac = &_scan.acTables[size_t(component.acTable)];
    plane.transform = JPEGKernels::transform(plane.width, plane.height);
    for (int index = 0; index < 64; ++index) {
        const int row = order[size_t(index)] / 8;
        const int column = order[size_t(index)] % 8;
        const bool counts = column < plane.width && row < plane.height;
        plane.positions[size_t(index)] = counts ? order[size_t(index)] : kNowhere;
        plane.scales[size_t(index)] = float((*quantiser)[size_t(index)]) * JPEGKernels::scale(column, row);
        if (counts)
            plane.lastIndex = index;
    }
    plane.stride = qsizetype(_endUnit - _firstUnit) * plane.blocksAcross * plane.width;
    plane.samples.resize(size_t(plane.stride) * size_t(plane.blocksDown * plane.height));
    return true;
}

bool JPEGReducedReader::readRow(QRgb *row)
{
    if (_nextRow == _rowsAtOnce) {
        if (!decodeUnits())
            return false;
        _nextRow = 0;
    }
    const auto samples = [this](size_t plane) {
        return _planes[plane].samples.data() + _nextRow * _planes[plane].stride;
    };
    if (_planes.size() == 1)
        JPEGKernels::greyToPixels(samples(0), row, _size.width());
    else
        JPEGKernels::toPixels(samples(0), samples(1), samples(2), row, _size.width());
    ++_nextRow;
    return true;
}

void JPEGReducedReader::finish(QImage &image) const
{
    if (_transform)
        _transform->apply(image);
}

/// The next row of units.
bool JPEGReducedReader::decodeUnits()
{
    if (_nextUnitRow++ == _scan.unitsDown || !skipUnits(_firstUnit))
        return false;
    for (int unit = 0; unit < _endUnit - _firstUnit; ++unit) {
        for (Plane &plane : _planes) {
            for (int down = 0; down < plane.blocksDown; ++down) {
                float *samples = plane.samples.data() + qsizetype(down) * plane.height * plane.stride +
                                 qsizetype(unit) * plane.blocksAcross * plane.width;
                for (int across = 0; across < plane.blocksAcross; ++across, samples += plane.width) {
                    if (!decodeBlock(plane, samples))
                        return false;
                }
            }
        }
    }
    return skipUnits(_scan.unitsAcross - _endUnit);
}

bool JPEGReducedReader::skipUnits(int count)
{
    for (; count > 0; --count) {
        for (Plane &plane : _planes) {
            for (int block = 0; block < plane.blocksAcross * plane.blocksDown; ++block) {
                if (!skipBlock(plane))
                    return false;
            }
        }
    }
    return !_bits.isBeyondEnd();
}

/// The first coefficient, told as a difference from the one in the block before.
bool JPEGReducedReader::decodeFirst(Plane &plane)
{
    constexpr int kLargest = 11;
    constexpr int kFarthest = 1 << 15; // only broken code leads there
    _bits.refill();
    const HuffmanTable::Entry entry = plane.dc->entry(_bits.peek(16));
    if (entry.length == 0 || entry.symbol > kLargest)
        return false;
    _bits.drop(entry.length);
    plane.prediction += entry.symbol == 0 ? 0 : JPEGBits::number(_bits.peek(entry.symbol), entry.symbol);
    _bits.drop(entry.symbol);
    return std::abs(plane.prediction) <= kFarthest;
}

bool JPEGReducedReader::skipBlock(Plane &plane)
{
    return decodeFirst(plane) && skipCoefficients(_bits, *plane.ac, 1);
}

bool JPEGReducedReader::decodeBlock(Plane &plane, float *samples)
{
    if (!decodeFirst(plane))
        return false;
    float *const coefficients = _block.coefficients;
    std::fill_n(coefficients, plane.height * 8, 0.0F);
    coefficients[0] = float(plane.prediction) * plane.scales[0];
    int lastPosition = 0;
    JPEGBits bits = _bits;
    int index = 1;
    while (index <= plane.lastIndex) {
        bits.refill();
        const HuffmanTable::Entry entry = plane.ac->entry(bits.peek(16));
        index += entry.steps;
        if (entry.length == 0 || (index > 64 && (entry.symbol & 0x0F) != 0))
            return false;
        const quint32 codeAndNumber = bits.peek(entry.total);
        bits.drop(entry.total);
        const int length = entry.symbol & 0x0F;
        const uchar position = plane.positions[size_t(std::min(index, 64) - 1)];
        if (length == 0 || position == kNowhere)
            continue;
        const int value = JPEGBits::number(codeAndNumber & ((1U << length) - 1), length);
        coefficients[position] = float(value) * plane.scales[size_t(index - 1)];
        lastPosition = std::max<int>(lastPosition, position);
    }
    _bits = bits;
    if (!skipCoefficients(_bits, *plane.ac, index))
        return false;
    _block.isFlat = lastPosition == 0;
    _block.rows = lastPosition / 8 + 1;
    plane.transform(_block, samples, plane.stride);
    return true;
}
