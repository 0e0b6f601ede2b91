#include "codecs/PNGLayout.h"

#include "codecs/BigEndianCursor.h"
#include "codecs/Deflate.h"

#include <algorithm>

namespace {

using Colours = PNGLayout::Colours;

constexpr QByteArrayView kSignature("\x89PNG\r\n\x1a\n");
constexpr qsizetype kLargestProfile = qsizetype(16) << 20;
constexpr qsizetype kPaletteSize = 256;

bool readHeader(QByteArrayView chunk, PNGLayout &layout)
{
    constexpr quint32 kLongestSide = 0x7FFFFFFF;
    BigEndianCursor at(chunk);
    const auto width = at.number<quint32>();
    const auto height = at.number<quint32>();
    layout.depth = at.number<quint8>();
    const auto colours = at.number<quint8>();
    const auto methods = at.number<quint16>();
    const auto interlacing = at.number<quint8>();
    if (!at.isGood() || width > kLongestSide || height > kLongestSide || colours > 6 || colours == 1 ||
        colours == 5 || methods != 0)
        return false;
    layout.size = {static_cast<int>(width), static_cast<int>(height)};
    layout.colours = static_cast<Colours>(colours);
    layout.isInterlaced = interlacing != 0;
    return true;
}

/// Indices beyond the colours are black.
QList<QRgb> coloursIn(QByteArrayView chunk)
{
    QList<QRgb> colours(kPaletteSize, 0xFF000000);
    const auto component = [&](qsizetype i) { return static_cast<uchar>(chunk[i]); };
    for (qsizetype i = 0; i < std::min(kPaletteSize, chunk.size() / 3); ++i)
        colours[i] = qRgb(component(3 * i), component(3 * i + 1), component(3 * i + 2));
    return colours;
}

void readTransparency(QByteArrayView chunk, PNGLayout &layout)
{
    layout.hasKey = layout.colours == Colours::Grey || layout.colours == Colours::RGB;
    for (qsizetype i = 0; i < std::min(layout.palette.size(), chunk.size()); ++i)
        layout.palette[i] = (layout.palette[i] & 0x00FFFFFF) | (uint(static_cast<uchar>(chunk[i])) << 24);
}

/// A name, a zero, the method, the compressed profile.
QByteArray profileIn(QByteArrayView chunk)
{
    const qsizetype end = chunk.indexOf('\0');
    if (end < 0 || end + 2 > chunk.size())
        return {};
    return Deflate::inflated(chunk.sliced(end + 2), kLargestProfile);
}

} // namespace

int PNGLayout::channels() const
{
    switch (colours) {
    case Colours::RGB:
        return 3;
    case Colours::RGBA:
        return 4;
    case Colours::GreyAlpha:
        return 2;
    case Colours::Grey:
    case Colours::Indexed:
        break;
    }
    return 1;
}

bool PNGLayout::isOpaque() const
{
    if (colours == Colours::Indexed)
        return std::all_of(palette.begin(), palette.end(),
                           [](QRgb colour) { return qAlpha(colour) == 0xFF; });
    return !hasKey && colours != Colours::GreyAlpha && colours != Colours::RGBA;
}

std::optional<PNGLayout> PNGLayout::ofFile(const QByteArray &file)
{
    constexpr quint64 kChecksum = 4;
    BigEndianCursor at(file);
    PNGLayout layout;
    if (at.take(static_cast<quint64>(kSignature.size())) != kSignature)
        return std::nullopt;
    for (bool isFirst = true; at.isGood() && at.left() > 0; isFirst = false) {
        const auto length = at.number<quint32>();
        const QByteArrayView kind = at.take(4);
        const QByteArrayView chunk = at.take(length);
        if (isFirst && (kind != "IHDR" || !readHeader(chunk, layout)))
            return std::nullopt;
        if (!at.isGood() || kind == "IEND")
            break;
        if (kind == "PLTE" && layout.colours == Colours::Indexed)
            layout.palette = coloursIn(chunk);
        else if (kind == "tRNS")
            readTransparency(chunk, layout);
        else if (kind == "iCCP" && layout.data.isEmpty())
            layout.profile = profileIn(chunk);
        else if (kind == "IDAT")
            layout.data.append(chunk);
        at.skip(std::min(kChecksum, static_cast<quint64>(at.left())));
    }
    if (layout.data.isEmpty() || (layout.colours == Colours::Indexed && layout.palette.isEmpty()))
        return std::nullopt;
    return layout;
}
