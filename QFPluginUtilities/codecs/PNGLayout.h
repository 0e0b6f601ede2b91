#pragma once

#include <QByteArray>
#include <QList>
#include <QRgb>
#include <QSize>

#include <optional>

/// What the chunks of a PNG file say.
struct PNGLayout
{
    enum class Colours : quint8 { Grey = 0, RGB = 2, Indexed = 3, GreyAlpha = 4, RGBA = 6 };

    QSize size;
    int depth = 8; ///< bits a component
    Colours colours = Colours::RGB;
    bool isInterlaced = false;
    bool hasKey = false;        ///< one grey or colour of an opaque kind stands for transparency
    QList<QRgb> palette;        ///< 256 entries where the colours are indexed, straight alpha
    QByteArray profile;         ///< ICC; may be empty
    QList<QByteArrayView> data; ///< compressed pixels, in pieces of the file

    /// Components of a pixel.
    [[nodiscard]] int channels() const;
    [[nodiscard]] bool isOpaque() const;

    /// Nothing for other files, and for what ends before the pixels do. Refers to the file's bytes.
    [[nodiscard]] static std::optional<PNGLayout> ofFile(const QByteArray &file);
};
