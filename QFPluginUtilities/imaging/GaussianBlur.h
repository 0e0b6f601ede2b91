#pragma once

#include <QtGlobal>

#include <vector>

/// Gaussian blur of a plane in one direction, with a move by part of a pixel in the same step.
namespace GaussianBlur {

/// The Gaussian for whole pixels from `first` on; the sum of its weights is one.
struct Kernel
{
    int first = 0;
    std::vector<double> weights;
};

/// A Gaussian of `sigma` pixels, moved by `fraction` (0 to 1) of a pixel. A move blurs by itself; where sigma
/// allows it, that is taken from the Gaussian, so that all of it together has this sigma.
[[nodiscard]] Kernel kernel(double sigma, double fraction);

/// Blurs many lines at a time, at a cost that does not depend on sigma: below two pixels by the kernel, above
/// by four box means with fractional ends, which differ from the Gaussian by 1 % of the whole at most.
class Lines
{
public:
    /// Lines that are blurred together: position n of line l is component n * kLines + l.
    static constexpr int kLines = 16;

    Lines(double sigma, double fraction, int length);

    /// How far the blur reaches to either side.
    [[nodiscard]] int reach() const { return _reach; }
    /// What is to be blurred: `length` positions, with `reach` more before and after them.
    [[nodiscard]] float *input() { return _input.data() + qsizetype(_padding) * kLines; }
    /// All of the input is nothing again.
    void clear();
    /// The first of the `length` positions of the result. Uses the input up.
    [[nodiscard]] const float *blurred();

private:
    int _length;
    int _reach = 0;
    int _firstTap = 0;
    int _padding = 0;
    int _boxRadius = 0;
    float _boxEnd = 0;
    std::vector<float> _taps;
    std::vector<float> _input;
    std::vector<float> _output;
};

} // namespace GaussianBlur
