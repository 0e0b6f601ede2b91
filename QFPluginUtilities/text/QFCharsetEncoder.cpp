#include "text/QFCharsetEncoder.h"

#include "text/GrowthEstimate.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <vector>

#include <iconv.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// The longest of what is written for a unit: "&#65535;".
constexpr qsizetype longestReference = 8;

bool isSurrogate(char16_t unit)
{
    return (unit & 0xF800) == 0xD800;
}

char *writeReference(char *at, unsigned unit)
{
    *at++ = '&';
    *at++ = '#';
    const int digits = unit > 9999 ? 5 : unit > 999 ? 4 : unit > 99 ? 3 : unit > 9 ? 2 : 1;
    for (int i = digits - 1; i >= 0; --i, unit /= 10)
        at[i] = static_cast<char>('0' + unit % 10);
    at += digits;
    *at++ = ';';
    return at;
}

// Each set has: `plainLimit`, below which every unit is one byte of the same value, and `write`, which
// appends the bytes of any unit, a reference where it has none.

// ASCII and ISO Latin 1.
template <char16_t Limit>
struct SingleByteSet
{
    static constexpr char16_t plainLimit = Limit;

    static char *write(char *at, char16_t unit)
    {
        if (unit >= Limit)
            return writeReference(at, unit);
        *at = static_cast<char>(unit);
        return at + 1;
    }
};

struct UTF8Set
{
    static constexpr char16_t plainLimit = 0x80;

    static char *write(char *at, char16_t unit)
    {
        if (unit < 0x80) {
            *at++ = static_cast<char>(unit);
        } else if (unit < 0x800) {
            *at++ = static_cast<char>(0xC0 | (unit >> 6));
            *at++ = static_cast<char>(0x80 | (unit & 0x3F));
        } else if (isSurrogate(unit)) {
            at = writeReference(at, unit);
        } else {
            *at++ = static_cast<char>(0xE0 | (unit >> 12));
            *at++ = static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
            *at++ = static_cast<char>(0x80 | (unit & 0x3F));
        }
        return at;
    }
};

class Converter
{
public:
    // The source is bare 16-bit units in the machine's order, which have one name in one iconv and one in
    // another.
    explicit Converter(const char *charset) : _descriptor(iconv_open(charset, "UCS-2-INTERNAL"))
    {
        if (!isOpen())
            _descriptor = iconv_open(charset, "UCS-2");
    }
    ~Converter()
    {
        if (isOpen())
            iconv_close(_descriptor);
    }
    Converter(const Converter &) = delete;
    Converter &operator=(const Converter &) = delete;

    // iconv answers a pointer of all ones when it fails.
    [[nodiscard]] bool isOpen() const { return reinterpret_cast<quintptr>(_descriptor) != ~quintptr(0); }

    // Bytes of one unit; 0 when the set has none.
    size_t convert(char16_t unit, std::array<char, 16> &bytes)
    {
        auto *from = reinterpret_cast<char *>(&unit);
        char *to = bytes.data();
        size_t left = sizeof unit;
        size_t room = bytes.size();
        if (iconv(_descriptor, &from, &left, &to, &room) != static_cast<size_t>(-1))
            return bytes.size() - room;
        iconv(_descriptor, nullptr, nullptr, nullptr, nullptr);
        return 0;
    }

private:
    iconv_t _descriptor;
};

// A set of one and two bytes a character, by table.
class DoubleByteSet
{
public:
    // nullptr when iconv does not know the set, or knows it as one of longer characters.
    static std::unique_ptr<DoubleByteSet> make(const char *charset)
    {
        Converter converter(charset);
        std::unique_ptr<DoubleByteSet> set(new DoubleByteSet);
        return converter.isOpen() && set->fill(converter) ? std::move(set) : nullptr;
    }

    [[nodiscard]] char *write(char *at, char16_t unit) const
    {
        const quint16 code = _codes[unit];
        if (code == refused)
            return writeReference(at, unit);
        if (code > 0xFF)
            *at++ = static_cast<char>(code >> 8);
        *at++ = static_cast<char>(code & 0xFF);
        return at;
    }

