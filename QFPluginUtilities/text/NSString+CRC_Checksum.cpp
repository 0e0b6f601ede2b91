#include "text/NSString+CRC_Checksum.h"

#include "text/UTF8Pieces.h"

#include <QtEndian>

#include <algorithm>
#include <array>

namespace {

constexpr quint32 kPolynomial = 0x04C11DB7;
constexpr std::size_t kStride = 16; ///< bytes that are taken at a time

using Table = std::array<quint32, 256>;

constexpr Table crc32_table = [] {
    Table table{};
    for (quint32 i = 0; i < table.size(); i++) {
        quint32 entry = i << 24;
        for (int bit = 0; bit < 8; bit++)
            entry = (entry & 0x80000000U) != 0 ? (entry << 1) ^ kPolynomial : entry << 1;
        table[i] = entry;
    }
    return table;
}();

/// Table k is for a byte that k more bytes follow: the checksum is linear, so sixteen look-ups that do not
/// wait for each other take the place of sixteen steps that do.
constexpr std::array<Table, kStride> kTables = [] {
    std::array<Table, kStride> tables{};
    tables[0] = crc32_table;
    for (std::size_t k = 1; k < kStride; k++) {
        for (std::size_t i = 0; i < 256; i++)
            tables[k][i] = (tables[k - 1][i] << 8) ^ crc32_table[tables[k - 1][i] >> 24];
    }
    return tables;
}();

quint32 updated(quint32 crc, const uchar *bytes, qsizetype count)
{
    for (; count >= qsizetype(kStride); count -= qsizetype(kStride), bytes += kStride) {
        std::array<uchar, kStride> block;
        std::copy_n(bytes, kStride, block.begin());
        qToBigEndian(crc ^ qFromBigEndian<quint32>(bytes), block.data());
        crc = 0;
        for (std::size_t i = 0; i < kStride; i++)
            crc ^= kTables[kStride - 1 - i][block[i]];
    }
    for (; count > 0; count--, bytes++)
        crc = (crc << 8) ^ crc32_table[(crc >> 24) ^ *bytes];
    return crc;
}

} // namespace

QByteArray CRC_Checksum::crcChecksum(const QString &text)
{
    quint32 crc = 0xFFFFFFFF;
    const bool isText = !text.isNull() && forUTF8Pieces(text, [&crc](const char *bytes, qsizetype count) {
        crc = updated(crc, reinterpret_cast<const uchar *>(bytes), count);
    });
    if (!isText)
        return {};
    QByteArray result(sizeof crc, Qt::Uninitialized);
    qToLittleEndian(~crc, result.data());
    return result;
}
