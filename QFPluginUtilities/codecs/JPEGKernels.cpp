#include "codecs/JPEGKernels.h"

#include "imaging/Vectorised.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <numbers>

namespace JPEGKernels {

namespace {

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
void transformed(const Block &block, float *samples, qsizetype stride)
{
    constexpr float kMiddle = 128;
    if (block.isFlat) {
        for (int y = 0; y < height; ++y, samples += stride)
            std::fill_n(samples, width, block.coefficients[0] + kMiddle);
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
            samples[x] = sums[x];
    }
}

} // namespace

Transform transform(int width, int height)
{
    static constexpr std::array<std::array<Transform, 4>, 4> kTransforms{{
        {transformed<1, 1>, transformed<1, 2>, transformed<1, 4>, transformed<1, 8>},
        {transformed<2, 1>, transformed<2, 2>, transformed<2, 4>, transformed<2, 8>},
        {transformed<4, 1>, transformed<4, 2>, transformed<4, 4>, transformed<4, 8>},
        {transformed<8, 1>, transformed<8, 2>, transformed<8, 4>, transformed<8, 8>},
    }};
    const auto index = [](int size) { return size_t(std::countr_zero(unsigned(size))); };
    return kTransforms[index(width)][index(height)];
}

float scale(int column, int row)
{
    const auto part = [](int index) { return index == 0 ? std::sqrt(0.125F) : 0.5F; };
    return part(column) * part(row);
}

/// Rounded, as a whole number, which compilers know how to clamp many at a time.
static inline int level(float value)
{
    const float upwards = value + 0.5F;
    return std::min(std::max(int(upwards), 0), 255);
}

QF_VECTORISED void toPixels(const float *y, const float *blue, const float *red, QRgb *pixels, int count)
{
    for (int x = 0; x < count; ++x) {
        const auto light = float(level(y[x]));
        const auto b = float(level(blue[x]) - 128);
        const auto r = float(level(red[x]) - 128);
        pixels[x] = 0xFF000000U | quint32(level(light + 1.402F * r)) << 16 |
                    quint32(level(light - 0.344136F * b - 0.714136F * r)) << 8 |
                    quint32(level(light + 1.772F * b));
    }
}

QF_VECTORISED void greyToPixels(const float *y, QRgb *pixels, int count)
{
    for (int x = 0; x < count; ++x)
        pixels[x] = 0xFF000000U | quint32(level(y[x])) * 0x010101U;
}

} // namespace JPEGKernels
