#include "imaging/ImageOperations.h"

#include "imaging/GaussianBlur.h"
#include "imaging/Vectorised.h"
#include "imaging/WorkingFormat.h"

#include <QColor>
#include <QPainter>
#include <QRegion>

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <vector>

namespace {

/// Farther away nothing of a picture or its shadow can be on a canvas.
constexpr int kFarAway = 1'000'000;
constexpr float kFull = 65'535;
/// Cutting off what is not negative, plus this, is rounding.
constexpr float kHalf = 0.5F;

/// Where the picture's shadow lies and how it is blurred, across or down.
struct Axis
{
    Axis(int position, double offset, double blur, int pictureLength, int canvasLength)
        : length(pictureLength), canvas(canvasLength), sigma(blur / 3)
    {
        const double move =
            std::isfinite(offset) ? std::clamp(offset, double(-kFarAway), double(kFarAway)) : 0.0;
        fraction = move - std::floor(move);
        begin = position + int(std::floor(move));
    }

    /// The picture before the blur, on the canvas.
    int begin = 0;
    int length;
    int canvas;
    double sigma;
    double fraction = 0;
};

/// The shadow of a full line, without blurring it: the kernel's sums give it exactly.
std::vector<float> profile(const Axis &axis)
{
    const GaussianBlur::Kernel kernel = GaussianBlur::kernel(axis.sigma, axis.fraction);
    std::vector<double> sums{0};
    for (const double weight : kernel.weights)
        sums.push_back(sums.back() + weight);
    const auto sumUpTo = [&](qint64 tap) {
        return sums[size_t(std::clamp<qint64>(tap - kernel.first, 0, qint64(kernel.weights.size())))];
    };
    std::vector<float> made;
    for (qint64 x = 0; x < axis.canvas; ++x)
        made.push_back(float(sumUpTo(x - axis.begin + 1) - sumUpTo(x - axis.begin + 1 - axis.length)));
    return made;
}

/// How dark the shadow is at each pixel of a canvas, from 0 to 65,535.
class Coverage
{
public:
    Coverage(const QImage &picture, const Axis &across, const Axis &down) : _across(across), _down(down)
    {
        if (picture.hasAlphaChannel()) {
            blur(picture);
            return;
        }
        _columns = profile(across);
        _rows = profile(down);
        _row.resize(_columns.size());
    }

    [[nodiscard]] bool isEmptyAt(int y) const { return !_rows.empty() && _rows[size_t(y)] * kFull < kHalf; }
    /// Valid until the next call.
    [[nodiscard]] const quint16 *row(int y)
    {
        if (_rows.empty())
            return plane(y);
        const float factor = _rows[size_t(y)] * kFull;
        std::transform(_columns.begin(), _columns.end(), _row.begin(),
                       [factor](float column) { return quint16(column * factor + kHalf); });
        return _row.data();
    }

private:
    quint16 *plane(int row) { return _plane.data() + size_t(row) * size_t(_across.canvas); }
    void blur(const QImage &picture);
    void blurAcross(const QImage &picture, int firstRow, int rowCount);
    void blurDown(int firstRow, int rowCount, int reach);

