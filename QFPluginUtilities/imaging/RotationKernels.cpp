#include "imaging/RotationKernels.h"

#include "imaging/ScalingKernels.h"
#include "imaging/Vectorised.h"

#include <algorithm>
#include <cmath>
#include <cstring>

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

/// Product of a component and a weight, rounded: the form that compilers know as one instruction.
static inline qint16 weighted(qint16 component, qint16 weight)
{
    return qint16((((int(component) * weight) >> (ScalingKernels::kRowWeightBits - 1)) + 1) >> 1);
}

/// Four rows of four pixels each.
constexpr int kAround = 64;
/// Pixels that are worked on in one step: first all their surroundings are fetched, then all are filtered.
/// Each of the two is a loop that the compiler can vectorise; both in one are not.
constexpr int kStep = 32;

static inline void fetch(const uchar *bits, qsizetype bytesPerLine, Position at, Position step,
                         qsizetype ahead, int count, qint16 *__restrict around)
{
    using Bytes = uchar __attribute__((vector_size(16)));
    using Components = qint16 __attribute__((vector_size(32)));
    for (int i = 0; i < count; ++i, at.x += step.x, at.y += step.y) {
        const uchar *row = bits + ((at.y >> 32) - 1) * bytesPerLine + ((at.x >> 32) - 1) * 4;
        __builtin_prefetch(row + ahead);
        for (int k = 0; k < 4; ++k, row += bytesPerLine, around += 16) {
            Bytes bytes;
            std::memcpy(&bytes, row, sizeof bytes);
            const Components components = __builtin_convertvector(bytes, Components)
                                          << ScalingKernels::kFractionBits;
            std::memcpy(around, &components, sizeof components);
        }
    }
}

QF_VECTORISED void sample(const uchar *bits, qsizetype bytesPerLine, Position start, Position step,
                          const Weights &weights, qsizetype ahead, qint16 *output, int count)
{
    qint16 around[kStep * kAround];
    for (int done = 0; done < count; done += kStep) {
        const int now = std::min(kStep, count - done);
        fetch(bits, bytesPerLine, start, step, ahead, now, around);
        const qint16 *pixels = around;
        for (int i = 0; i < now; ++i, start.x += step.x, start.y += step.y, pixels += kAround, output += 4) {
            const qint16 *const down = weights.down[size_t(start.y >> (32 - kPhaseBits)) % kPhases].data();
            const qint16 *const across =
                weights.across[size_t(start.x >> (32 - kPhaseBits)) % kPhases].data();
            qint16 columns[16];
            for (int k = 0; k < 16; ++k) {
                const qint16 sum =
                    qint16(weighted(pixels[k], down[0]) + weighted(pixels[16 + k], down[1]) +
                           weighted(pixels[32 + k], down[2]) + weighted(pixels[48 + k], down[3]));
                columns[k] = weighted(sum, across[k]);
            }
            for (int c = 0; c < 4; ++c)
                output[c] = qint16(columns[c] + columns[4 + c] + columns[8 + c] + columns[12 + c]);
        }
    }
}

} // namespace RotationKernels
