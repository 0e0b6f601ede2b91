#pragma once

#include <QRgb>

/// What is done for each block and row of a JPEG picture that is about to be scaled down.
namespace JPEGKernels {

/// Coefficients of a block, eight a row, of which the first `rows` are not all zero; and one more, where
/// those go that nobody wants.
struct Block
{
    alignas(32) float coefficients[65] = {};
    int rows = 0;
    bool isFlat = true; ///< the first coefficient is all there is
};

/// Makes samples of the lowest coefficients: as many of them each way as there are samples. That is the
/// block without the frequencies that the samples cannot show. They are rounded, and may lie a little outside
/// 0 to 255.
using Transform = void (*)(const Block &block, qint16 *samples, qsizetype stride);
/// For blocks of `width` x `height` samples, each 1, 2, 4 or 8; coefficients are to be multiplied by `scale`.
[[nodiscard]] Transform transform(int width, int height);
/// Where in the block the coefficient of a column and row is to be, for the transform of this size.
[[nodiscard]] uchar position(int width, int height, int column, int row);
/// Factor for the coefficient of a column and row, for the transform of this size.
[[nodiscard]] float scale(int width, int height, int column, int row);

/// What a pixel's colour adds to its luminance.
struct Colours
{
    qint16 *red;
    qint16 *green;
    qint16 *blue;
};
/// Of rows of colour differences.
void toColours(const qint16 *blue, const qint16 *red, const Colours &colours, int count);
/// Each of `count` twice.
void repeatEach(const qint16 *samples, qint16 *repeated, int count);

/// Opaque pixels of a row.
void toPixels(const qint16 *y, const Colours &colours, QRgb *pixels, int count);
void greyToPixels(const qint16 *y, QRgb *pixels, int count);

} // namespace JPEGKernels
