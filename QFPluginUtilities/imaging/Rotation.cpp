#include "imaging/ImageOperations.h"

#include "imaging/RotationKernels.h"
#include "imaging/ScalingKernels.h"
#include "imaging/WorkingFormat.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <numbers>
#include <system_error>
#include <thread>

using RotationKernels::Position;

namespace {

/// Where a picture of this size lies when its centre is the canvas's; up and left where that is between
/// pixels.
QPoint centred(const QSize &size, const QSize &canvas)
{
    const auto half = [](int room) { return room >= 0 ? room / 2 : (room - 1) / 2; };
    return {half(canvas.width() - size.width()), half(canvas.height() - size.height())};
}

/// Steps in pixels through the source's memory while going through the result.
struct Walk
{
    qsizetype start = 0;
    qsizetype right = 0;
    qsizetype down = 0;
};

Walk quarterTurnWalk(const QImage &image, int quarters)
{
    const qsizetype row = image.bytesPerLine() / 4;
    const qsizetype lastColumn = image.width() - 1;
    const qsizetype lastRow = (image.height() - 1) * row;
    switch (quarters) {
    case 1:
        return {lastRow, -row, 1};
    case 2:
        return {lastRow + lastColumn, -1, -row};
    case 3:
        return {lastColumn, row, -1};
    default:
        return {0, 1, row};
    }
}

/// `count` pixels, each `step` after the one before.
void copyPixels(const QRgb *source, qsizetype step, QRgb *output, int count)
{
    if (step == 1) {
        std::copy_n(source, count, output);
    } else if (step == -1) {
        std::reverse_copy(source - count + 1, source + 1, output);
    } else {
        for (int i = 0; i < count; ++i)
            output[i] = source[i * step];
    }
}

/// In blocks that stay in the cache whichever way they are walked.
void copyWalk(const QRgb *source, const Walk &walk, const QRect &part, const QPoint &from, QImage &canvas)
{
    const int blockHeight = 32;
    const int blockWidth = std::abs(walk.right) == 1 ? part.width() : 32;
    const QRect local = part.translated(-from);
    uchar *const bits = canvas.bits();
    for (int top = local.top(); top <= local.bottom(); top += blockHeight) {
        const int end = std::min(top + blockHeight, local.bottom() + 1);
        for (int left = local.left(); left <= local.right(); left += blockWidth) {
            const int count = std::min(blockWidth, local.right() + 1 - left);
            for (int y = top; y < end; ++y) {
                uchar *const row = bits + (y + from.y()) * canvas.bytesPerLine();
                copyPixels(source + walk.start + left * walk.right + y * walk.down, walk.right,
                           reinterpret_cast<QRgb *>(row) + left + from.x(), count);
            }
        }
    }
}

QImage turnedByQuarters(const QImage &image, int quarters, const QSize &canvas)
{
    const QSize size = quarters % 2 == 0 ? image.size() : image.size().transposed();
    const QPoint place = centred(size, canvas);
    if (quarters == 0 && size == canvas)
        return image;
    const QRect part = QRect(place, size) & QRect(QPoint(), canvas);
    const bool coversAll = part.size() == canvas;
    QImage turned(canvas, coversAll ? image.format() : QImage::Format_ARGB32_Premultiplied);
    if (turned.isNull())
        return {};
    if (!coversAll)
        turned.fill(0);
    copyWalk(reinterpret_cast<const QRgb *>(image.constBits()), quarterTurnWalk(image, quarters), part, place,
             turned);
    return turned;
}

/// Columns [begin, end) of a row.
struct Span
{
    int begin = 0;
    int end = 0;

    [[nodiscard]] Span within(const Span &other) const
    {
        const int from = std::clamp(begin, other.begin, other.end);
        return {from, std::clamp(end, from, other.end)};
    }
};

/// Turns by a free angle, a band of rows at a time; bands know nothing of each other.
class FreeTurn
{
public:
    FreeTurn(const QImage &image, double degrees, QImage &canvas)
        : _image(image), _canvas(canvas), _bits(canvas.bits()), _weights(RotationKernels::weights())
    {
        const double angle = degrees * std::numbers::pi / 180;
        _cosine = std::cos(angle);
        _sine = std::sin(angle);
        _step = {fixed(_cosine), fixed(-_sine)};
        _ahead =
            std::lround(_cosine * kRowsAhead) * image.bytesPerLine() + std::lround(_sine * kRowsAhead) * 4;
    }

    void run()
    {
        const int bands = (_canvas.height() + kBandHeight - 1) / kBandHeight;
        std::atomic<int> next = 0;
        const auto work = [&] {
            for (int band = next++; band < bands; band = next++)
                turnBand(band * kBandHeight);
        };
        std::thread helper;
        if (bands > 1 && qsizetype(_canvas.width()) * _canvas.height() > kPixelsForTwo) {
            try {
                helper = std::thread(work);
            } catch (const std::system_error &) {
                // No thread to be had: the bands are all turned here.
            }
        }
        work();
        if (helper.joinable())
            helper.join();
    }

private:
    static constexpr int kBandHeight = 64;
    static constexpr int kTileWidth = 128;
    static constexpr int kRowsAhead = 8;
    static constexpr qsizetype kPixelsForTwo = 500'000;

    struct Row
    {
        Position start;
        Span visible;
        Span inner;
    };

    static qint64 fixed(double value) { return std::llround(value * 4294967296.0); }
    static double real(qint64 value) { return double(value) / 4294967296.0; }

    void turnBand(int top);
    [[nodiscard]] Row rowAt(int y) const;
    [[nodiscard]] Span spanInside(const Position &start, double margin) const;
    void turnEdge(const Row &row, const Span &span, qint16 *output) const;
    void turnEdgePixel(const Position &at, qint16 *output) const;

