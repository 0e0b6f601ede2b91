#include "codecs/JPEGHalvesReader.h"

#include "codecs/JPEGLowerPart.h"
#include "platform/WithoutThrowing.h"

#include <algorithm>
#include <cmath>
#include <system_error>

namespace {

/// Before the lower part can be decoded, the code above it has to be gone through, which takes a quarter of
/// the time of decoding: with this share of the height above, both parts end at once.
constexpr double kUpperShare = 0.57;

/// Decoding fewer pixels takes less than 20 ms.
constexpr qint64 kFewestPixels = 8'000'000;
/// 64 MB for the lower part's rows.
constexpr qint64 kMostReducedPixels = 36'000'000;

} // namespace

bool JPEGHalvesReader::isFor(QSize size, int eighths, const QRect &part)
{
    const qint64 pixels = qint64(size.width()) * size.height();
    return pixels >= kFewestPixels && pixels * eighths * eighths / 64 <= kMostReducedPixels &&
           part.height() * qint64(10) >= size.height() * qint64(8) && std::thread::hardware_concurrency() > 1;
}

JPEGHalvesReader::JPEGHalvesReader(const QByteArray &file, int eighths, const QRect &part)
    : _file(file), _eighths(eighths), _part(part), _upper(file, eighths, part)
{
    try {
        if (_upper.isValid())
            _thread = std::thread([this]() noexcept { decodeLower(); });
    } catch (const std::system_error &) {
        _state = State::Absent;
    }
}

JPEGHalvesReader::~JPEGHalvesReader()
{
    _isCancelled = true;
    if (_thread.joinable())
        _thread.join();
}

void JPEGHalvesReader::decodeLower()
{
    if (!withoutThrowing([this] { return startLower(); })) {
        setState(State::Absent);
        return;
    }
    setState(State::Decoding);
    const auto width = static_cast<size_t>(_lower->size().width());
    for (int row = 0; row < _lowerCount && !_isCancelled; ++row) {
        if (!_lower->readRow(_rows.data() + static_cast<size_t>(row) * width))
            break;
        addDecodedRow();
    }
    setState(State::Ended);
}

/// Everything up to the first row that counts.
bool JPEGHalvesReader::startLower()
{
    const auto lower = JPEGLowerPart::ofFile(_file, kUpperShare);
    if (!lower)
        return false;
    _lower = std::make_unique<JPEGReader>(lower->file, _eighths,
                                          QRect(_part.x(), 0, _part.width(), lower->height));
    const int surplus = lower->surplusRows * _eighths / 8;
    const int available = _lower->size().height() - surplus;
    _firstLower = _upper.size().height() - available;
    _lowerCount = std::min(available, static_cast<int>(std::ceil(_upper.part().bottom())) - _firstLower);
    if (!_lower->isValid() || _lower->size().width() != _upper.size().width() || _firstLower <= 0 ||
        _lowerCount <= 0)
        return false;
    const auto width = static_cast<size_t>(_lower->size().width());
    _rows.resize(width * static_cast<size_t>(_lowerCount));
    for (int row = 0; row < surplus; ++row) {
        if (!_lower->readRow(_rows.data()))
            return false;
    }
    return true;
}

void JPEGHalvesReader::setState(State state)
{
    const std::lock_guard lock(_mutex);
    _state = state;
    _changed.notify_all();
}

void JPEGHalvesReader::addDecodedRow()
{
    const std::lock_guard lock(_mutex);
    ++_decoded;
    _changed.notify_all();
}

bool JPEGHalvesReader::readRow(QRgb *row)
{
    const int index = _next++;
    return isLower(index) ? readLowerRow(index - _firstLower, row) : _upper.readRow(row);
}

/// Shortly before the lower part may begin it must be known whether there is one: which rows come from it
/// never depends on chance.
bool JPEGHalvesReader::isLower(int row)
{
    if (row < size().height() / 3)
        return false;
    std::unique_lock lock(_mutex);
    _changed.wait(lock, [this] { return _state != State::Preparing; });
    return _state != State::Absent && row >= _firstLower;
}

bool JPEGHalvesReader::readLowerRow(int index, QRgb *row)
{
    {
        std::unique_lock lock(_mutex);
        _changed.wait(lock, [&] { return _decoded > index || _state == State::Ended; });
        if (_decoded <= index)
            return false;
    }
    const auto width = static_cast<size_t>(size().width());
    std::copy_n(_rows.data() + static_cast<size_t>(index) * width, width, row);
    return true;
}
