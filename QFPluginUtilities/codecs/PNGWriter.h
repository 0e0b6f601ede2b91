#pragma once

#include <QByteArray>
#include <QImage>

/// Writes PNG files.
namespace PNGWriter {

/// A file of pixels alone, with alpha only where the format of the picture has it: RGB32, or ARGB32,
/// premultiplied or not. Nil on error.
[[nodiscard]] QByteArray written(const QImage &image);

} // namespace PNGWriter
