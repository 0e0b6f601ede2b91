#include "imaging/ScalingKernels.h"

#include "imaging/Vectorised.h"

#include <algorithm>
#include <cstring>

namespace ScalingKernels {

QF_VECTORISED void widen(const uchar *bytes, qint16 *output, qsizetype count)
{
    for (qsizetype i = 0; i < count; ++i)
        output[i] = qint16(bytes[i] << kFractionBits);
}

template <typename Sum>
static inline void add(Sum *__restrict sums, const uchar *__restrict bytes, Sum weight, qsizetype count)
{
    for (qsizetype i = 0; i < count; ++i)
        sums[i] = Sum(sums[i] + bytes[i] * weight);
}

template <typename Sum>
static inline void finish(Sum *__restrict sums, const uchar *__restrict bytes, Sum weight, Sum nextWeight,
                          qint16 *__restrict output, qsizetype count)
{
    constexpr int shift = kMeanBits<Sum> - kFractionBits;
    constexpr Sum half = Sum(1) << (shift - 1);
    for (qsizetype i = 0; i < count; ++i) {
        output[i] = qint16(Sum(sums[i] + bytes[i] * weight + half) >> shift);
        sums[i] = Sum(bytes[i] * nextWeight);
    }
}

QF_VECTORISED void addToMean(quint16 *sums, const uchar *bytes, quint32 weight, qsizetype count)
{
    add(sums, bytes, quint16(weight), count);
}

QF_VECTORISED void addToMean(quint32 *sums, const uchar *bytes, quint32 weight, qsizetype count)
{
    add(sums, bytes, weight, count);
}

QF_VECTORISED void finishMean(quint16 *sums, const uchar *bytes, quint32 weight, quint32 nextWeight,
                              qint16 *output, qsizetype count)
{
    finish(sums, bytes, quint16(weight), quint16(nextWeight), output, count);
}

QF_VECTORISED void finishMean(quint32 *sums, const uchar *bytes, quint32 weight, quint32 nextWeight,
                              qint16 *output, qsizetype count)
{
    finish(sums, bytes, weight, nextWeight, output, count);
}

/// Product of a component and a weight, rounded: the form that compilers know as one instruction.
static inline qint16 weighted(qint16 component, qint16 weight)
{
    return qint16((((int(component) * weight) >> (kRowWeightBits - 1)) + 1) >> 1);
}

/// output += weighted sum of four rows.
static inline void addFourRows(const qint16 *const *rows, const qint16 *weights, qsizetype begin,
                               qint16 *__restrict output, qsizetype count)
{
    const qint16 *__restrict const first = rows[0] + begin;
    const qint16 *__restrict const second = rows[1] + begin;
    const qint16 *__restrict const third = rows[2] + begin;
    const qint16 *__restrict const fourth = rows[3] + begin;
    const qint16 w0 = weights[0];
    const qint16 w1 = weights[1];
    const qint16 w2 = weights[2];
    const qint16 w3 = weights[3];
    for (qsizetype i = 0; i < count; ++i)
        output[i] = qint16(output[i] + weighted(first[i], w0) + weighted(second[i], w1) +
                           weighted(third[i], w2) + weighted(fourth[i], w3));
}

QF_VECTORISED void filterOverRows(const qint16 *const *rows, const qint16 *weights, int rowCount,
                                  qint16 *output, qsizetype count)
{
    // A block of the result stays in the first-level cache while all rows are added to it.
    constexpr qsizetype block = 2048;
    for (qsizetype begin = 0; begin < count; begin += block) {
        const qsizetype length = std::min(block, count - begin);
        std::fill_n(output + begin, length, qint16(0));
        for (int row = 0; row < rowCount; row += kRowGroup)
            addFourRows(rows + row, weights + row, begin, output + begin, length);
    }
}

QF_VECTORISED void putIntoBatch(const qint16 *row, float *batch, int place, qsizetype pixels)
{
    float *output = batch + qsizetype(place) * 4;
    for (qsizetype x = 0; x < pixels; ++x) {
        for (qsizetype c = 0; c < 4; ++c)
            output[x * 4 * kBatch + c] = row[x * 4 + c];
    }
}

QF_VECTORISED void filterOverColumns(const float *batch, const ColumnSpan *spans, const float *weights,
                                     qsizetype pixels, float *output, qsizetype stride)
{
    // Two rows of the batch at a time, as the compiler's own vectors: plain loops it unrolls the wrong way.
    using TwoRows = float __attribute__((vector_size(32)));
    using OneRow = float __attribute__((vector_size(16)));
    constexpr qsizetype lanes = qsizetype(4) * kBatch;
    static_assert(kBatch == 4);
    for (qsizetype x = 0; x < pixels; ++x, output += 4) {
        const ColumnSpan span = spans[x];
        const float *components = batch + span.first * lanes;
        const float *const weight = weights + span.weightsAt;
        TwoRows upper = {};
        TwoRows lower = {};
        for (int k = 0; k < span.count; ++k, components += lanes) {
            TwoRows two;
            std::memcpy(&two, components, sizeof two);
            upper += two * weight[k];
            std::memcpy(&two, components + lanes / 2, sizeof two);
            lower += two * weight[k];
        }
        const OneRow rows[]{__builtin_shufflevector(upper, upper, 0, 1, 2, 3),
                            __builtin_shufflevector(upper, upper, 4, 5, 6, 7),
                            __builtin_shufflevector(lower, lower, 0, 1, 2, 3),
                            __builtin_shufflevector(lower, lower, 4, 5, 6, 7)};
        for (int row = 0; row < kBatch; ++row)
            std::memcpy(output + row * stride, &rows[row], sizeof(OneRow));
    }
}

QF_VECTORISED void round(const float *row, qint16 *output, qsizetype count)
{
    // Above zero, cutting off is rounding down.
    constexpr float lift = 32768;
    for (qsizetype i = 0; i < count; ++i)
        output[i] = qint16(int(row[i] + (lift + 0.5F)) - int(lift));
}

QF_VECTORISED void narrowOpaque(const qint16 *row, uchar *bytes, qsizetype pixels)
{
    for (qsizetype i = 0; i < pixels * 4; ++i)
        bytes[i] = uchar(std::clamp((row[i] + (1 << (kFractionBits - 1))) >> kFractionBits, 0, 255));
    quint32 *const whole = reinterpret_cast<quint32 *>(bytes);
    for (qsizetype x = 0; x < pixels; ++x)
        whole[x] |= 0xff000000U;
}

QF_VECTORISED void narrow(const qint16 *row, uchar *bytes, qsizetype pixels)
{
    for (qsizetype i = 0; i < pixels * 4; ++i)
        bytes[i] = uchar(std::clamp((row[i] + (1 << (kFractionBits - 1))) >> kFractionBits, 0, 255));
    for (qsizetype x = 0; x < pixels; ++x, bytes += 4) {
        const uchar alpha = bytes[3];
        for (qsizetype c = 0; c < 3; ++c)
            bytes[c] = std::min(bytes[c], alpha);
    }
}

} // namespace ScalingKernels
