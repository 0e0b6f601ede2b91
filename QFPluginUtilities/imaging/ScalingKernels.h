#pragma once

#include <QtGlobal>

/// The inner loops of RowScaler. A row is `count` components, four to a pixel. Between the stages a component
/// has six bits of fraction (0 to 16,320) and may swing beyond its range by the ringing of the filter, which
/// sixteen bits hold.
namespace ScalingKernels {

constexpr int kFractionBits = 6;
/// Weights of area means: their sum over one mean, for means of few rows and of many.
template <typename Sum>
constexpr int kMeanBits = 0;
template <>
inline constexpr int kMeanBits<quint16> = 8;
template <>
inline constexpr int kMeanBits<quint32> = 24;
/// Weights of filtering over rows: their sum, which single weights stay below.
constexpr int kRowWeightBits = 15;
/// Rows that are added up in one step.
constexpr int kRowGroup = 4;
/// Rows that are filtered over columns together.
constexpr int kBatch = 4;

/// output = bytes, with fraction.
void widen(const uchar *bytes, qint16 *output, qsizetype count);
/// sums += bytes * weight.
void addToMean(quint16 *sums, const uchar *bytes, quint32 weight, qsizetype count);
void addToMean(quint32 *sums, const uchar *bytes, quint32 weight, qsizetype count);
/// Ends one mean with the row's `weight`, and begins the next with its `nextWeight`.
void finishMean(quint16 *sums, const uchar *bytes, quint32 weight, quint32 nextWeight, qint16 *output,
                qsizetype count);
void finishMean(quint32 *sums, const uchar *bytes, quint32 weight, quint32 nextWeight, qint16 *output,
                qsizetype count);
/// output = weighted sum of rows, whose count is a multiple of kRowGroup; what is too many has a weight of 0.
void filterOverRows(const qint16 *const *rows, const qint16 *weights, int rowCount, qint16 *output,
                    qsizetype count);

/// Which columns one column of the result takes its value from.
struct ColumnSpan
{
    int first = 0;
    int count = 0;
    qsizetype weightsAt = 0;
};
/// Puts a row of `pixels` pixels into its place in a batch, where four rows lie side by side pixel by pixel.
void putIntoBatch(const qint16 *row, float *batch, int place, qsizetype pixels);
/// All four rows filtered: row n of the output begins at n * stride.
void filterOverColumns(const float *batch, const ColumnSpan *spans, const float *weights, qsizetype pixels,
                       float *output, qsizetype stride);
/// To the nearest of the sixteen-bit components.
void round(const float *row, qint16 *output, qsizetype count);

/// Rounded to bytes within their range; no component above its pixel's alpha.
void narrow(const qint16 *row, uchar *bytes, qsizetype pixels);
/// The same with every alpha 255.
void narrowOpaque(const qint16 *row, uchar *bytes, qsizetype pixels);

} // namespace ScalingKernels
