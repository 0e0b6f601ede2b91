#include "codecs/Deflate.h"

#include <algorithm>
#include <memory>

#include <libdeflate.h>

namespace {

/// No data of this kind grow more.
constexpr qsizetype kLargestRatio = 1032;

using Decompressor = std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)>;
using Compressor = std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)>;

size_t bytes(qsizetype count)
{
    return static_cast<size_t>(count);
}

} // namespace

QByteArray Deflate::inflated(QByteArrayView compressed, qsizetype most)
{
    const Decompressor decompressor(libdeflate_alloc_decompressor(), &libdeflate_free_decompressor);
    QByteArray result(std::min(most, (compressed.size() + 1) * kLargestRatio), Qt::Uninitialized);
    size_t length = 0;
    if (!decompressor ||
        libdeflate_zlib_decompress(decompressor.get(), compressed.data(), bytes(compressed.size()),
                                   result.data(), bytes(result.size()), &length) != LIBDEFLATE_SUCCESS)
        return {};
    result.truncate(static_cast<qsizetype>(length));
    return result;
}

QByteArray Deflate::inflated(const QList<QByteArrayView> &pieces, qsizetype length)
{
    QByteArray joined;
    if (pieces.size() > 1) {
        for (const QByteArrayView piece : pieces)
            joined.append(piece);
    }
    const QByteArrayView compressed = pieces.size() == 1 ? pieces.first() : QByteArrayView(joined);
    if (length / kLargestRatio > compressed.size())
        return {};
    QByteArray result = inflated(compressed, length);
    return result.size() == length ? result : QByteArray();
}

QByteArray Deflate::deflated(QByteArrayView data, int level)
{
    const Compressor compressor(libdeflate_alloc_compressor(level), &libdeflate_free_compressor);
    if (!compressor)
        return {};
    const size_t bound = libdeflate_zlib_compress_bound(compressor.get(), bytes(data.size()));
    QByteArray result(static_cast<qsizetype>(bound), Qt::Uninitialized);
    const size_t length = libdeflate_zlib_compress(compressor.get(), data.data(), bytes(data.size()),
                                                   result.data(), bytes(result.size()));
    result.truncate(static_cast<qsizetype>(length));
    return result;
}

quint32 Deflate::checksum(QByteArrayView data)
{
    return libdeflate_crc32(0, data.data(), bytes(data.size()));
}