    char16_t plainLimit = 0;

private:
    static constexpr quint16 refused = 0xFFFF; // no character: no lead byte is FF

    DoubleByteSet() = default;

    bool fill(Converter &converter)
    {
        std::array<char, 16> bytes{};
        for (unsigned unit = 0; unit < _codes.size(); ++unit) {
            const size_t length = converter.convert(static_cast<char16_t>(unit), bytes);
            if (length > 2)
                return false;
            const auto first = static_cast<quint8>(bytes[0]);
            if (length > 0)
                _codes[unit] = length == 1 ? first : quint16(first << 8 | static_cast<quint8>(bytes[1]));
        }
        while (plainLimit < 0x80 && _codes[plainLimit] == plainLimit)
            ++plainLimit;
        return true;
    }

    std::vector<quint16> _codes = std::vector<quint16>(0x10000, refused);
};

// Writes whole blocks as long as all their units are below the limit.
[[maybe_unused]] bool writePlainBlock(char *at, const char16_t *from, char16_t limit)
{
#if defined(__SSE2__)
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i *>(from));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i *>(from + 8));
    const __m128i highest = _mm_set1_epi16(static_cast<short>(limit - 1));
    const __m128i above = _mm_or_si128(_mm_subs_epu16(low, highest), _mm_subs_epu16(high, highest));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(at), _mm_packus_epi16(low, high));
    return _mm_movemask_epi8(_mm_cmpeq_epi8(above, _mm_setzero_si128())) == 0xFFFF;
#else
    char16_t above = 0;
    for (int i = 0; i < 16; ++i) {
        above |= char16_t(from[i] >= limit);
        at[i] = static_cast<char>(from[i]);
    }
    return above == 0;
#endif
}

template <class Set>
char *writeUnits(const Set &set, char *at, const char16_t *from, const char16_t *end)
{
    constexpr qsizetype block = 16;
    while (from < end) {
        if (end - from >= block && set.plainLimit > 0 && writePlainBlock(at, from, set.plainLimit)) {
            from += block;
            at += block;
            continue;
        }
        for (const char16_t *const blockEnd = from + std::min<qsizetype>(block, end - from); from < blockEnd;
             ++from)
            at = set.write(at, *from);
    }
    return at;
}

template <class Set>
QByteArray encode(const Set &set, QStringView text)
{
    constexpr qsizetype chunk = 4096;
    static_assert(estimateAfter % chunk == 0);
    QByteArray bytes("");
    for (qsizetype from = 0; from < text.size(); from += chunk) {
        if (from == estimateAfter)
            reserveLikeBeginning(bytes, from, text.size(), chunk * longestReference);
        const qsizetype length = std::min(chunk, text.size() - from);
        const qsizetype size = bytes.size();
        bytes.resize(size + length * longestReference);
        const char16_t *const units = text.utf16() + from;
        char *const end = writeUnits(set, bytes.data() + size, units, units + length);
        bytes.resize(end - bytes.data());
    }
    return bytes;
}

std::optional<QByteArray> encodeByTable(const std::unique_ptr<DoubleByteSet> &set, QStringView text)
{
    return set ? std::optional(encode(*set, text)) : std::nullopt;
}

} // namespace

std::optional<QByteArray> encodedWithReferences(QStringView text, CFStringEncoding encoding)
{
    switch (encoding) {
    case kCFStringEncodingASCII:
        return encode(SingleByteSet<0x80>(), text);
    case kCFStringEncodingISOLatin1:
        return encode(SingleByteSet<0x100>(), text);
    case kCFStringEncodingUTF8:
        return encode(UTF8Set(), text);
    case kCFStringEncodingShiftJIS: {
        static const auto shiftJIS = DoubleByteSet::make("SHIFT-JIS");
        return encodeByTable(shiftJIS, text);
    }
    case kCFStringEncodingBig5: {
        static const auto big5 = DoubleByteSet::make("BIG-5");
        return encodeByTable(big5, text);
    }
    default:
        return std::nullopt;
    }
}
