#include "codecs/JPEGScan.h"

#include "codecs/BigEndianCursor.h"

#include <algorithm>

namespace {

enum Marker : quint8 {
    Baseline = 0xC0,
    Extended = 0xC1,
    HuffmanTables = 0xC4,
    LastFrame = 0xCF,
    EndOfImage = 0xD9,
    StartOfScan = 0xDA,
    Quantisers = 0xDB,
    RestartInterval = 0xDD
};

bool readTables(QByteArrayView segment, JPEGScan &scan)
{
    constexpr quint64 kLengths = 16;
    BigEndianCursor at(segment);
    while (at.left() > 0) {
        const auto kind = at.number<quint8>();
        const QByteArrayView counts = at.take(kLengths);
        quint64 symbols = 0;
        for (const char count : counts)
            symbols += static_cast<uchar>(count);
        const QByteArrayView values = at.take(symbols);
        if (!at.isGood() || (kind & 0xECU) != 0)
            return false;
        const bool isFirst = (kind & 0x10U) == 0;
        HuffmanTable &table = (isFirst ? scan.dcTables : scan.acTables)[kind & 3U];
        table = HuffmanTable(counts, values, !isFirst);
        if (!table.isValid())
            return false;
    }
    return true;
}

bool readQuantisers(QByteArrayView segment, JPEGScan &scan)
{
    BigEndianCursor at(segment);
    while (at.left() > 0) {
        const auto kind = at.number<quint8>();
        if ((kind & 0xECU) != 0)
            return false;
        auto &quantiser = scan.quantisers[kind & 3U].emplace();
        for (quint16 &factor : quantiser)
            factor = kind >= 0x10 ? at.number<quint16>() : at.number<quint8>();
        if (!at.isGood())
            return false;
    }
    return true;
}

bool readFrame(QByteArrayView segment, JPEGScan &scan)
{
    constexpr int kBlock = 8;
    BigEndianCursor at(segment);
    const auto depth = at.number<quint8>();
    scan.height = at.number<quint16>();
    scan.width = at.number<quint16>();
    const auto count = at.number<quint8>();
    int across = 1;
    int down = 1;
    for (int i = 0; i < count; ++i) {
        const auto id = at.number<quint8>();
        const auto sampling = at.number<quint8>();
        const auto quantiser = at.number<quint8>();
        // A scan of one component has units of one block, whatever the file says.
        const int h = count == 1 ? 1 : sampling >> 4;
        const int v = count == 1 ? 1 : sampling & 0x0F;
        across = std::max(across, h);
        down = std::max(down, v);
        if (quantiser >= scan.quantisers.size())
            return false;
        scan.components.append({id, h, v, quantiser, 0, 0});
    }
    scan.unitRows = kBlock * down;
    scan.unitsAcross = (scan.width + kBlock * across - 1) / (kBlock * across);
    scan.unitsDown = (scan.height + scan.unitRows - 1) / scan.unitRows;
    constexpr int kMostBlocks = 10;
    int blocks = 0;
    for (const auto &component : scan.components)
        blocks += component.blocks();
    return at.isGood() && depth == 8 && scan.width > 0 && scan.height > 0 && blocks > 0 &&
           blocks <= kMostBlocks;
}

/// All components in the frame's order, from the first coefficient to the last.
bool readScan(QByteArrayView segment, JPEGScan &scan)
{
    BigEndianCursor at(segment);
    if (at.number<quint8>() != scan.components.size() || scan.components.isEmpty())
        return false;
    for (JPEGScan::Component &component : scan.components) {
        const auto id = at.number<quint8>();
        const auto tables = at.number<quint8>();
        component.dcTable = tables >> 4;
        component.acTable = tables & 0x0F;
        if (id != component.id || component.dcTable > 3 || component.acTable > 3 ||
            !scan.dcTables[static_cast<size_t>(component.dcTable)].isValid() ||
            !scan.acTables[static_cast<size_t>(component.acTable)].isValid())
            return false;
    }
    return at.number<quint16>() == 63 && at.number<quint8>() == 0 && at.isGood();
}

} // namespace

std::optional<JPEGScan> JPEGScan::ofFile(const QByteArray &file)
{
    BigEndianCursor at(file);
    JPEGScan scan;
    at.skip(2);
    while (at.isGood()) {
        if (at.number<quint8>() != 0xFF)
            return std::nullopt;
        const auto marker = at.number<quint8>();
        const auto length = at.number<quint16>();
        const QByteArrayView segment = at.take(length < 2 ? UINT64_MAX : length - 2U);
        const bool isFrame = marker == Baseline || marker == Extended;
        if ((isFrame && (!scan.components.isEmpty() || !readFrame(segment, scan))) ||
            (marker == HuffmanTables && !readTables(segment, scan)) ||
            (marker == Quantisers && !readQuantisers(segment, scan)) ||
            (marker == RestartInterval && BigEndianCursor(segment).number<quint16>() != 0))
            return std::nullopt;
        if (marker == StartOfScan) {
            scan.dataAt = at.position();
            return at.isGood() && readScan(segment, scan) ? std::optional(std::move(scan)) : std::nullopt;
        }
        const bool isOtherFrame = marker > Extended && marker <= LastFrame && marker != HuffmanTables;
        if (isOtherFrame || (marker >= 0xD0 && marker <= EndOfImage) || marker < Baseline)
            return std::nullopt;
    }
    return std::nullopt;
}
