#pragma once

#include <QRgb>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

/// Rows on their way from one thread to another, some at a time; holds about half a megabyte.
class RowBands
{
public:
    explicit RowBands(int width);

    /// Writes `rows` rows by `readRow`, until it answers false. On one thread.
    void fill(int rows, const std::function<bool(QRgb *)> &readRow);
    /// Calls `useRow` for `rows` rows, on another. False when there are fewer.
    [[nodiscard]] bool take(int rows, const std::function<void(const QRgb *)> &useRow);

private:
    [[nodiscard]] QRgb *row(int index);
    void publish(int filled, bool hasEnded);
    void waitForRoom(int row);
    [[nodiscard]] int waitForRows(int taken);

    int _width;
    int _atOnce;   ///< rows that are handed over together
    int _capacity; ///< rows in memory
    std::vector<QRgb> _pixels;

    std::mutex _mutex;
    std::condition_variable _changed;
    int _filled = 0;
    int _taken = 0;
    bool _hasEnded = false;
};
