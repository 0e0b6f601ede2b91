#include "codecs/PlainCMYK.h"

void PlainCMYK::convert(const uchar *inks, QRgb *row, int count, bool areInverted)
{
    const uint flip = areInverted ? 0 : 0xFF;
    for (int x = 0; x < count; ++x, inks += 4) {
        const uint black = inks[3] ^ flip;
        const auto component = [&](int i) {
            return static_cast<int>(((inks[i] ^ flip) * black + 127U) / 255U);
        };
        row[x] = qRgb(component(0), component(1), component(2));
    }
}
