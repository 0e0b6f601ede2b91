#include "codecs/RowBands.h"

#include <algorithm>

namespace {

constexpr int kPixelsAtOnce = 1 << 15;
constexpr int kBands = 4;

} // namespace

RowBands::RowBands(int width)
    : _width(width), _atOnce(std::max(1, kPixelsAtOnce / width)), _capacity(kBands * _atOnce),
      _pixels(static_cast<size_t>(width) * static_cast<size_t>(_capacity))
{
}

QRgb *RowBands::row(int index)
{
    return _pixels.data() + static_cast<size_t>(index % _capacity) * static_cast<size_t>(_width);
}

void RowBands::fill(int rows, const std::function<bool(QRgb *)> &readRow)
{
    int filled = 0;
    while (filled < rows) {
        waitForRoom(filled);
        const int end = std::min(rows, filled + _atOnce);
        while (filled < end && readRow(row(filled)))
            ++filled;
        publish(filled, filled < end);
        if (filled < end)
            return;
    }
}

bool RowBands::take(int rows, const std::function<void(const QRgb *)> &useRow)
{
    int taken = 0;
    while (taken < rows) {
        const int end = waitForRows(taken);
        if (end == taken)
            return false;
        for (; taken < end; ++taken)
            useRow(row(taken));
        const std::lock_guard lock(_mutex);
        _taken = taken;
        _changed.notify_all();
    }
    return true;
}

void RowBands::publish(int filled, bool hasEnded)
{
    const std::lock_guard lock(_mutex);
    _filled = filled;
    _hasEnded = hasEnded;
    _changed.notify_all();
}

/// Waits until a band that begins at `row` overwrites nothing that has not been taken.
void RowBands::waitForRoom(int row)
{
    std::unique_lock lock(_mutex);
    _changed.wait(lock, [&] { return row + _atOnce - _taken <= _capacity; });
}

/// The rows that there are, once these are more than `taken` or the end has come.
int RowBands::waitForRows(int taken)
{
    std::unique_lock lock(_mutex);
    _changed.wait(lock, [&] { return _filled > taken || _hasEnded; });
    return _filled;
}
