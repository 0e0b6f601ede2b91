#include "text/QFXMLEscaper.h"

#include "platform/LargeMemory.h"

#include <QStringView>

#include <array>
#include <bit>
#include <cstring>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// What is written for a unit below 64; the first unit is the unit itself where nothing is replaced.
struct alignas(16) Replacement
{
    std::array<char16_t, 8> text{};
};

struct ReplacementTable
{
    std::array<Replacement, 64> replacements{};
    std::array<quint8, 64> lengths{};

    constexpr ReplacementTable()
    {
        lengths.fill(1);
        set(u'<', u"&lt;");
        set(u'>', u"&gt;");
        set(u'&', u"&amp;");
        set(u'\'', u"&apos;");
        set(u'"', u"&quot;");
    }

private:
    constexpr void set(char16_t unit, std::u16string_view text)
    {
        for (size_t i = 0; i < text.size(); ++i)
            replacements[unit].text[i] = text[i];
        lengths[unit] = static_cast<quint8>(text.size());
    }
};

constexpr ReplacementTable table;

qsizetype lengthOf(char16_t unit)
{
    return unit < table.lengths.size() ? table.lengths[unit] : 1;
}

// Exact: writes nothing behind the replacement.
char16_t *writeUnit(char16_t *at, char16_t unit)
{
    const qsizetype length = lengthOf(unit);
    if (length == 1) {
        *at = unit;
        return at + 1;
    }
    std::memcpy(at, table.replacements[unit].text.data(), static_cast<size_t>(length) * sizeof(char16_t));
    return at + length;
}

#if defined(__SSE2__)

constexpr qsizetype blockLength = 16;

__m128i bytes(char value)
{
    return _mm_set1_epi8(value);
}

// Sixteen units. As bytes, all above 0xFF become 0 or 0xFF, which stand for nothing that is replaced.
class Block
{
public:
    explicit Block(const char16_t *from)
        : _low(_mm_loadu_si128(reinterpret_cast<const __m128i *>(from))),
          _high(_mm_loadu_si128(reinterpret_cast<const __m128i *>(from + 8)))
    {
    }

    void store(char16_t *at) const
    {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(at), _low);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(at + 8), _high);
    }

    /// One bit a unit that is replaced.
    [[nodiscard]] unsigned replaced() const
    {
        const Classes found = classes();
        return static_cast<unsigned>(_mm_movemask_epi8(
            _mm_or_si128(_mm_or_si128(found.ampersandOrApostrophe, found.angle), found.quote)));
    }

    /// By how much each unit's replacement is longer than the unit: one byte a unit.
    [[nodiscard]] __m128i growth() const
    {
        const Classes found = classes();
        // "&amp;" grows by 4 and "&apos;", whose unit is odd, by 5.
        const __m128i four = _mm_add_epi8(_mm_and_si128(found.units, bytes(1)), bytes(4));
        return _mm_or_si128(
            _mm_and_si128(found.ampersandOrApostrophe, four),
            _mm_or_si128(_mm_and_si128(found.angle, bytes(3)), _mm_and_si128(found.quote, bytes(5))));
    }

private:
    struct Classes
    {
        __m128i units;
        __m128i ampersandOrApostrophe;
        __m128i angle;
        __m128i quote;
    };

    // Two of the five pairs differ in one bit only.
    [[nodiscard]] Classes classes() const
    {
        const __m128i units = _mm_packus_epi16(_low, _high);
        return {units, _mm_cmpeq_epi8(_mm_or_si128(units, bytes(1)), bytes('\'')),
                _mm_cmpeq_epi8(_mm_or_si128(units, bytes(2)), bytes('>')), _mm_cmpeq_epi8(units, bytes('"'))};
    }

    __m128i _low;
    __m128i _high;
};

// Moves `from` over whole blocks and answers by how much their text grows.
qsizetype growthOfBlocks(const char16_t *&from, const char16_t *end)
{
    __m128i sum = _mm_setzero_si128();
    for (; end - from >= blockLength; from += blockLength)
        sum = _mm_add_epi64(sum, _mm_sad_epu8(Block(from).growth(), _mm_setzero_si128()));
    return _mm_cvtsi128_si64(_mm_add_epi64(sum, _mm_unpackhi_epi64(sum, sum)));
}

// One bit for each unit of `Blocks` blocks that is replaced.
template <int Blocks>
quint64 replacedUnits(const char16_t *from)
{
    quint64 replaced = 0;
    for (int i = 0; i < Blocks; ++i)
        replaced |= quint64(Block(from + i * blockLength).replaced()) << (i * blockLength);
    return replaced;
}

template <int Blocks>
void copyBlocks(char16_t *at, const char16_t *from)
{
    for (int i = 0; i < Blocks; ++i)
        Block(from + i * blockLength).store(at + i * blockLength);
}

// Stops before the last `2 * Blocks` blocks: until then neither a read nor a write can go beyond its buffer.
// What lies between two replacements is copied with more behind it than counts, so that nothing depends on
// its length.
template <int Blocks>
char16_t *writeBlocks(char16_t *at, const char16_t *&from, const char16_t *end)
{
    constexpr qsizetype length = Blocks * blockLength;
    for (; end - from >= 2 * length; from += length) {
        qsizetype done = 0;
        for (quint64 replaced = replacedUnits<Blocks>(from); replaced != 0; replaced &= replaced - 1) {
            const qsizetype n = std::countr_zero(replaced);
            copyBlocks<1>(at, from + done);
            for (qsizetype copied = blockLength; copied < n - done; copied += blockLength)
                [[unlikely]] copyBlocks<1>(at + copied, from + done + copied);
            at += n - done;
            const size_t unit = from[n];
            std::memcpy(at, &table.replacements[unit], sizeof(Replacement));
            at += table.lengths[unit];
            done = n + 1;
        }
        copyBlocks<Blocks>(at, from + done);
        at += length - done;
    }
    return at;
}

char16_t *writeBlocks(char16_t *at, const char16_t *&from, const char16_t *end)
{
    at = writeBlocks<4>(at, from, end);
    return writeBlocks<1>(at, from, end);
}

#else

qsizetype growthOfBlocks(const char16_t *&, const char16_t *)
{
    return 0;
}

char16_t *writeBlocks(char16_t *at, const char16_t *&, const char16_t *)
{
    return at;
}

#endif

qsizetype growth(QStringView text)
{
    const char16_t *from = text.utf16();
    const char16_t *const end = from + text.size();
    qsizetype sum = growthOfBlocks(from, end);
    for (; from < end; ++from)
        sum += lengthOf(*from) - 1;
    return sum;
}

} // namespace

QString escapedForXML(const QString &text)
{
    const qsizetype growing = growth(text);
    if (growing == 0)
        return text;
    QString escaped(text.size() + growing, Qt::Uninitialized);
    auto *at = reinterpret_cast<char16_t *>(escaped.data());
    adviseLargePages(at, static_cast<size_t>(escaped.size()) * sizeof(char16_t));
    const char16_t *from = QStringView(text).utf16();
    const char16_t *const end = from + text.size();
    at = writeBlocks(at, from, end);
    while (from < end)
        at = writeUnit(at, *from++);
    return escaped;
}
