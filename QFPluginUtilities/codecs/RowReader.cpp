#include "codecs/RowReader.h"

#include "codecs/NeedlessAlpha.h"
#include "codecs/RowBands.h"
#include "imaging/RowScaler.h"
#include "platform/WithoutThrowing.h"

#include <algorithm>
#include <cmath>
#include <system_error>
#include <thread>
#include <vector>

namespace {

/// Below this many pixels a thread costs more than it saves.
constexpr qint64 kThreadedPixels = 3'000'000;

bool scaleHere(RowReader &reader, int rows, RowScaler &scaler)
{
    std::vector<QRgb> row(static_cast<size_t>(reader.size().width()));
    for (int y = 0; y < rows; ++y) {
        if (!reader.readRow(row.data()))
            return false;
        scaler.addRow(row.data());
    }
    return true;
}

/// Rows are decoded on another thread; on this one, where there is none to be had.
bool scaleOnTwoThreads(RowReader &reader, int rows, RowScaler &scaler)
{
    RowBands bands(reader.size().width());
    const auto decode = [&]() noexcept {
        bands.fill(rows, [&](QRgb *row) { return withoutThrowing([&] { return reader.readRow(row); }); });
    };
    std::thread decoding;
    try {
        decoding = std::thread(decode);
    } catch (const std::system_error &) {
        return scaleHere(reader, rows, scaler);
    }
    const bool isDone = bands.take(rows, [&](const QRgb *row) noexcept { scaler.addRow(row); });
    decoding.join();
    return isDone;
}

bool isWorthAThread(const RowReader &reader, int rows)
{
    return qint64(reader.size().width()) * rows >= kThreadedPixels && std::thread::hardware_concurrency() > 1;
}

} // namespace

QImage RowReader::image()
{
    QImage result(size(), isOpaque() ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < result.height(); ++y) {
        if (!readRow(reinterpret_cast<QRgb *>(result.scanLine(y))))
            return {};
    }
    dropNeedlessAlpha(result);
    finish(result);
    return result;
}

QImage RowReader::scaled(const QRectF &crop, const QSize &target)
{
    RowScaler scaler(size().width(), crop, target, isOpaque());
    const int rows = std::min(static_cast<int>(std::ceil(crop.bottom())), size().height());
    const bool isRead =
        isWorthAThread(*this, rows) ? scaleOnTwoThreads(*this, rows, scaler) : scaleHere(*this, rows, scaler);
    QImage result = isRead ? scaler.takeImage() : QImage();
    dropNeedlessAlpha(result);
    finish(result);
    return result;
}
