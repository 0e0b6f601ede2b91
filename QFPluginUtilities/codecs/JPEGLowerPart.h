#pragma once

#include <QByteArray>

#include <optional>

/// The lower part of a JPEG file's picture, as a file of its own that can be decoded while the upper part is.
struct JPEGLowerPart
{
    QByteArray file;
    int height = 0;
    int surplusRows = 0; ///< at its top, that are not of the picture

    /// The part below about `share` of the height. The code above has to be read for that, but nothing of it
    /// is decoded: that takes a quarter of the time. Nothing for a file whose code is not one run
    /// (progressive, with restarts), or is broken there.
    [[nodiscard]] static std::optional<JPEGLowerPart> ofFile(const QByteArray &file, double share);
};
