#pragma once

#include <vector>

/// What pixels of a line of the source make each pixel of a line of the result, in one direction.
namespace ScalingWeights {

/// Weights of the pixels from `first` on; their sum is one.
struct Taps
{
    int first = 0;
    std::vector<double> weights;
};

/// The part [begin, end) of a line, in pixels, scaled to `count` pixels. Its outermost pixels, whole or cut,
/// extend outwards; those outside it never count.
struct Line
{
    double begin = 0;
    double end = 1;
    int count = 1;

    [[nodiscard]] double step() const { return (end - begin) / count; }
    /// Shrinks more than fourfold, so that area means at three times the result come first.
    [[nodiscard]] bool beginsWithMeans() const { return step() > 4; }
    /// The line of the means.
    [[nodiscard]] Line means() const { return {begin, end, count * 3}; }
    /// From the means to the result.
    [[nodiscard]] Line afterMeans() const { return {0, count * 3.0, count}; }
    [[nodiscard]] int firstPixel() const;
    [[nodiscard]] int lastPixel() const;
};

/// Lanczos with three lobes, as wide as the result's pixels where that shrinks. Cost: six times the step.
[[nodiscard]] Taps lanczos(const Line &line, int index);
/// The area of each pixel inside pixel `index` of the result.
[[nodiscard]] Taps mean(const Line &line, int index);
/// Both in one where the line begins with means, Lanczos alone otherwise.
[[nodiscard]] Taps meansAndLanczos(const Line &line, int index);

} // namespace ScalingWeights
