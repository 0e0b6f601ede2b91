#include "codecs/JPEGScalingReader.h"

#include "codecs/JPEGDecoder.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

namespace {

/// Beyond the block, where there is room for one.
constexpr uchar kNowhere = 64;
constexpr int kBlock = 8; ///< pixels of its side

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

JPEGKernels::Colours colours(std::array<std::vector<qint16>, 3> &rows)
{
    return {rows[0].data(), rows[1].data(), rows[2].data()};
}

/// A coefficient of more bits than the look-up has; of none for bits that mean nothing.
HuffmanTable::Number longNumber(JPEGBits &bits, const HuffmanTable &table)
{
    bits.refill();
    const HuffmanTable::Entry entry = table.entry(bits.peek(16));
    if (entry.length == 0)
        return {};
    const int length = entry.symbol & 0x0F;
    if (length == 0)
        return {0, entry.total, entry.steps};
    const quint32 number = bits.peek(entry.total) & ((1U << length) - 1);
    return {qint16(HuffmanTable::signedNumber(number, length)), entry.total, entry.steps};
}

} // namespace

JPEGScalingReader::JPEGScalingReader(const QByteArray &file, int eighths, const QRect &part)
    : _file(file), _bits(QByteArrayView())
{
    _isValid = start(file, eighths, part);
}

bool JPEGScalingReader::start(const QByteArray &file, int eighths, const QRect &part)
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
    if (!setUpColours())
        return false;
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
    if (eighths < kBlock || skipped > 0 || _endUnit - _firstUnit < _scan.unitsAcross) {
        for (HuffmanTable &table : _scan.acTables) {
            if (table.isValid())
                table.makeRuns();
        }
    }
    _bits = JPEGBits(QByteArrayView(_file).sliced(_scan.dataAt));
    for (; _nextUnitRow < skipped; ++_nextUnitRow) {
        if (!skipUnits(_scan.unitsAcross))
            return false;
    }
    return !_size.isEmpty();
}

/// Colour of less than full resolution is decoded at the size of the rest, as far as its blocks go.
bool JPEGScalingReader::setUp(Plane &plane, const JPEGScan::Component &component, int eighths) const
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
    const int width = eighths * first.across / component.across;
    const int height = eighths * first.down / component.down;
    if (!std::has_single_bit(unsigned(width)) || !std::has_single_bit(unsigned(height)) ||
        width > 2 * kBlock || height > 2 * kBlock)
        return false;
    plane.width = std::min(width, kBlock);
    plane.height = std::min(height, kBlock);
    plane.timesAcross = width / plane.width;
    plane.timesDown = height / plane.height;
    plane.dc = &_scan.dcTables[size_t(component.dcTable)];
    plane.ac = &_scan.acTables[size_t(component.acTable)];
    plane.positions.fill(kNowhere);
    plane.transform = JPEGKernels::transform(plane.width, plane.height);
    for (int index = 0; index < 64; ++index) {
        const int row = order[size_t(index)] / 8;
        const int column = order[size_t(index)] % 8;
        const bool counts = column < plane.width && row < plane.height;
        plane.positions[size_t(index)] =
            counts ? JPEGKernels::position(plane.width, plane.height, column, row) : kNowhere;
        plane.scales[size_t(index)] =
            float((*quantiser)[size_t(index)]) * JPEGKernels::scale(plane.width, plane.height, column, row);
        if (counts)
            plane.lastIndex = index;
    }
    plane.stride = qsizetype(_endUnit - _firstUnit) * plane.blocksAcross * plane.width;
    plane.samples.resize(size_t(plane.stride) * size_t(plane.blocksDown * plane.height));
    return true;
}

bool JPEGScalingReader::setUpColours()
{
    if (_planes.size() == 1)
        return true;
    const Plane &blue = _planes[1];
    const Plane &red = _planes[2];
    for (size_t i = 0; i < _colours.size(); ++i) {
        _colours[i].resize(size_t(blue.stride) * size_t(blue.timesAcross));
        _fewerColours[i].resize(size_t(blue.stride));
    }
    return blue.timesAcross == red.timesAcross && blue.timesDown == red.timesDown;
}