    const QImage &_image;
    QImage &_canvas;
    uchar *_bits;
    const RotationKernels::Weights &_weights;
    double _cosine = 1;
    double _sine = 0;
    Position _step;
    qsizetype _ahead = 0;
};

FreeTurn::Row FreeTurn::rowAt(int y) const
{
    const double x = 0.5 - _canvas.width() / 2.0;
    const double fromCentre = y + 0.5 - _canvas.height() / 2.0;
    Row row;
    row.start = {fixed(_cosine * x + _sine * fromCentre + _image.width() / 2.0 - 0.5),
                 fixed(_cosine * fromCentre - _sine * x + _image.height() / 2.0 - 0.5)};
    row.visible = spanInside(row.start, -1);
    row.inner = spanInside(row.start, 2).within(row.visible);
    return row;
}

/// Columns whose positions keep `margin` pixels away from the edges; give or take less than one, which the
/// margins allow for.
Span FreeTurn::spanInside(const Position &start, double margin) const
{
    double from = 0;
    double to = _canvas.width();
    const auto cut = [&](double at, double step, double length) {
        const double low = margin - 0.5;
        const double high = length - 0.5 - margin;
        const bool stays = std::abs(step) < 1e-9;
        if (low > high || (stays && (at < low || at > high)))
            to = from;
        if (to == from || stays)
            return;
        const auto [first, last] = std::minmax({(low - at) / step, (high - at) / step});
        from = std::max(from, std::ceil(first));
        to = std::min(to, std::floor(last) + 1);
    };
    cut(real(start.x), real(_step.x), _image.width());
    cut(real(start.y), real(_step.y), _image.height());
    return from < to ? Span{int(from), int(to)} : Span{};
}

void FreeTurn::turnBand(int top)
{
    const int bottom = std::min(top + kBandHeight, _canvas.height());
    std::array<Row, kBandHeight> rows;
    for (int y = top; y < bottom; ++y) {
        const Row row = rows[size_t(y - top)] = rowAt(y);
        QRgb *const pixels = reinterpret_cast<QRgb *>(_bits + y * _canvas.bytesPerLine());
        std::fill(pixels, pixels + row.visible.begin, 0U);
        std::fill(pixels + row.visible.end, pixels + _canvas.width(), 0U);
    }
    std::array<qint16, size_t(kTileWidth) * 4> components;
    for (int left = 0; left < _canvas.width(); left += kTileWidth) {
        const Span tile{left, std::min(left + kTileWidth, _canvas.width())};
        for (int y = top; y < bottom; ++y) {
            const Row &row = rows[size_t(y - top)];
            const Span visible = row.visible.within(tile);
            const Span inner = row.inner.within(visible);
            const auto output = [&](int x) { return components.data() + qsizetype(x - visible.begin) * 4; };
            turnEdge(row, {visible.begin, inner.begin}, output(visible.begin));
            const Position start{row.start.x + inner.begin * _step.x, row.start.y + inner.begin * _step.y};
            RotationKernels::sample(_image.constBits(), _image.bytesPerLine(), start, _step, _weights, _ahead,
                                    output(inner.begin), inner.end - inner.begin);
            turnEdge(row, {inner.end, visible.end}, output(inner.end));
            ScalingKernels::narrow(components.data(),
                                   _bits + y * _canvas.bytesPerLine() + qsizetype(visible.begin) * 4,
                                   visible.end - visible.begin);
        }
    }
}

void FreeTurn::turnEdge(const Row &row, const Span &span, qint16 *output) const
{
    for (int x = span.begin; x < span.end; ++x, output += 4)
        turnEdgePixel({row.start.x + x * _step.x, row.start.y + x * _step.y}, output);
}

/// The picture's outermost pixels extend outwards, and the pixel counts as far as the picture covers it.
void FreeTurn::turnEdgePixel(const Position &at, qint16 *output) const
{
    std::array<QRgb, 16> around;
    for (int i = 0; i < 16; ++i) {
        const qint64 x = std::clamp<qint64>((at.x >> 32) - 1 + i % 4, 0, _image.width() - 1);
        const qint64 y = std::clamp<qint64>((at.y >> 32) - 1 + i / 4, 0, _image.height() - 1);
        around[size_t(i)] = reinterpret_cast<const QRgb *>(_image.constBits() + y * _image.bytesPerLine())[x];
    }
    constexpr qint64 one = qint64(1) << 32;
    const Position amongThem{one + (at.x & (one - 1)), one + (at.y & (one - 1))};
    RotationKernels::sample(reinterpret_cast<const uchar *>(around.data()), 16, amongThem, {}, _weights, 0,
                            output, 1);
    const auto covered = [](double position, double length) {
        return std::clamp(position + 1, 0.0, 1.0) * std::clamp(length - position, 0.0, 1.0);
    };
    const double coverage = covered(real(at.x), _image.width()) * covered(real(at.y), _image.height());
    for (int c = 0; c < 4; ++c)
        output[c] = qint16(std::lround(output[c] * coverage));
}

} // namespace

QImage ImageOperations::turned(const QImage &image, double degrees, const QSize &canvas)
{
    if (image.isNull() || canvas.isEmpty())
        return {};
    if (!isWorkingFormat(image))
        return turned(inWorkingFormat(image), degrees, canvas);
    const double turn = std::isfinite(degrees) ? std::fmod(degrees, 360.0) : 0.0;
    if (std::fmod(turn, 90.0) == 0)
        return turnedByQuarters(image, (int(turn / 90) + 4) % 4, canvas);
    QImage turned(canvas, QImage::Format_ARGB32_Premultiplied);
    if (turned.isNull())
        return {};
    FreeTurn(image, turn, turned).run();
    return turned;
}
