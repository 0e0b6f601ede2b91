#pragma once

#include <QRgb>

/// Colours of inks that come without a profile: each component is what white loses to its ink and to black.
namespace PlainCMYK {

/// Makes opaque pixels of four bytes each. Inverted inks are 255 where there is none.
void convert(const uchar *inks, QRgb *row, int count, bool areInverted);

} // namespace PlainCMYK
