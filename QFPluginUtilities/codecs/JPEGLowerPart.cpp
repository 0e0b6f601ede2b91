#include "codecs/JPEGLowerPart.h"

#include "codecs/JPEGBits.h"
#include "codecs/JPEGScan.h"

#include <QtEndian>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

/// Values of the first coefficients of the blocks before, which the next ones are told as differences from.
using Predictions = std::array<int, 4>;

constexpr qsizetype kPadding = 16;

/// The scan's code without the zeros that follow bytes of all ones, and with zeros after its end.
struct Code
{
    std::vector<uchar> bytes;
    qsizetype length = 0;
    bool hasEnd = false; ///< whether an end marker follows
};

Code codeOf(QByteArrayView data)
{
    Code code;
    code.bytes.resize(static_cast<size_t>(data.size() + kPadding));
    const auto *from = reinterpret_cast<const uchar *>(data.data());
    const uchar *const end = from + data.size();
    uchar *to = code.bytes.data();
    while (from != end) {
        const auto *ones =
            static_cast<const uchar *>(std::memchr(from, 0xFF, static_cast<size_t>(end - from)));
        to = std::copy(from, ones ? ones : end, to);
        if (!ones || ones + 1 == end)
            break;
        from = ones + 2;
        if (ones[1] != 0) {
            code.hasEnd = ones[1] == 0xD9;
            break;
        }
        *to++ = 0xFF;
    }
    code.length = to - code.bytes.data();
    std::fill(to, code.bytes.data() + code.bytes.size(), uchar(0));
    return code;
}

/// Reads bits. A value that is copied into a loop and back, so that it stays in registers there.
class BitReader
{
public:
    explicit BitReader(const Code &code) : _bytes(code.bytes.data()), _length(code.length) {}

    /// Makes sure of 32 bits; beyond the end they are zeros.
    void refill()
    {
        if (_have > 32 || _next > _length + 8)
            return;
        const quint64 more = qFromBigEndian<quint32>(_bytes + _next);
        _window |= more << (32 - _have);
        _have += 32;
        _next += 4;
    }
    [[nodiscard]] quint32 peek(int bits) const { return static_cast<quint32>(_window >> (64 - bits)); }
    void drop(int bits)
    {
        _window <<= bits;
        _have -= bits;
    }
    [[nodiscard]] int have() const { return _have; }
    /// In bits.
    [[nodiscard]] qsizetype position() const { return _next * 8 - _have; }

    /// The number of `bits` bits that follows; those that begin with a zero are negative.
    [[nodiscard]] int number(int bits)
    {
        if (bits == 0)
            return 0;
        const auto value = static_cast<int>(peek(bits));
        drop(bits);
        return value < 1 << (bits - 1) ? value - (1 << bits) + 1 : value;
    }

private:
    const uchar *_bytes;
    qsizetype _length;
    quint64 _window = 0;
    int _have = 0;
    qsizetype _next = 0;
};

/// Goes over blocks without decoding them.
class Skimmer
{
public:
    Skimmer(const JPEGScan &scan, const Code &code) : _scan(scan), _length(code.length), _bits(code) {}

    /// False when the code is broken or ends before.
    [[nodiscard]] bool skipUnits(qsizetype count)
    {
        for (; count > 0; --count) {
            for (qsizetype i = 0; i < _scan.components.size(); ++i) {
                const JPEGScan::Component &component = _scan.components[i];
                for (int block = 0; block < component.blocks(); ++block) {
                    if (!skipBlock(component, _predictions[static_cast<size_t>(i)]))
                        return false;
                }
            }
        }
        return _bits.position() <= _length * 8;
    }

    /// In bits.
    [[nodiscard]] qsizetype position() const { return _bits.position(); }
    [[nodiscard]] const Predictions &predictions() const { return _predictions; }

private:
    [[nodiscard]] bool skipBlock(const JPEGScan::Component &component, int &prediction)
    {
        _bits.refill();
        const HuffmanTable::Entry first =
            _scan.dcTables[static_cast<size_t>(component.dcTable)].entry(_bits.peek(16));
        constexpr int kLargest = 11;
        if (first.length == 0 || first.symbol > kLargest)
            return false;
        _bits.drop(first.length);
        prediction += _bits.number(first.symbol);
        constexpr int kFarthest = 1 << 15; // only broken code leads there
        return std::abs(prediction) <= kFarthest &&
               skipCoefficients(_bits, _scan.acTables[static_cast<size_t>(component.acTable)], 1) &&
               _bits.have() >= 0;
    }

    const JPEGScan &_scan;
    qsizetype _length;
    BitReader _bits;
    Predictions _predictions{};
};

/// Writes code, with a zero after each byte of all ones.
class CodeWriter
{
public:
    explicit CodeWriter(QByteArray &result) : _result(result) {}

    void put(quint32 bits, int count)
    {
        _window = (_window << count) | (bits & ((1U << count) - 1U));
        for (_have += count; _have >= 8; _have -= 8)
            putByte(static_cast<uchar>(_window >> (_have - 8)));
    }
    void put(HuffmanTable::Code code) { put(code.bits, code.length); }

