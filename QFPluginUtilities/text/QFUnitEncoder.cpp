#include "text/QFUnitEncoder.h"

#include "text/GrowthEstimate.h"

#include <algorithm>
#include <bit>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// Eight units and the question which of them may need work. Without SSE2 two registers of four units each.
class Block
{
public:
#if defined(__SSE2__)
    explicit Block(const char16_t *from) : _units(_mm_loadu_si128(reinterpret_cast<const __m128i *>(from))) {}
    void store(char16_t *at) const
    {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(at), _units);
    }

    class Suspects
    {
    public:
        Suspects(char16_t lowest, bool lineBreaks)
            : _lowest(splat(lowest)), _lineFeed(splat(lineBreaks ? u'\n' : lowest)),
              _carriageReturn(splat(lineBreaks ? u'\r' : lowest))
        {
        }
        /// One bit a unit.
        [[nodiscard]] unsigned in(const Block &block) const
        {
            const __m128i high = _mm_cmpeq_epi16(_mm_subs_epu16(_lowest, block._units), _mm_setzero_si128());
            const __m128i breaks = _mm_or_si128(_mm_cmpeq_epi16(block._units, _lineFeed),
                                                _mm_cmpeq_epi16(block._units, _carriageReturn));
            const __m128i all = _mm_or_si128(high, breaks);
            return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(all, _mm_setzero_si128())));
        }

    private:
        static __m128i splat(char16_t unit) { return _mm_set1_epi16(static_cast<short>(unit)); }

        __m128i _lowest;
        __m128i _lineFeed;
        __m128i _carriageReturn;
    };

private:
    __m128i _units;
#else
    explicit Block(const char16_t *from)
    {
        std::memcpy(_units, from, sizeof _units);
    }
    void store(char16_t *at) const
    {
        std::memcpy(at, _units, sizeof _units);
    }

    class Suspects
    {
    public:
        Suspects(char16_t lowest, bool lineBreaks) : _lowest(lowest), _lineBreaks(lineBreaks) {}
        [[nodiscard]] unsigned in(const Block &block) const
        {
            unsigned mask = 0;
            for (unsigned i = 0; i < 8; ++i) {
                const char16_t unit = block._units[i];
                const bool suspect = unit >= _lowest || (_lineBreaks && (unit == u'\n' || unit == u'\r'));
                mask |= unsigned(suspect) << i;
            }
            return mask;
        }

    private:
        char16_t _lowest;
        bool _lineBreaks;
    };

private:
    char16_t _units[8];
#endif
};

} // namespace

void QFUnitEncoder::setReplacement(char16_t unit, QStringView replacement)
{
    if (replacement.isEmpty()) {
        if (entryFor(unit) != None)
            setEntry(unit, None);
        return;
    }
    const auto entry = static_cast<quint16>(_entries.size());
    _entries.emplace_back();
    _longTexts.emplace_back();
    storeText(entry, replacement);
    setEntry(unit, entry);
    _lowest = std::min(_lowest, unit);
}

void QFUnitEncoder::setLineBreaks(QStringView lineBreak)
{
    storeText(LineFeed, lineBreak);
    storeText(CarriageReturn, lineBreak);
    if (!replaces(u'\n'))
        setEntry(u'\n', LineFeed);
    if (!replaces(u'\r'))
        setEntry(u'\r', CarriageReturn);
    _breaksLines = true;
}

void QFUnitEncoder::setEntry(char16_t unit, quint16 entry)
{
    // One more than the unit needs, since the last stands for all units without an entry.
    if (_index.size() < unit + size_t(2))
        _index.resize(std::min<size_t>(unit + size_t(2), 0x10000));
    _index[unit] = entry;
}

void QFUnitEncoder::storeText(quint16 entry, QStringView text)
{
    _entries[entry].length = static_cast<quint16>(std::min<qsizetype>(text.size(), shortLength + 1));
    if (text.size() <= shortLength)
        std::ranges::copy(text.utf16(), text.utf16() + text.size(), _entries[entry].text.begin());
    else
        _longTexts[entry] = text.toString();
    _slack = std::max(_slack, blockLength * text.size() + 3 * blockLength);
    _slackOfStretch = std::max(_slackOfStretch, stretchLength * (text.size() + 1));
}

qsizetype QFUnitEncoder::firstReplaced(QStringView text) const
{
    const Block::Suspects suspects(_lowest, _breaksLines);
    const char16_t *units = text.utf16();
    for (qsizetype i = 0; i < text.size();) {
        const qsizetype end = std::min(text.size(), i + blockLength);
        if (end - i == blockLength && suspects.in(Block(units + i)) == 0)
            i = end;
        for (; i < end; ++i)
            if (replaces(units[i]))
                return i;
    }
    return -1;
}

// The tables as plain pointers on the stack: through `this` they would be read anew after each store, since
// what is copied as bytes may lie anywhere.
class QFUnitEncoder::Kernel
{
public:
    Kernel(const QFUnitEncoder &encoder, const char16_t *start)
        : _index(encoder._index.data()), _last(encoder._index.size() - 1), _entries(encoder._entries.data()),
          _longTexts(encoder._longTexts.data()), _start(start), _joinsBreaks(encoder.breaksAt(u'\r'))
    {
    }

