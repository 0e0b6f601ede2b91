#pragma once

#include <QtGlobal>

#include <array>

/// The inner loop of turning by free angles.
namespace RotationKernels {

constexpr int kPhaseBits = 9;
constexpr int kPhases = 1 << kPhaseBits;

/// Catmull-Rom weights of four neighbouring pixels for each position between the middle two.
struct Weights
{
    /// Of rows.
    std::array<std::array<qint16, 4>, kPhases> down;
    /// Of columns, each four times: once for each component.
    std::array<std::array<qint16, 16>, kPhases> across;
};
[[nodiscard]] const Weights &weights();

/// Positions in the source with 32 bits of fraction; whole ones are the centres of pixels.
struct Position
{
    qint64 x = 0;
    qint64 y = 0;
};

/// One output pixel, as ScalingKernels has them, for each position from `start` on. All the sixteen pixels
/// around each position must lie in the picture at `bits`. What lies `ahead` bytes behind them is asked for
/// from memory, as it will be needed soon.
void sample(const uchar *bits, qsizetype bytesPerLine, Position start, Position step, const Weights &weights,
            qsizetype ahead, qint16 *output, int count);

} // namespace RotationKernels
