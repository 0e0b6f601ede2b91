#include "host/preview/ByteRange.h"

#include <algorithm>

namespace {

/// -1 for no text, nothing for what is no number.
std::optional<qint64> number(const QByteArray &text)
{
    if (text.isEmpty())
        return -1;
    if (!std::all_of(text.begin(), text.end(), [](char byte) { return byte >= '0' && byte <= '9'; }))
        return {};
    bool isNumber = false;
    const qint64 value = text.toLongLong(&isNumber);
    return isNumber ? std::optional(value) : std::nullopt;
}

} // namespace

std::optional<ByteRange> ByteRange::asked(const QByteArray &header, qint64 size)
{
    const qsizetype dash = header.indexOf('-');
    if (!header.startsWith("bytes=") || dash < 0)
        return {};
    const std::optional<qint64> first = number(header.mid(6, dash - 6));
    const std::optional<qint64> last = number(header.mid(dash + 1));
    if (!first || !last || (*first < 0 && *last < 0) || (*first >= 0 && *last >= 0 && *last < *first))
        return {};
    if (*first < 0) { // the last bytes
        const qint64 count = std::min(*last, size);
        return ByteRange{size - count, count};
    }
    if (*first >= size)
        return ByteRange{};
    const qint64 end = *last < 0 ? size : std::min(*last, size - 1) + 1;
    return ByteRange{*first, end - *first};
}
