#pragma once

#include "codecs/HuffmanTable.h"

#include <QByteArray>
#include <QtEndian>

/// Passes the rest of a block, whose next coefficient has this index. False for bits that mean nothing.
template <typename Bits>
[[nodiscard]] bool skipCoefficients(Bits &shared, const HuffmanTable &table, int coefficient)
{
    Bits bits = shared;
    while (coefficient < 64) {
        if (bits.have() < HuffmanTable::kRunBits)
            bits.refill();
        const HuffmanTable::Run run = table.run(bits.peek(HuffmanTable::kRunBits));
        if (run.total != 0 && coefficient + run.steps < 64) {
            bits.drop(run.total);
            coefficient += run.endsBlock ? 64 : run.steps;
            continue;
        }
        // The last coefficient ends the block too; and codes may be long.
        bits.refill();
        const HuffmanTable::Entry entry = table.entry(bits.peek(16));
        if (entry.length == 0)
            return false;
        bits.drop(entry.total);
        coefficient += entry.steps;
    }
    shared = bits;
    return true;
}

/// Reads the entropy code of a JPEG scan, in which a zero follows each byte of all ones. Beyond the end,
/// which any marker is, come zeros. A value that is copied into a loop and back, so that it stays in
/// registers there.
class JPEGBits
{
public:
    explicit JPEGBits(QByteArrayView code)
        : _next(reinterpret_cast<const uchar *>(code.data())), _end(_next + code.size())
    {
    }

    /// Makes sure of 32 bits.
    void refill()
    {
        if (_have >= 32)
            return;
        if (_end - _next >= 8) {
            const auto more = qFromBigEndian<quint64>(_next);
            if (((~more - 0x0101010101010101U) & more & 0x8080808080808080U) == 0) {
                // Of the last byte there may be a part; it is the same when the byte comes as a whole.
                _window |= more >> _have;
                const int bytes = (63 - _have) / 8;
                _next += bytes;
                _have += bytes * 8;
                return;
            }
        }
        refillByBytes();
    }
    [[nodiscard]] int have() const { return _have; }
    /// 1 to 32.
    [[nodiscard]] quint32 peek(int bits) const { return static_cast<quint32>(_window >> (64 - bits)); }
    void drop(int bits)
    {
        _window <<= bits;
        _have -= bits;
    }
    /// Whether more has been read than there is.
    [[nodiscard]] bool isBeyondEnd() const { return _have < _padding; }

private:
    void refillByBytes()
    {
        for (; _have <= 56; _have += 8)
            _window |= quint64(nextByte()) << (56 - _have);
    }
    uchar nextByte()
    {
        const bool isOnes = _next != _end && *_next == 0xFF;
        if (_next == _end || (isOnes && (_end - _next < 2 || _next[1] != 0))) {
            _padding += 8;
            return 0;
        }
        const uchar byte = *_next;
        _next += isOnes ? 2 : 1;
        return byte;
    }

    const uchar *_next;
    const uchar *_end;
    quint64 _window = 0;
    int _have = 0;
    int _padding = 0; ///< bits beyond the end that are or were in the window
};
