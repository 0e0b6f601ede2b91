#include "imaging/GaussianBlur.h"

#include "imaging/Vectorised.h"

#include <algorithm>
#include <cmath>

namespace GaussianBlur {

namespace {

constexpr int kBoxes = 4;
constexpr double kSmallestBoxSigma = 2;

/// What is left for the Gaussian when the move by a fraction has had its share of the variance.
double remainingSigma(double sigma, double fraction)
{
    return std::sqrt(std::max(0.0, sigma * sigma - fraction * (1 - fraction)));
}

} // namespace

Kernel kernel(double sigma, double fraction)
{
    const double remaining = remainingSigma(sigma, fraction);
    const int radius = int(std::ceil(4 * remaining));
    const size_t taps = 2 * size_t(radius) + 1;
    Kernel made{-radius, std::vector<double>(taps + 1)};
    double sum = 0;
    const auto gaussian = [remaining, radius](size_t tap) {
        const double x = double(tap) - radius;
        return x == 0 ? 1.0 : std::exp(-0.5 * x * x / (remaining * remaining));
    };
    for (size_t tap = 0; tap < taps; ++tap)
        sum += gaussian(tap);
    for (size_t tap = 0; tap < taps; ++tap) {
        const double weight = gaussian(tap) / sum;
        made.weights[tap] += weight * (1 - fraction);
        made.weights[tap + 1] += weight * fraction;
    }
    if (fraction == 0)
        made.weights.pop_back();
    return made;
}

/// One box mean: whole from -radius to radius, and in part (`end`) one further to either side.
QF_VECTORISED static void boxMean(const float *input, float *output, qsizetype count, qsizetype radius,
                                  float end)
{
    constexpr qsizetype lines = Lines::kLines;
    const float whole = 1 / (float(2 * radius + 1) + 2 * end);
    const qsizetype reach = radius * lines;
    float sums[lines] = {};
    for (const float *at = input - reach; at < input + reach + lines; at += lines) {
        for (qsizetype i = 0; i < lines; ++i)
            sums[i] += at[i];
    }
    for (qsizetype n = 0; n < count; ++n, input += lines, output += lines) {
        const float *const before = input - reach - lines;
        const float *const after = input + reach + lines;
        const float *const leaving = input - reach;
        for (qsizetype i = 0; i < lines; ++i) {
            output[i] = (sums[i] + end * (before[i] + after[i])) * whole;
            sums[i] += after[i] - leaving[i];
        }
    }
}

/// output[n] = sum of input[n - tap] * weight.
QF_VECTORISED static void convolve(const float *input, float *output, qsizetype count, const float *taps,
                                   int tapCount)
{
    constexpr qsizetype lines = Lines::kLines;
    for (qsizetype n = 0; n < count; ++n, input += lines, output += lines) {
        float sums[lines] = {};
        for (qsizetype tap = 0; tap < tapCount; ++tap) {
            const float *const from = input - tap * lines;
            for (qsizetype i = 0; i < lines; ++i)
                sums[i] += from[i] * taps[tap];
        }
        for (qsizetype i = 0; i < lines; ++i)
            output[i] = sums[i];
    }
}

Lines::Lines(double sigma, double fraction, int length) : _length(length)
{
    if (sigma < kSmallestBoxSigma) {
        const Kernel small = kernel(sigma, fraction);
        _firstTap = small.first;
        _taps.assign(small.weights.begin(), small.weights.end());
        _reach = int(small.weights.size());
    } else {
        // The box whose variance, that of whole pixels, is this share of the Gaussian's.
        const double remaining = remainingSigma(sigma, fraction);
        const double variance = remaining * remaining / kBoxes;
        const double radius = std::floor((std::sqrt(1 + 12 * variance) - 1) / 2);
        const double width = 2 * radius + 1;
        const double next = (radius + 1) * (radius + 1);
        _boxRadius = int(radius);
        _boxEnd = float((variance * width - radius * (radius + 1) * width / 3) / (2 * (next - variance)));
        _padding = _boxRadius + 1;
        if (fraction > 0)
            _taps = {float(1 - fraction), float(fraction)};
        _reach = kBoxes * (_boxRadius + 1) + 1;
    }
    const size_t positions = size_t(_length) + 2 * size_t(_reach + _padding);
    _input.resize(positions * kLines);
    _output.resize(positions * kLines);
}

void Lines::clear()
{
    std::fill(_input.begin(), _input.end(), 0.0F);
}

const float *Lines::blurred()
{
    const qsizetype start = qsizetype(_padding) * kLines;
    float *input = _input.data() + start;
    float *output = _output.data() + start;
    for (int box = 0; box < (_padding > 0 ? kBoxes : 0); ++box) {
        boxMean(input, output, _length + 2 * qsizetype(_reach), _boxRadius, _boxEnd);
        std::swap(input, output);
    }
    const qsizetype first = qsizetype(_reach) * kLines;
    if (_taps.empty())
        return input + first;
    convolve(input + first - qsizetype(_firstTap) * kLines, output + first, _length, _taps.data(),
             int(_taps.size()));
    return output + first;
}

} // namespace GaussianBlur