    [[nodiscard]] char16_t *encodeUnits(const char16_t *from, const char16_t *end, char16_t *at) const
    {
        for (; from < end; ++from) {
            const quint16 entry = entryFor(*from);
            if (entry == None)
                *at++ = *from;
            else
                at = write(entry, from, at);
        }
        return at;
    }

    // One block that has already been copied to `at`: where a suspect has a replacement, that is written over
    // its copy and the rest of the block is copied again behind it. Reads up to a block beyond the block.
    [[nodiscard]] char16_t *encodeBlock(const char16_t *from, unsigned mask, char16_t *at) const
    {
        qsizetype done = 0;
        for (; mask != 0; mask &= mask - 1) {
            const qsizetype n = std::countr_zero(mask);
            const quint16 entry = entryFor(from[n]);
            if (entry == None)
                continue;
            at = write(entry, from + n, at + (n - done));
            done = n + 1;
            Block(from + done).store(at);
        }
        return at + (blockLength - done);
    }

    // The same for a long stretch, of which nothing has been copied yet: what lies between two replacements
    // is copied with more behind it than counts, so that little depends on its length. Reads up to a stretch
    // beyond.
    [[nodiscard]] char16_t *encodeStretch(const char16_t *from, quint64 mask, char16_t *at) const
    {
        qsizetype done = 0;
        for (; mask != 0; mask &= mask - 1) {
            const qsizetype n = std::countr_zero(mask);
            const quint16 entry = entryFor(from[n]);
            if (entry == None)
                continue;
            copyBlocks<2>(from + done, at);
            for (qsizetype copied = 2 * blockLength; copied < n - done; copied += blockLength)
                [[unlikely]] copyBlocks<1>(from + done + copied, at + copied);
            at = write(entry, from + n, at + (n - done));
            done = n + 1;
        }
        copyBlocks<blocksInStretch>(from + done, at);
        return at + (stretchLength - done);
    }

private:
    template <int Blocks>
    static void copyBlocks(const char16_t *from, char16_t *at)
    {
        for (int i = 0; i < Blocks; ++i)
            Block(from + i * blockLength).store(at + i * blockLength);
    }

    [[nodiscard]] quint16 entryFor(char16_t unit) const { return _index[std::min<size_t>(unit, _last)]; }

    [[nodiscard]] char16_t *write(quint16 entry, const char16_t *unit, char16_t *at) const
    {
        // The line feed of a CR LF pair: the carriage return has made the break.
        if (entry == LineFeed && _joinsBreaks && unit > _start && unit[-1] == u'\r')
            return at;
        const Entry &replacement = _entries[entry];
        if (replacement.length > shortLength) [[unlikely]] {
            const QString &text = _longTexts[entry];
            std::memcpy(at, text.utf16(), static_cast<size_t>(text.size()) * sizeof(char16_t));
            return at + text.size();
        }
        std::memcpy(at, &replacement,
                    sizeof replacement); // two vector stores; what is too much is overwritten
        return at + replacement.length;
    }

    const quint16 *_index;
    size_t _last;
    const Entry *_entries;
    const QString *_longTexts;
    const char16_t *_start;
    bool _joinsBreaks;
};

bool QFUnitEncoder::encode(Source &source, char16_t *&output, const char16_t *limit) const
{
    const Block::Suspects suspects(_lowest, _breaksLines);
    const Kernel kernel(*this, source.start);
    const char16_t *from = source.from;
    char16_t *at = output;
    for (; source.end - from >= 2 * stretchLength && limit - at >= _slackOfStretch; from += stretchLength) {
        quint64 mask = 0;
        for (int i = 0; i < blocksInStretch; ++i)
            mask |= quint64(suspects.in(Block(from + i * blockLength))) << (i * blockLength);
        at = kernel.encodeStretch(from, mask, at);
    }
    for (; source.end - from >= blockLength && at <= limit; from += blockLength) {
        const Block block(from);
        block.store(at);
        const unsigned mask = suspects.in(block);
        if (mask == 0)
            at += blockLength;
        else if (source.end - from >= 2 * blockLength)
            at = kernel.encodeBlock(from, mask, at);
        else
            at = kernel.encodeUnits(from, from + blockLength, at);
    }
    const bool done = at <= limit;
    if (done) {
        at = kernel.encodeUnits(from, source.end, at);
        from = source.end;
    }
    source.from = from;
    output = at;
    return done;
}

void QFUnitEncoder::append(QString &output, QStringView text) const
{
    qsizetype size = output.size();
    Source source{text.utf16(), text.utf16(), text.utf16() + text.size()};
    for (bool done = false; !done;) {
        // Room for the rest as it is; replacements use up the slack or make another round.
        output.resize(size + (source.end - source.from) + _slack);
        auto *const begin = reinterpret_cast<char16_t *>(output.data());
        char16_t *at = begin + size;
        done = encode(source, at, begin + output.size() - _slack);
        size = at - begin;
    }
    output.resize(size);
}

QString QFUnitEncoder::encoded(const QString &text) const
{
    const qsizetype clean = firstReplaced(text);
    if (clean < 0)
        return text;
    const QStringView all(text);
    const qsizetype beginning = std::min(text.size(), clean + estimateAfter);
    QString result;
    result.reserve(beginning + _slack);
    result.append(all.first(clean));
    append(result, all.sliced(clean, beginning - clean));
    if (beginning < text.size()) {
        reserveLikeBeginning(result, beginning, text.size(), _slack);
        append(result, all.sliced(beginning));
    }
    return result;
}
