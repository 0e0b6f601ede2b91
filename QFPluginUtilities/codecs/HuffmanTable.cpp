#include "codecs/HuffmanTable.h"

#include <algorithm>

namespace {

constexpr int kLongestCode = 16;

/// Coefficients that a symbol of runs and sizes goes on by.
uint8_t stepsOf(uint8_t symbol)
{
    constexpr uint8_t kZeros = 0xF0;
    if (symbol == kZeros)
        return 16;
    return (symbol & 0x0F) == 0 ? 64 : static_cast<uint8_t>((symbol >> 4) + 1);
}

} // namespace

HuffmanTable::HuffmanTable(QByteArrayView counts, QByteArrayView symbols, bool hasNumbers)
{
    _entries.resize(size_t(1) << kCodeBits);
    uint32_t code = 0;
    qsizetype next = 0;
    for (int length = 1; length <= kLongestCode; ++length, code <<= 1) {
        for (int i = 0; i < static_cast<uchar>(counts[length - 1]); ++i, ++code, ++next) {
            if (next >= symbols.size() || code >= 1U << length) {
                _entries.clear();
                return;
            }
            add(code, length, static_cast<uint8_t>(symbols[next]));
        }
    }
    for (uint32_t bits = 0; hasNumbers && bits < 1U << kNumberBits; ++bits)
        _numbers.push_back(numberOf(bits));
}

void HuffmanTable::makeRuns()
{
    for (auto bits = static_cast<uint32_t>(_runs.size()); bits < 1U << kRunBits; ++bits)
        _runs.push_back(runOf(bits));
}

HuffmanTable::Number HuffmanTable::numberOf(uint32_t bits) const
{
    const Entry symbol = entry(bits << (kLongestCode - kNumberBits));
    if (symbol.length == 0 || symbol.total > kNumberBits)
        return {};
    const int length = symbol.total - symbol.length;
    const uint32_t number = (bits >> (kNumberBits - symbol.total)) & ((1U << length) - 1);
    const int value = length == 0 ? 0 : signedNumber(number, length);
    return {static_cast<int16_t>(value), symbol.total, symbol.steps};
}

HuffmanTable::Run HuffmanTable::runOf(uint32_t bits) const
{
    constexpr uint8_t kEnd = 64;
    Run run;
    while (!run.endsBlock) {
        const Entry next = entry((bits << (kLongestCode - kRunBits + run.total)) & 0xFFFFU);
        const bool isEnd = next.steps == kEnd;
        if (next.length == 0 || run.total + next.total > kRunBits ||
            (!isEnd && run.steps + next.steps >= kEnd))
            break;
        run.total = static_cast<uint16_t>(run.total + next.total);
        if (isEnd)
            run.endsBlock = 1;
        else
            run.steps = static_cast<uint16_t>(run.steps + next.steps);
    }
    return run;
}

void HuffmanTable::add(uint32_t code, int length, uint8_t symbol)
{
    const auto bits = static_cast<uint8_t>(length);
    const Entry entry{bits, symbol, static_cast<uint8_t>(bits + (symbol & 0x0F)), stepsOf(symbol)};
    const uint32_t first = code << (kLongestCode - length);
    const uint32_t end = (code + 1) << (kLongestCode - length);
    if (length > kCodeBits) {
        _longCodes.push_back({first, end, entry});
        return;
    }
    constexpr int kDropped = kLongestCode - kCodeBits;
    std::fill(_entries.begin() + (first >> kDropped), _entries.begin() + (end >> kDropped), entry);
}

HuffmanTable::Entry HuffmanTable::longEntry(uint32_t bits) const
{
    const auto found = std::partition_point(_longCodes.begin(), _longCodes.end(),
                                            [bits](const LongCode &code) { return code.end <= bits; });
    return found == _longCodes.end() || bits < found->first ? Entry() : found->entry;
}
