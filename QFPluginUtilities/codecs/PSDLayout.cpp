#include "codecs/PSDLayout.h"

#include "codecs/BigEndianCursor.h"

#include <algorithm>
#include <cstdlib>

namespace {

using Mode = PSDLayout::Mode;

constexpr qsizetype kLargestProfile = qsizetype(16) << 20;
constexpr int kMostChannels = 56;

/// A section or block with its length in front; files of the large kind have longer lengths in places.
QByteArrayView block(BigEndianCursor &at, bool isLong = false)
{
    return at.take(isLong ? at.number<quint64>() : at.number<quint32>());
}

bool isKnown(Mode mode, int depth)
{
    switch (mode) {
    case Mode::Bitmap:
        return depth == 1;
    case Mode::Indexed:
        return depth == 8;
    case Mode::Grey:
    case Mode::RGB:
    case Mode::CMYK:
    case Mode::Duotone:
        return depth == 8 || depth == 16;
    }
    return false;
}

/// The table lies as 256 reds, 256 greens, 256 blues.
QList<QRgb> colourTable(QByteArrayView bytes)
{
    constexpr int kColours = 256;
    QList<QRgb> colours;
    if (bytes.size() < qsizetype(3) * kColours)
        return colours;
    const auto component = [&](int i) { return static_cast<uchar>(bytes[i]); };
    for (int i = 0; i < kColours; ++i)
        colours.append(qRgb(component(i), component(kColours + i), component(2 * kColours + i)));
    return colours;
}

void readResources(QByteArrayView section, PSDLayout &layout)
{
    enum : quint16 { Profile = 1039, TransparentIndex = 1047 };
    BigEndianCursor at(section);
    while (at.isGood() && at.left() > 0) {
        if (at.take(4) != "8BIM")
            return;
        const auto kind = at.number<quint16>();
        const auto nameLength = at.number<quint8>();
        at.skip(nameLength | 1U); // with its length it is even
        const QByteArrayView data = block(at);
        if (kind == Profile && data.size() <= kLargestProfile)
            layout.profile = data.toByteArray();
        if (kind == TransparentIndex && data.size() >= 2) {
            const auto index = qFromBigEndian<quint16>(data.data());
            if (index < layout.colours.size())
                layout.colours[index] = 0;
        }
        at.skip(static_cast<quint64>(data.size() & 1));
    }
}

/// A negative number of layers tells that the composite has an alpha of its own.
bool saysTransparency(QByteArrayView layersSection, bool isLong)
{
    BigEndianCursor at(layersSection);
    BigEndianCursor layers(block(at, isLong));
    if (layers.left() > 0)
        return layers.number<qint16>() < 0;
    // Layers of more than 8 bits lie in a block after the masks.
    (void)block(at);
    while (at.isGood() && at.left() > 0) {
        const QByteArrayView signature = at.take(4);
        const QByteArrayView key = at.take(4);
        if (signature != "8BIM" && signature != "8B64")
            return false;
        const bool isLayers = key == "Lr16";
        const QByteArrayView data = block(at, isLong && isLayers);
        if (isLayers)
            return BigEndianCursor(data).number<qint16>() < 0;
        at.skip(static_cast<quint64>(-data.size() & 3));
    }
    return false;
}

/// Channels of raw rows have one length; those of packed rows follow a table with the lengths of all rows.
bool placeChannels(BigEndianCursor at, int channelsInFile, int needed, PSDLayout &layout)
{
    const qsizetype rows = layout.size.height();
    const qsizetype start = at.position();
    if (!layout.isPacked) {
        const qsizetype length = layout.rowSize() * rows;
        for (qsizetype i = 0; i < needed; ++i)
            layout.channels.append({0, start + i * length});
        return needed * length <= at.left();
    }
    qsizetype data = start + channelsInFile * rows * layout.lengthSize;
    for (int i = 0; i < needed && at.isGood(); ++i) {
        layout.channels.append({at.position(), data});
        for (qsizetype row = 0; row < rows; ++row)
            data += layout.lengthSize == 4 ? at.number<quint32>() : at.number<quint16>();
    }
    return at.isGood() && data <= at.position() + at.left();
}

} // namespace

int PSDLayout::colourChannels() const
{
    if (mode == Mode::RGB)
        return 3;
    return mode == Mode::CMYK ? 4 : 1;
}

std::optional<PSDLayout> PSDLayout::ofFile(const QByteArray &file)
{
    constexpr quint32 kLongestSide = 300'000;
    enum : quint16 { Raw = 0, Packed = 1 };
    BigEndianCursor at(file);
    if (at.take(4) != "8BPS")
        return std::nullopt;
    const auto version = at.number<quint16>();
    const bool isLarge = version == 2;
    at.skip(6);
    const auto channels = at.number<quint16>();
    const auto height = at.number<quint32>();
    const auto width = at.number<quint32>();
    PSDLayout layout;
    layout.depth = at.number<quint16>();
    layout.mode = static_cast<Mode>(at.number<quint16>());
    if ((version != 1 && !isLarge) || channels > kMostChannels || std::max(width, height) > kLongestSide ||
        !isKnown(layout.mode, layout.depth))
        return std::nullopt;
    layout.size = {static_cast<int>(width), static_cast<int>(height)};
    layout.lengthSize = isLarge ? 4 : 2;
    const QByteArrayView table = block(at);
    if (layout.mode == Mode::Indexed)
        layout.colours = colourTable(table);
    readResources(block(at), layout);
    const bool hasExtra = channels > layout.colourChannels();
    layout.hasTransparency = saysTransparency(block(at, isLarge), isLarge) && hasExtra && layout.depth != 1;
    const auto compression = at.number<quint16>();
    layout.isPacked = compression == Packed;
    const int needed = layout.colourChannels() + (layout.hasTransparency ? 1 : 0);
    if (!at.isGood() || compression > Packed || channels < needed || layout.size.isEmpty() ||
        (layout.mode == Mode::Indexed && layout.colours.isEmpty()) ||
        !placeChannels(at, channels, needed, layout))
        return std::nullopt;
    return layout;
}
