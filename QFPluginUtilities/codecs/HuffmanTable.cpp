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

HuffmanTable::HuffmanTable(QByteArrayView counts, QByteArrayView symbols)
{
    _entries.resize(size_t(1) << kLookupBits);
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
    for (uint32_t bits = 0; bits < _entries.size(); ++bits)
        _runs.push_back(runOf(bits));
}

HuffmanTable::Run HuffmanTable::runOf(uint32_t bits) const
{
    constexpr uint8_t kEnd = 64;
    Run run;
    while (!run.endsBlock) {
        const Entry entry = _entries[(bits << run.total) & ((1U << kLookupBits) - 1)];
        if (entry.length == 0 || run.total + entry.total > kLookupBits)
            break;
        run.total = static_cast<uint8_t>(run.total + entry.total);
        run.endsBlock = entry.steps == kEnd;
        if (!run.endsBlock)
            run.steps = static_cast<uint8_t>(run.steps + entry.steps);
    }
    return run;
}

void HuffmanTable::add(uint32_t code, int length, uint8_t symbol)
{
    const auto bits = static_cast<uint8_t>(length);
    const Entry entry{bits, symbol, static_cast<uint8_t>(bits + (symbol & 0x0F)), stepsOf(symbol)};
    _codes[symbol] = {static_cast<uint16_t>(code), bits};
    const uint32_t first = code << (kLongestCode - length);
    const uint32_t end = (code + 1) << (kLongestCode - length);
    if (length > kLookupBits) {
        _longCodes.push_back({first, end, entry});
        return;
    }
    constexpr int kDropped = kLongestCode - kLookupBits;
    std::fill(_entries.begin() + (first >> kDropped), _entries.begin() + (end >> kDropped), entry);
}

HuffmanTable::Entry HuffmanTable::longEntry(uint32_t bits) const
{
    const auto found = std::find_if(_longCodes.begin(), _longCodes.end(), [&](const LongCode &code) {
        return code.first <= bits && bits < code.end;
    });
    return found == _longCodes.end() ? Entry() : found->entry;
}
