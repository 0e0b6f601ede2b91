#pragma once

#include <QList>
#include <QRgb>

#include <array>
#include <cstdint>

/// Up to 256 opaque colours, searched for the nearest one by the squared distance of components.
class ColourPalette
{
public:
    static constexpr int kMostColours = 256;

    explicit ColourPalette(const QList<QRgb> &colours);

    [[nodiscard]] const QList<QRgb> &colours() const { return _colours; }
    [[nodiscard]] int nearest(int red, int green, int blue) const;

private:
    using Components = std::array<int32_t, kMostColours>;

    QList<QRgb> _colours;
    Components _red{};
    Components _green{};
    Components _blue{};
};
