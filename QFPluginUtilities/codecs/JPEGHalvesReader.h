#pragma once

#include "codecs/JPEGReader.h"
#include "codecs/RowReader.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

/// Rows of a large JPEG file. Its lower part is decoded on another thread at the same time, where the file
/// allows that, and held until it is read. The rows are those of a JPEGReader.
class JPEGHalvesReader final : public RowReader
{
public:
    /// Whether a picture is so large, but not too large to be held, that this is worth its while.
    [[nodiscard]] static bool isFor(QSize size, int eighths, const QRect &part);

    /// See JPEGReader.
    JPEGHalvesReader(const QByteArray &file, int eighths, const QRect &part);
    ~JPEGHalvesReader() override;

    [[nodiscard]] bool isValid() const { return _upper.isValid(); }
    [[nodiscard]] QRectF part() const { return _upper.part(); }

    [[nodiscard]] QSize size() const override { return _upper.size(); }
    [[nodiscard]] bool isOpaque() const override { return true; }
    [[nodiscard]] bool readRow(QRgb *row) override;
    void finish(QImage &image) const override { _upper.finish(image); }

private:
    enum class State : quint8 { Preparing, Absent, Decoding, Ended };

    // On the other thread.
    void decodeLower();
    [[nodiscard]] bool startLower();
    void setState(State state);
    void addDecodedRow();

    [[nodiscard]] bool isLower(int row);
    [[nodiscard]] bool readLowerRow(int index, QRgb *row);

    QByteArray _file;
    int _eighths;
    QRect _part;
    JPEGReader _upper;
    int _next = 0; ///< row that is read next

    std::unique_ptr<JPEGReader> _lower;
    std::vector<QRgb> _rows; ///< of the lower part
    int _lowerCount = 0;
    int _firstLower = 0; ///< its first row among all

    std::mutex _mutex;
    std::condition_variable _changed;
    State _state = State::Preparing;
    int _decoded = 0; ///< rows of the lower part that are there
    std::atomic<bool> _isCancelled = false;
    std::thread _thread;
};
