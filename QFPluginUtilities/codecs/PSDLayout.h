#pragma once

#include <QByteArray>
#include <QList>
#include <QRgb>
#include <QSize>

#include <optional>

/// What the sections of a layered picture file say about its flattened composite, which lies at the end.
struct PSDLayout
{
    enum class Mode : quint16 { Bitmap = 0, Grey = 1, Indexed = 2, RGB = 3, CMYK = 4, Duotone = 8 };

    QSize size;
    Mode mode = Mode::RGB;
    int depth = 8; ///< bits a component: 1, 8 or 16
    bool isPacked = false;
    bool hasTransparency = false; ///< the channel after those of the colour is the composite's alpha
    QByteArray profile;           ///< ICC, of the colours; may be empty
    QList<QRgb> colours;          ///< 256 of them where the mode is indexed
    /// Where each channel that counts begins in the file, and where the lengths of its packed rows are.
    struct Channel
    {
        qsizetype lengths = 0;
        qsizetype data = 0;
    };
    QList<Channel> channels;
    int lengthSize = 2; ///< bytes of a packed row's length

    [[nodiscard]] int colourChannels() const;
    [[nodiscard]] qsizetype rowSize() const { return (qsizetype(size.width()) * depth + 7) / 8; }

    /// Nothing for files of other kinds, of modes that are not listed, and for what ends before the
    /// composite. Sizes and lengths are checked against the file, except for the contents of channels.
    [[nodiscard]] static std::optional<PSDLayout> ofFile(const QByteArray &file);
};
