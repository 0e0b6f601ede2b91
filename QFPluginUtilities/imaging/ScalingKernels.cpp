#include "imaging/ScalingKernels.h"

#include "imaging/Vectorised.h"

#include <algorithm>

namespace ScalingKernels {

QF_VECTORISED void widen(const uchar *bytes, qint16 *output, qsizetype count)
{
    for (qsizetype i = 0; i < count; ++i)
        output[i] = qint16(bytes[i] << kFractionBits);
}

QF_VECTORISED void addToMean(quint32 *sums, const uchar *bytes, quint32 weight, qsizetype count)
{
    for (qsizetype i = 0; i < count; ++i)
        sums[i] += bytes[i] * weight;
}

QF_VECTORISED void finishMean(quint32 *sums, const uchar *bytes, quint32 weight, quint32 nextWeight,
                              qint16 *output, qsizetype count)
{
    constexpr int shift = kMeanBits - kFractionBits;
    for (qsizetype i = 0; i < count; ++i) {
        const quint32 byte = bytes[i];
        output[i] = qint16((sums[i] + byte * weight + (1U << (shift - 1))) >> shift);
        sums[i] = byte * nextWeight;
    }
}

/// Product of a component and a weight, rounded: the form that compilers know as one instruction.
static inline qint16 weighted(qint16 component, qint16 weight)
{
    return qint16((((int(component) * weight) >> (kRowWeightBits - 1)) + 1) >> 1);
}

QF_VECTORISED void filterOverRows(const qint16 *const *rows, const qint16 *weights, int rowCount,
                                  qint16 *output, qsizetype count)
{
    constexpr qsizetype block = 64;
    qsizetype begin = 0;
    for (; begin + block <= count; begin += block) {
        qint16 sums[block] = {};
        for (int row = 0; row < rowCount; ++row) {
            const qint16 *const components = rows[row] + begin;
            const qint16 weight = weights[row];
            for (qsizetype i = 0; i < block; ++i)
                sums[i] = qint16(sums[i] + weighted(components[i], weight));
        }
        std::copy_n(sums, block, output + begin);
    }
    for (; begin < count; ++begin) {
        qint16 sum = 0;
        for (int row = 0; row < rowCount; ++row)
            sum = qint16(sum + weighted(rows[row][begin], weights[row]));
        output[begin] = sum;
    }
}

QF_VECTORISED void putIntoBatch(const qint16 *row, float *batch, int place, qsizetype pixels)
{
    float *output = batch + place * 4;
    for (qsizetype x = 0; x < pixels; ++x) {
        for (qsizetype c = 0; c < 4; ++c)
            output[x * 4 * kBatch + c] = row[x * 4 + c];
    }
}

QF_VECTORISED void filterOverColumns(const float *batch, const ColumnSpan *spans, const float *weights,
                                     qsizetype pixels, qint16 *output, qsizetype stride)
{
    constexpr qsizetype lanes = 4 * kBatch;
    for (qsizetype x = 0; x < pixels; ++x) {
        const ColumnSpan span = spans[x];
        const float *components = batch + span.first * lanes;
        const float *const weight = weights + span.weightsAt;
        float sums[lanes] = {};
        for (int k = 0; k < span.count; ++k, components += lanes) {
            for (qsizetype i = 0; i < lanes; ++i)
                sums[i] += components[i] * weight[k];
        }
        qint16 rounded[lanes];
        for (qsizetype i = 0; i < lanes; ++i)
            rounded[i] = qint16(int(sums[i] + 32768.5F) - 32768);
        for (qsizetype row = 0; row < kBatch; ++row)
            std::copy_n(rounded + row * 4, 4, output + row * stride + x * 4);
    }
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
