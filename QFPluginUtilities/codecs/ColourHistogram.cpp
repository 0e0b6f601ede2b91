#include "codecs/ColourHistogram.h"

#include <QSet>

namespace {

constexpr int kBits = 6;
constexpr int kDropped = 8 - kBits;

struct Cell
{
    quint32 count = 0;
    std::array<quint32, 3> sums{};
};

const QRgb *pixelsOf(const QImage &image, int y)
{
    return reinterpret_cast<const QRgb *>(image.constScanLine(y));
}

size_t cellOf(QRgb colour)
{
    return (static_cast<size_t>(qRed(colour) >> kDropped) << (2 * kBits)) |
           (static_cast<size_t>(qGreen(colour) >> kDropped) << kBits) |
           static_cast<size_t>(qBlue(colour) >> kDropped);
}

} // namespace

std::optional<QList<QRgb>> ColourHistogram::colours(const QImage &image, int most)
{
    QSet<QRgb> known;
    QList<QRgb> result;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *row = pixelsOf(image, y);
        for (int x = 0; x < image.width(); ++x) {
            if (!isVisible(row[x]) || (x > 0 && row[x] == row[x - 1]) || known.contains(row[x]))
                continue;
            if (result.size() == most)
                return std::nullopt;
            known.insert(row[x]);
            result.append(row[x]);
        }
    }
    return result;
}

std::vector<ColourHistogram::Group> ColourHistogram::groups(const QImage &image)
{
    std::vector<Cell> cells(size_t(1) << (3 * kBits));
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *row = pixelsOf(image, y);
        for (int x = 0; x < image.width(); ++x) {
            if (!isVisible(row[x]))
                continue;
            Cell &cell = cells[cellOf(row[x])];
            // Beyond this many the mean does not change any more, and sums would overflow.
            constexpr quint32 kMostCounted = 1U << 24;
            if (cell.count == kMostCounted)
                continue;
            ++cell.count;
            cell.sums[0] += static_cast<quint32>(qRed(row[x]));
            cell.sums[1] += static_cast<quint32>(qGreen(row[x]));
            cell.sums[2] += static_cast<quint32>(qBlue(row[x]));
        }
    }
    std::vector<Group> result;
    for (const Cell &cell : cells) {
        if (cell.count == 0)
            continue;
        const auto weight = static_cast<float>(cell.count);
        const auto mean = [&](size_t axis) { return static_cast<float>(cell.sums[axis]) / weight; };
        result.push_back({{mean(0), mean(1), mean(2)}, weight});
    }
    return result;
}