    Axis _across;
    Axis _down;
    std::vector<float> _columns;
    std::vector<float> _rows;
    std::vector<quint16> _row;
    std::vector<quint16> _plane;
};

/// [begin, begin + length) as far as it lies in [low, high), as first and end.
std::pair<int, int> overlap(int begin, int length, int low, int high)
{
    const int first = std::clamp(begin, low, high);
    return {first, std::clamp(begin + length, first, high)};
}

quint16 toCoverage(float value)
{
    return quint16(int(std::min(std::max(value, 0.0F), kFull) + kHalf));
}

void Coverage::blur(const QImage &picture)
{
    const GaussianBlur::Lines reaching(_down.sigma, _down.fraction, 1);
    const int reach = reaching.reach();
    const auto [first, end] = overlap(_down.begin, _down.length, -reach, _down.canvas + reach);
    _plane.resize(size_t(std::max(end - first, _down.canvas)) * size_t(_across.canvas));
    blurAcross(picture, first, end - first);
    blurDown(first, end - first, reach);
}

/// Rows of the picture become rows of the plane, from the top of it.
void Coverage::blurAcross(const QImage &picture, int firstRow, int rowCount)
{
    constexpr int lines = GaussianBlur::Lines::kLines;
    GaussianBlur::Lines blur(_across.sigma, _across.fraction, _across.canvas);
    const auto [first, end] =
        overlap(_across.begin, _across.length, -blur.reach(), _across.canvas + blur.reach());
    for (int top = 0; top < rowCount; top += lines) {
        const int used = std::min(lines, rowCount - top);
        std::array<const uchar *, lines> alphas{};
        std::array<quint16 *, lines> outputs{};
        for (int line = 0; line < used; ++line) {
            alphas[size_t(line)] = picture.constScanLine(firstRow + top + line - _down.begin) + 3;
            outputs[size_t(line)] = plane(top + line);
        }
        blur.clear();
        float *input = blur.input() + qsizetype(first + blur.reach()) * lines;
        for (qsizetype x = first - _across.begin; x < end - _across.begin; ++x, input += lines) {
            for (size_t line = 0; line < size_t(used); ++line)
                input[line] = float(alphas[line][x * 4]) * (kFull / 255);
        }
        const float *blurred = blur.blurred();
        for (qsizetype x = 0; x < _across.canvas; ++x, blurred += lines) {
            for (size_t line = 0; line < size_t(used); ++line)
                outputs[line][x] = toCoverage(blurred[line]);
        }
    }
}

/// The plane's rows, of which the first belongs to row `firstRow` of the canvas, become the canvas's.
void Coverage::blurDown(int firstRow, int rowCount, int reach)
{
    constexpr int lines = GaussianBlur::Lines::kLines;
    GaussianBlur::Lines blur(_down.sigma, _down.fraction, _down.canvas);
    for (int left = 0; left < _across.canvas; left += lines) {
        const int used = std::min(lines, _across.canvas - left);
        blur.clear();
        for (int y = 0; y < rowCount; ++y)
            std::copy_n(plane(y) + left, used, blur.input() + qsizetype(firstRow + y + reach) * lines);
        const float *blurred = blur.blurred();
        for (int y = 0; y < _down.canvas; ++y, blurred += lines) {
            quint16 *const output = plane(y) + left;
            for (int x = 0; x < used; ++x)
                output[x] = toCoverage(blurred[x]);
        }
    }
}

/// Premultiplied components in the order of memory, from 0 to 255.
using Tint = std::array<float, 4>;

Tint tintOf(const QColor &colour)
{
    const float alpha = float(colour.alphaF());
    return {float(colour.blueF()) * alpha * 255, float(colour.greenF()) * alpha * 255,
            float(colour.redF()) * alpha * 255, alpha * 255};
}

/// The tint, as far as it covers, over what is there.
QF_VECTORISED void blendTint(uchar *pixels, const quint16 *coverage, const float *tint, int count)
{
    const float left = tint[3] / 255;
    for (int x = 0; x < count; ++x) {
        const float covered = float(coverage[x]) * (1 / kFull);
        for (int c = 0; c < 4; ++c)
            pixels[x * 4 + c] =
                uchar(int(tint[c] * covered + float(pixels[x * 4 + c]) * (1 - left * covered) + kHalf));
    }
}

void fillAround(QImage &canvas, const QRect &hidden, const QColor &ground)
{
    if (hidden.isEmpty()) {
        canvas.fill(ground);
        return;
    }
    QPainter painter(&canvas);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    for (const QRect &part : QRegion(canvas.rect()) - hidden)
        painter.fillRect(part, ground);
}

/// Where an opaque picture lies nothing of the shadow shows.
void drawShadow(QImage &canvas, Coverage &coverage, const QColor &colour, const QRect &hidden)
{
    const Tint tint = tintOf(colour);
    uchar *const bits = canvas.bits();
    for (int y = 0; y < canvas.height(); ++y) {
        if (coverage.isEmptyAt(y))
            continue;
        const quint16 *const row = coverage.row(y);
        uchar *const pixels = bits + y * canvas.bytesPerLine();
        const auto blend = [&](int from, int to) {
            blendTint(pixels + qsizetype(from) * 4, row + from, tint.data(), to - from);
        };
        if (y < hidden.top() || y > hidden.bottom() || hidden.isEmpty()) {
            blend(0, canvas.width());
        } else {
            blend(0, hidden.left());
            blend(hidden.right() + 1, canvas.width());
        }
    }
}

} // namespace

QImage ImageOperations::withShadow(const QImage &image, const QPoint &position, const Shadow &shadow,
                                   const QSize &canvas, const QColor &ground)
{
    if (canvas.isEmpty())
        return {};
    if (!image.isNull() && !isWorkingFormat(image))
        return withShadow(inWorkingFormat(image), position, shadow, canvas, ground);
    const bool isOpaque = ground.isValid() && ground.alpha() == 255;
    QImage drawn(canvas, isOpaque ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied);
    if (drawn.isNull())
        return {};
    const QPoint at(std::clamp(position.x(), -kFarAway, kFarAway),
                    std::clamp(position.y(), -kFarAway, kFarAway));
    const QRect hidden = image.hasAlphaChannel() ? QRect() : QRect(at, image.size()) & drawn.rect();
    fillAround(drawn, hidden, ground.isValid() ? ground : QColor(Qt::transparent));
    if (image.isNull())
        return drawn;
    const double longest = std::max(canvas.width(), canvas.height());
    const double blur = shadow.blur > 0 ? std::min(shadow.blur, longest) : 0;
    try {
        Coverage coverage(image, Axis(at.x(), shadow.offset.x(), blur, image.width(), canvas.width()),
                          Axis(at.y(), shadow.offset.y(), blur, image.height(), canvas.height()));
        drawShadow(drawn, coverage, shadow.colour, hidden);
    } catch (const std::bad_alloc &) {
        return {};
    }
    QPainter painter(&drawn);
    painter.drawImage(at, image);
    return drawn;
}
