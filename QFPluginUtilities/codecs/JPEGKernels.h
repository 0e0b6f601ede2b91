#pragma once

#include <QRgb>

/// What is done for each block and row of a JPEG picture that is decoded at less than its size.
namespace JPEGKernels {

/// Coefficients of a block, eight a row, of which the first `rows` are not all zero.
struct Block
{
    alignas(32) float coefficients[64] = {};
    int rows = 0;
    bool isFlat = true; ///< the first coefficient is all there is
};

/// Makes samples of the lowest coefficients: as many of them each way as there are samples. That is the
/// block without the frequencies that the samples cannot show.
using Transform = void (*)(const Block &block, float *samples, qsizetype stride);
/// For blocks of `width` x `height` samples, each 1, 2, 4 or 8; coefficients are to be multiplied by `scale`.
[[nodiscard]] Transform transform(int width, int height);
/// Factor for the coefficient of a column and row.
[[nodiscard]] float scale(int column, int row);

/// Rows of luminance and colour differences, from 0 to 255, as opaque pixels.
void toPixels(const float *y, const float *blue, const float *red, QRgb *pixels, int count);
void greyToPixels(const float *y, QRgb *pixels, int count);

} // namespace JPEGKernels