bool JPEGScalingReader::readRow(QRgb *row)
{
    if (_nextRow == _rowsAtOnce) {
        if (!decodeUnits())
            return false;
        _nextRow = 0;
    }
    if (_planes.size() == 1) {
        JPEGKernels::greyToPixels(rowOf(_planes[0]), row, _size.width());
    } else {
        if (_nextRow % _planes[1].timesDown == 0)
            makeColours();
        JPEGKernels::toPixels(rowOf(_planes[0]), colours(_colours), row, _size.width());
    }
    ++_nextRow;
    return true;
}

/// What the plane has for the next row.
const qint16 *JPEGScalingReader::rowOf(const Plane &plane) const
{
    return plane.samples.data() + _nextRow / plane.timesDown * plane.stride;
}

void JPEGScalingReader::makeColours()
{
    const Plane &blue = _planes[1];
    const Plane &red = _planes[2];
    const int count = int(blue.stride);
    if (blue.timesAcross == 1) {
        JPEGKernels::toColours(rowOf(blue), rowOf(red), colours(_colours), count);
        return;
    }
    JPEGKernels::toColours(rowOf(blue), rowOf(red), colours(_fewerColours), count);
    for (size_t i = 0; i < _colours.size(); ++i)
        JPEGKernels::repeatEach(_fewerColours[i].data(), _colours[i].data(), count);
}

void JPEGScalingReader::finish(QImage &image) const
{
    if (_transform)
        _transform->apply(image);
}

/// The next row of units.
bool JPEGScalingReader::decodeUnits()
{
    if (_nextUnitRow++ == _scan.unitsDown || !skipUnits(_firstUnit))
        return false;
    for (int unit = 0; unit < _endUnit - _firstUnit; ++unit) {
        for (Plane &plane : _planes) {
            for (int down = 0; down < plane.blocksDown; ++down) {
                qint16 *samples = plane.samples.data() + qsizetype(down) * plane.height * plane.stride +
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

bool JPEGScalingReader::skipUnits(int count)
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
inline bool JPEGScalingReader::decodeFirst(Plane &plane, JPEGBits &bits)
{
    constexpr int kLargest = 11;
    constexpr int kFarthest = 1 << 15; // only broken code leads there
    bits.refill();
    const HuffmanTable::Entry entry = plane.dc->entry(bits.peek(16));
    if (entry.length == 0 || entry.symbol > kLargest)
        return false;
    bits.drop(entry.length);
    plane.prediction +=
        entry.symbol == 0 ? 0 : HuffmanTable::signedNumber(bits.peek(entry.symbol), entry.symbol);
    bits.drop(entry.symbol);
    return std::abs(plane.prediction) <= kFarthest;
}

bool JPEGScalingReader::skipBlock(Plane &plane)
{
    return decodeFirst(plane, _bits) && skipCoefficients(_bits, *plane.ac, 1);
}

bool JPEGScalingReader::decodeBlock(Plane &plane, qint16 *samples)
{
    JPEGBits bits = _bits;
    if (!decodeFirst(plane, bits))
        return false;
    float *const coefficients = _block.coefficients;
    std::fill_n(coefficients, plane.height * 8, 0.0F);
    coefficients[0] = float(plane.prediction) * plane.scales[0];
    int lastPosition = 0;
    HuffmanTable::Number number;
    int index = 1;
    while (index <= plane.lastIndex) {
        if (bits.have() < HuffmanTable::kNumberBits)
            bits.refill();
        number = plane.ac->number(bits.peek(HuffmanTable::kNumberBits));
        if (number.total == 0) {
            number = longNumber(bits, *plane.ac);
            if (number.total == 0)
                return false;
        }
        bits.drop(number.total);
        index += number.steps;
        // Symbols without a number write a zero where there is one, or nowhere.
        const uchar position = plane.positions[size_t(index - 1)];
        coefficients[position] = float(number.value) * plane.scales[size_t(index - 1)];
        lastPosition = std::max(lastPosition, position % kNowhere);
    }
    _bits = bits;
    if ((index > 64 && number.value != 0) || (index < 64 && !skipCoefficients(_bits, *plane.ac, index)))
        return false;
    _block.isFlat = lastPosition == 0;
    _block.rows = lastPosition / 8 + 1;
    plane.transform(_block, samples, plane.stride);
    return true;
}
