#pragma once

#include "codecs/ColourPalette.h"

#include <QImage>

/// Drawing a picture with few colours so that it looks like more.
namespace ErrorDiffusion {

/// The picture in the colours of the palette, as Indexed8 without its table. What a pixel's colour lacks is
/// passed to its neighbours in the shares of Floyd and Steinberg, row by row forth and back. Pixels with no
/// alpha become the index `transparent`.
[[nodiscard]] QImage indexed(const QImage &image, const ColourPalette &palette, uchar transparent);

} // namespace ErrorDiffusion
