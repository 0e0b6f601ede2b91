#include "codecs/JPEGKernels.h"

#include "imaging/Vectorised.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <numbers>

namespace JPEGKernels {

namespace {

/// What samples are coded as differences from.
constexpr float kMiddle = 128;

/// Down where it is above zero; what is below stays there.
inline qint16 rounded(float value)
{
    const float upwards = value + 0.5F;
    return qint16(int(upwards));
}

/// Of `count` samples, how much of each coefficient is in each: [coefficient][sample].
template <int count>
struct Basis
{
    Basis()
    {
        for (int u = 0; u < count; ++u) {
            for (int n = 0; n < count; ++n)
                part[u][n] = float(std::cos((2 * n + 1) * u * std::numbers::pi / (2 * count)));
        }
    }
    float part[count][count];
};

template <int count>
const Basis<count> kBasis;

template <int width, int height>
void transformed(const Block &block, qint16 *samples, qsizetype stride)
{
    if (block.isFlat) {
        for (int y = 0; y < height; ++y, samples += stride)
            std::fill_n(samples, width, rounded(block.coefficients[0] + kMiddle));
        return;
    }
    const int rows = std::min(block.rows, height);
    float across[height][width] = {};
    for (int row = 0; row < rows; ++row) {
        const float *const coefficients = block.coefficients + qsizetype(row) * 8;
        float sums[width];
        for (int x = 0; x < width; ++x)
            sums[x] = coefficients[0];
        for (int u = 1; u < width; ++u) {
            for (int x = 0; x < width; ++x)
                sums[x] += coefficients[u] * kBasis<width>.part[u][x];
        }
        for (int x = 0; x < width; ++x)
            across[row][x] = sums[x];
    }
    for (int y = 0; y < height; ++y, samples += stride) {
        float sums[width];
        for (int x = 0; x < width; ++x)
            sums[x] = across[0][x] + kMiddle;
        for (int v = 1; v < rows; ++v) {
            for (int x = 0; x < width; ++x)
                sums[x] += across[v][x] * kBasis<height>.part[v][y];
        }
        for (int x = 0; x < width; ++x)
            samples[x] = rounded(sums[x]);
    }
}

/// A row of a whole block.
using Row = float __attribute__((vector_size(32)));

/// From the coefficients of eight columns at once to their samples, with five multiplications each: the other
/// factors are in `scale`.
inline void transformColumns(Row (&rows)[8])
{
    constexpr float kRoot = 1.414213562F;
    const Row outer = rows[0] + rows[4];
    const Row inner = rows[0] - rows[4];
    const Row sum26 = rows[2] + rows[6];
    const Row turned26 = (rows[2] - rows[6]) * kRoot - sum26;
    const Row even[4]{outer + sum26, inner + turned26, inner - turned26, outer - sum26};

    const Row sum17 = rows[1] + rows[7];
    const Row difference17 = rows[1] - rows[7];
    const Row sum53 = rows[5] + rows[3];
    const Row difference53 = rows[5] - rows[3];
    const Row both = (difference17 + difference53) * 1.847759065F;
    const Row odd0 = sum17 + sum53;
    const Row odd1 = both - difference53 * 2.613125930F - odd0;
    const Row odd2 = (sum17 - sum53) * kRoot - odd1;
    const Row odd3 = both - difference17 * 1.082392200F - odd2;

    rows[0] = even[0] + odd0;
    rows[1] = even[1] + odd1;
    rows[2] = even[2] + odd2;
    rows[3] = even[3] + odd3;
    rows[4] = even[3] - odd3;
    rows[5] = even[2] - odd2;
    rows[6] = even[1] - odd1;
    rows[7] = even[0] - odd0;
}

/// Columns become rows: by pairs of samples, by fours, then by halves.
inline void transpose(Row (&rows)[8])
{
    Row pairs[8];
    for (int i = 0; i < 8; i += 2) {
        pairs[i] = __builtin_shufflevector(rows[i], rows[i + 1], 0, 8, 1, 9, 4, 12, 5, 13);
        pairs[i + 1] = __builtin_shufflevector(rows[i], rows[i + 1], 2, 10, 3, 11, 6, 14, 7, 15);
    }
    Row fours[8];
    for (int i = 0; i < 8; i += 4) {
        for (int k = 0; k < 2; ++k) {
            const Row &first = pairs[i + k];
            const Row &second = pairs[i + 2 + k];
            fours[i + 2 * k] = __builtin_shufflevector(first, second, 0, 1, 8, 9, 4, 5, 12, 13);
            fours[i + 2 * k + 1] = __builtin_shufflevector(first, second, 2, 3, 10, 11, 6, 7, 14, 15);
        }
    }
    for (int i = 0; i < 4; ++i) {
        rows[i] = __builtin_shufflevector(fours[i], fours[4 + i], 0, 1, 2, 3, 8, 9, 10, 11);
        rows[4 + i] = __builtin_shufflevector(fours[i], fours[4 + i], 4, 5, 6, 7, 12, 13, 14, 15);
    }
}

} // namespace

/// All 64 samples, eight at a time.
QF_VECTORISED static void wholeTransformed(const Block &block, qint16 *samples, qsizetype stride)
{
    using Levels = qint16 __attribute__((vector_size(16)));
    if (block.isFlat) {
        const Levels levels = Levels{} + rounded(block.coefficients[0] + kMiddle);
        for (int y = 0; y < 8; ++y, samples += stride)
            std::memcpy(samples, &levels, sizeof levels);
        return;
    }
    Row rows[8];
    std::memcpy(rows, block.coefficients, sizeof rows);
    transformColumns(rows);
    transpose(rows);
    rows[0] += kMiddle + 0.5F;
    transformColumns(rows);
    using Numbers = int __attribute__((vector_size(32)));
    for (int y = 0; y < 8; ++y, samples += stride) {
        const auto levels = __builtin_convertvector(__builtin_convertvector(rows[y], Numbers), Levels);
        std::memcpy(samples, &levels, sizeof levels);
    }
}

Transform transform(int width, int height)
{
    static constexpr std::array<std::array<Transform, 4>, 4> kTransforms{{
        {transformed<1, 1>, transformed<1, 2>, transformed<1, 4>, transformed<1, 8>},
        {transformed<2, 1>, transformed<2, 2>, transformed<2, 4>, transformed<2, 8>},
        {transformed<4, 1>, transformed<4, 2>, transformed<4, 4>, transformed<4, 8>},
        {transformed<8, 1>, transformed<8, 2>, transformed<8, 4>, wholeTransformed},
    }};
    const auto index = [](int size) { return size_t(std::countr_zero(unsigned(size))); };
    return kTransforms[index(width)][index(height)];
}

static bool isWhole(int width, int height)
{
    return width == 8 && height == 8;
}

uchar position(int width, int height, int column, int row)
{
    return uchar(isWhole(width, height) ? column * 8 + row : row * 8 + column);
}

float scale(int width, int height, int column, int row)
{
    const bool isOfWhole = isWhole(width, height);
    const auto part = [isOfWhole](int index) {
        const double factor = isOfWhole ? std::cos(index * std::numbers::pi / 16) : 1;
        return index == 0 ? std::sqrt(0.125) : 0.5 * factor;
    };
    return float(part(column) * part(row));
}

static inline qint16 level(qint16 value)
{
    return std::min<qint16>(std::max<qint16>(value, 0), 255);
}

/// In parts of 65536: 1.402 of one, 1.772 of the other, and what green has less of both.
QF_VECTORISED void toColours(const qint16 *blue, const qint16 *red, const Colours &colours, int count)
{
    constexpr int kShift = 16;
    constexpr int kHalf = 1 << (kShift - 1);
    qint16 *__restrict const toRed = colours.red;
    qint16 *__restrict const toGreen = colours.green;
    qint16 *__restrict const toBlue = colours.blue;
    for (int x = 0; x < count; ++x) {
        const int b = level(blue[x]) - 128;
        const int r = level(red[x]) - 128;
        toRed[x] = qint16((91881 * r + kHalf) >> kShift);
        toGreen[x] = qint16((kHalf - 22554 * b - 46802 * r) >> kShift);
        toBlue[x] = qint16((116130 * b + kHalf) >> kShift);
    }
}

QF_VECTORISED void repeatEach(const qint16 *samples, qint16 *repeated, int count)
{
    for (qsizetype x = 0; x < count; ++x) {
        repeated[2 * x] = samples[x];
        repeated[2 * x + 1] = samples[x];
    }
}

QF_VECTORISED void toPixels(const qint16 *y, const Colours &colours, QRgb *pixels, int count)
{
    const qint16 *__restrict const toRed = colours.red;
    const qint16 *__restrict const toGreen = colours.green;
    const qint16 *__restrict const toBlue = colours.blue;
    for (int x = 0; x < count; ++x) {
        const qint16 light = level(y[x]);
        const qint16 red = level(qint16(light + toRed[x]));
        const qint16 green = level(qint16(light + toGreen[x]));
        const qint16 blue = level(qint16(light + toBlue[x]));
        const auto upper = quint16(0xFF00 | red);
        const auto lower = quint16(green << 8 | blue);
        pixels[x] = quint32(upper) << 16 | lower;
    }
}

QF_VECTORISED void greyToPixels(const qint16 *y, QRgb *pixels, int count)
{
    for (int x = 0; x < count; ++x)
        pixels[x] = 0xFF000000U | quint32(level(y[x])) * 0x010101U;
}

} // namespace JPEGKernels