    /// All bits of a code from a position on; the last byte is filled up with ones.
    void putRest(const Code &code, qsizetype position)
    {
        const auto *bytes = code.bytes.data();
        const auto shift = static_cast<int>(position % 8);
        qsizetype at = position / 8;
        if (at < code.length && shift != 0)
            put(bytes[at++], 8 - shift);
        for (; at + 4 <= code.length; at += 4)
            put32(qFromBigEndian<quint32>(bytes + at));
        for (; at < code.length; ++at)
            put(bytes[at], 8);
        if (_have > 0)
            put(0xFF, 8 - _have);
    }

private:
    void putByte(uchar byte)
    {
        _result.append(static_cast<char>(byte));
        if (byte == 0xFF)
            _result.append('\0');
    }
    void put32(quint32 bits)
    {
        _window = (_window << 32) | bits;
        const auto four = static_cast<quint32>(_window >> _have);
        // Whether a byte is all ones: its complement is zero.
        const quint32 complement = ~four;
        if (((complement - 0x01010101U) & ~complement & 0x80808080U) == 0) {
            const quint32 stored = qToBigEndian(four);
            _result.append(reinterpret_cast<const char *>(&stored), sizeof stored);
            return;
        }
        for (int shiftedBy = 24; shiftedBy >= 0; shiftedBy -= 8)
            putByte(static_cast<uchar>(four >> shiftedBy));
    }

    QByteArray &_result;
    quint64 _window = 0;
    int _have = 0; ///< bits of the window that are not written yet, fewer than 8
};

/// Writes a row of units without detail. Its blocks lead the predictions to where they are in the picture, by
/// the differences that the tables have codes for.
class LeadIn
{
public:
    LeadIn(const JPEGScan &scan, Predictions wanted, CodeWriter &writer)
        : _scan(scan), _wanted(wanted), _writer(writer)
    {
    }

    /// False when the tables do not suffice.
    [[nodiscard]] bool put()
    {
        for (int unit = 0; unit < _scan.unitsAcross; ++unit) {
            for (qsizetype i = 0; i < _scan.components.size(); ++i) {
                for (int block = 0; block < _scan.components[i].blocks(); ++block) {
                    if (!putBlock(_scan.components[i], _wanted[static_cast<size_t>(i)]))
                        return false;
                }
            }
        }
        return _wanted == Predictions{};
    }

private:
    [[nodiscard]] bool putBlock(const JPEGScan::Component &component, int &wanted)
    {
        const HuffmanTable &dc = _scan.dcTables[static_cast<size_t>(component.dcTable)];
        const HuffmanTable::Code end = _scan.acTables[static_cast<size_t>(component.acTable)].code(0);
        auto bits = static_cast<int>(std::bit_width(static_cast<uint>(std::abs(wanted))));
        while (bits > 0 && dc.code(bits).length == 0)
            --bits;
        const HuffmanTable::Code code = dc.code(bits);
        if (code.length == 0 || end.length == 0)
            return false;
        const int size = std::min(std::abs(wanted), (1 << bits) - 1);
        const int difference = wanted < 0 ? -size : size;
        _writer.put(code);
        if (bits > 0)
            _writer.put(static_cast<quint32>(difference > 0 ? difference : difference - 1), bits);
        _writer.put(end);
        wanted -= difference;
        return true;
    }

    const JPEGScan &_scan;
    Predictions _wanted;
    CodeWriter &_writer;
};

} // namespace

std::optional<JPEGLowerPart> JPEGLowerPart::ofFile(const QByteArray &file, double share)
{
    const auto scan = JPEGScan::ofFile(file);
    if (!scan || scan->components.size() > 4)
        return std::nullopt;
    // One row of units more, above the part: where colour is smoothed, the part's first row takes part of it.
    const int firstUnit = static_cast<int>(scan->unitsDown * share);
    if (firstUnit < 2 || firstUnit >= scan->unitsDown)
        return std::nullopt;
    const Code code = codeOf(QByteArrayView(file).sliced(scan->dataAt));
    Skimmer skimmer(*scan, code);
    if (!skimmer.skipUnits(qsizetype(scan->unitsAcross) * (firstUnit - 1)))
        return std::nullopt;

    JPEGLowerPart part;
    part.surplusRows = 2 * scan->unitRows;
    part.height = scan->height - firstUnit * scan->unitRows + part.surplusRows;
    part.file.reserve(scan->dataAt + code.length - skimmer.position() / 8 + (code.length >> 4) + kPadding);
    part.file.append(file.constData(), scan->dataAt);
    qToBigEndian(static_cast<quint16>(part.height), part.file.data() + scan->heightAt);
    CodeWriter writer(part.file);
    if (!LeadIn(*scan, skimmer.predictions(), writer).put())
        return std::nullopt;
    writer.putRest(code, skimmer.position());
    if (code.hasEnd)
        part.file.append("\xFF\xD9");
    return part;
}
