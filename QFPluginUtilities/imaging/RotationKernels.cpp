#include "imaging/RotationKernels.h"

#include "imaging/ScalingKernels.h"
#include "imaging/Vectorised.h"

#include <algorithm>
#include <cmath>

namespace RotationKernels {

namespace {

constexpr int kOne = 1 << ScalingKernels::kRowWeightBits;

/// Catmull-Rom: cubic convolution with a = -0.5.
double catmullRomAt(double x)
{
    const double distance = std::abs(x);
    if (distance < 1)
        return (1.5 * distance - 2.5) * distance * distance + 1;
    if (distance < 2)
        return ((-0.5 * distance + 2.5) * distance - 4) * distance + 2;
    return 0;
}

std::array<qint16, 4> weightsOfPhase(int phase)
{
    std::array<qint16, 4> made{};
    int rest = kOne;
    for (int tap = 0; tap < 4; ++tap) {
        const double weight = catmullRomAt(tap - 1 - double(phase) / kPhases);
        made[size_t(tap)] = qint16(std::min(std::lround(weight * kOne), long(kOne - 1)));
        rest -= made[size_t(tap)];
    }
    // A weight of one cannot be held; one part less rounds to the same.
    qint16 &largest = *std::max_element(made.begin(), made.end());
    largest = qint16(std::min(largest + rest, kOne - 1));
    return made;
}

Weights madeWeights()
{
    Weights made{};
    for (int phase = 0; phase < kPhases; ++phase) {
        made.down[size_t(phase)] = weightsOfPhase(phase);
        for (size_t i = 0; i < 16; ++i)
            made.across[size_t(phase)][i] = made.down[size_t(phase)][i / 4];
    }
    return made;
}

} // namespace

const Weights &weights()
{
    static const Weights made = madeWeights();
    return made;
}

static inline qint16 weighted(int component, qint16 weight)
{
    return qint16((((component * weight) >> (ScalingKernels::kRowWeightBits - 1)) + 1) >> 1);
}

QF_VECTORISED void sample(const uchar *bits, qsizetype bytesPerLine, Position start, Position step,
                          const Weights &weights, qint16 *output, int count)
{
    constexpr int shift = ScalingKernels::kFractionBits;
    for (int i = 0; i < count; ++i, start.x += step.x, start.y += step.y, output += 4) {
        const uchar *const top = bits + ((start.y >> 32) - 1) * bytesPerLine + ((start.x >> 32) - 1) * 4;
        const auto &down = weights.down[size_t(start.y >> (32 - kPhaseBits)) % kPhases];
        const auto &across = weights.across[size_t(start.x >> (32 - kPhaseBits)) % kPhases];
        qint16 columns[16];
        for (int k = 0; k < 16; ++k) {
            const qint16 first = qint16(top[k] << shift);
            const qint16 second = qint16(top[bytesPerLine + k] << shift);
            const qint16 third = qint16(top[2 * bytesPerLine + k] << shift);
            const qint16 fourth = qint16(top[3 * bytesPerLine + k] << shift);
            const qint16 sum = qint16(weighted(first, down[0]) + weighted(second, down[1]) +
                                      weighted(third, down[2]) + weighted(fourth, down[3]));
            columns[k] = weighted(sum, across[size_t(k)]);
        }
        for (int c = 0; c < 4; ++c)
            output[c] = qint16(columns[c] + columns[4 + c] + columns[8 + c] + columns[12 + c]);
    }
}

} // namespace RotationKernels
