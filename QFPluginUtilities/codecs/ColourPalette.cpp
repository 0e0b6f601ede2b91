#include "codecs/ColourPalette.h"

#include "imaging/Vectorised.h"

#include <algorithm>

namespace {

/// Farther from every colour than colours are from each other, and no overflow when squared and shifted.
constexpr int32_t kNowhere = 1000;

} // namespace

ColourPalette::ColourPalette(const QList<QRgb> &colours) : _colours(colours)
{
    _red.fill(kNowhere);
    _green.fill(kNowhere);
    _blue.fill(kNowhere);
    for (int i = 0; i < std::min<int>(kMostColours, static_cast<int>(colours.size())); ++i) {
        _red[i] = qRed(colours[i]);
        _green[i] = qGreen(colours[i]);
        _blue[i] = qBlue(colours[i]);
    }
}

QF_VECTORISED int ColourPalette::nearest(int red, int green, int blue) const
{
    // Distance and index in one number: the smallest is found without a branch, many at a time.
    int32_t best = INT32_MAX;
    for (int32_t i = 0; i < kMostColours; ++i) {
        const int32_t dr = _red[i] - red;
        const int32_t dg = _green[i] - green;
        const int32_t db = _blue[i] - blue;
        best = std::min(best, ((dr * dr + dg * dg + db * db) << 8) | i);
    }
    return best & 0xFF;
}
