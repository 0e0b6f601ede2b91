#pragma once

#include <QByteArray>

#include <cstdint>
#include <vector>

/// A table of JPEG's entropy code: from bits to symbols.
class HuffmanTable
{
public:
    /// Of the look-up for codes; small enough for all tables of a picture to stay in the nearest cache.
    static constexpr int kCodeBits = 9;
    static constexpr int kNumberBits = 11;
    static constexpr int kRunBits = 13;

    /// What the next bits begin with.
    struct Entry
    {
        uint8_t length = 0; ///< of the code, in bits; 0 when it is longer than the look-up or there is none
        uint8_t symbol = 0;
        uint8_t total = 0; ///< of the code and the number after it, whose length is the symbol's low half
        uint8_t steps = 0; ///< coefficients that the symbol goes on by; 64 for the end of a block
    };

    /// A coefficient whose code and number the next bits hold whole.
    struct Number
    {
        int16_t value = 0; ///< 0 for symbols without a number
        uint8_t total = 0; ///< bits; 0 when they are more than the look-up has, or there is no such code
        uint8_t steps = 0; ///< as in an entry
    };

    /// As many symbols with their numbers as the next bits hold whole; the last one may end the block.
    struct Run
    {
        uint16_t total : 5 = 0; ///< bits; 0 when not even one is whole
        uint16_t steps : 6 = 0; ///< coefficients, without the end; fewer than a block has
        uint16_t endsBlock : 1 = 0;
    };

    HuffmanTable() = default;
    /// From the number of codes of each length and the symbols in order of their codes. Invalid when these do
    /// not make a code. Only tables of the coefficients after the first have numbers.
    HuffmanTable(QByteArrayView counts, QByteArrayView symbols, bool hasNumbers);
    /// Must come before the first run: making them takes as long as decoding some thousand blocks.
    void makeRuns();

    /// What a number of `bits` bits, at least one, stands for: those that begin with a zero are negative.
    [[nodiscard]] static int signedNumber(uint32_t number, int bits)
    {
        // Without a branch: half of all numbers are negative, in no order.
        const auto value = static_cast<int>(number);
        const int ifNegative = (value >> (bits - 1)) - 1;
        return value + (ifNegative & (1 - (1 << bits)));
    }

    [[nodiscard]] bool isValid() const { return !_entries.empty(); }
    /// For the next 16 bits.
    [[nodiscard]] Entry entry(uint32_t bits) const
    {
        const Entry entry = _entries[bits >> (16 - kCodeBits)];
        return entry.length != 0 ? entry : longEntry(bits);
    }
    /// For the next `kNumberBits` bits.
    [[nodiscard]] Number number(uint32_t bits) const { return _numbers[bits]; }
    /// For the next `kRunBits` bits.
    [[nodiscard]] Run run(uint32_t bits) const { return _runs[bits]; }

private:
    struct LongCode
    {
        uint32_t first = 0; ///< as 16 bits
        uint32_t end = 0;
        Entry entry;
    };

    [[nodiscard]] Entry longEntry(uint32_t bits) const;
    void add(uint32_t code, int length, uint8_t symbol);
    [[nodiscard]] Number numberOf(uint32_t bits) const;
    [[nodiscard]] Run runOf(uint32_t bits) const;

    std::vector<Entry> _entries;
    std::vector<Number> _numbers;
    std::vector<Run> _runs;
    std::vector<LongCode> _longCodes;
};
