#include "imaging/ScalingWeights.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ScalingWeights {

namespace {

constexpr double kLobes = 3;
/// Where it shrinks, the filter is a little wider than the result's pixels: that takes a tenth from what is
/// left of patterns too fine for the result, and hardly anything from those that are not (measured on a zone
/// plate).
constexpr double kWider = 1.015;

/// sin(x) at points that are the same step apart: the next one takes no more than four multiplications.
class Sines
{
public:
    Sines(double first, double step)
        : _sine(std::sin(first)), _cosine(std::cos(first)), _stepSine(std::sin(step)),
          _stepCosine(std::cos(step))
    {
    }

    [[nodiscard]] double next()
    {
        const double sine = _sine;
        _sine = sine * _stepCosine + _cosine * _stepSine;
        _cosine = _cosine * _stepCosine - sine * _stepSine;
        return sine;
    }

private:
    double _sine;
    double _cosine;
    double _stepSine;
    double _stepCosine;
};

/// sinc(x) sinc(x / 3), of sin(pi x / 3) alone: sin(3 a) = 3 sin(a) - 4 sin(a)^3.
double lanczosAt(double x, double sineOfThird)
{
    static_assert(kLobes == 3);
    if (std::abs(x) >= kLobes)
        return 0;
    const double angle = std::numbers::pi * x;
    const double square = sineOfThird * sineOfThird;
    return std::abs(angle) < 1e-6 ? 1 : 3 * square * (3 - 4 * square) / (angle * angle);
}

/// Drops what counts for nothing at both ends, and makes the sum one.
Taps normalized(Taps taps)
{
    constexpr double nothing = 1e-7;
    const auto counts = [](double weight) { return std::abs(weight) > nothing; };
    std::vector<double> &weights = taps.weights;
    weights.erase(std::find_if(weights.rbegin(), weights.rend(), counts).base(), weights.end());
    const auto first = std::find_if(weights.begin(), weights.end(), counts);
    taps.first += int(first - weights.begin());
    weights.erase(weights.begin(), first);
    double sum = 0;
    for (const double weight : weights)
        sum += weight;
    for (double &weight : weights)
        weight /= sum;
    return taps;
}

} // namespace

int Line::firstPixel() const
{
    return int(std::floor(begin));
}

int Line::lastPixel() const
{
    return std::max(firstPixel(), int(std::ceil(end)) - 1);
}

Taps lanczos(const Line &line, int index)
{
    const double stretch = line.step() > 1 ? line.step() * kWider : 1;
    const double centre = line.begin + (index + 0.5) * line.step() - 0.5;
    const int from = int(std::ceil(centre - kLobes * stretch));
    const int to = int(std::floor(centre + kLobes * stretch));
    const int lowest = line.firstPixel();
    const int highest = line.lastPixel();
    Taps taps{std::clamp(from, lowest, highest), {}};
    taps.weights.resize(size_t(std::clamp(to, lowest, highest) - taps.first) + 1);
    const double third = std::numbers::pi / (kLobes * stretch);
    Sines sines((from - centre) * third, third);
    for (int pixel = from; pixel <= to; ++pixel)
        taps.weights[size_t(std::clamp(pixel, lowest, highest) - taps.first)] +=
            lanczosAt((pixel - centre) / stretch, sines.next());
    return normalized(std::move(taps));
}

Taps mean(const Line &line, int index)
{
    const double begin = line.begin + index * line.step();
    const double end = index + 1 == line.count ? line.end : line.begin + (index + 1) * line.step();
    const Line area{begin, end, 1};
    Taps taps{area.firstPixel(), {}};
    for (int pixel = area.firstPixel(); pixel <= area.lastPixel(); ++pixel)
        taps.weights.push_back(std::min(end, pixel + 1.0) - std::max(begin, double(pixel)));
    return normalized(std::move(taps));
}

Taps meansAndLanczos(const Line &line, int index)
{
    if (!line.beginsWithMeans())
        return lanczos(line, index);
    const Line means = line.means();
    const Taps outer = lanczos(line.afterMeans(), index);
    Taps taps{mean(means, outer.first).first, {}};
    for (size_t i = 0; i < outer.weights.size(); ++i) {
        const Taps inner = mean(means, outer.first + int(i));
        const size_t offset = size_t(inner.first - taps.first);
        taps.weights.resize(std::max(taps.weights.size(), offset + inner.weights.size()));
        for (size_t k = 0; k < inner.weights.size(); ++k)
            taps.weights[offset + k] += outer.weights[i] * inner.weights[k];
    }
    return normalized(std::move(taps));
}

} // namespace ScalingWeights
