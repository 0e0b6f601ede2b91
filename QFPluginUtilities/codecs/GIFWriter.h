#pragma once

#include <QByteArray>
#include <QImage>

/// Writes GIF files.
namespace GIFWriter {

/// A file of one picture, given as Indexed8; the entry of its colour table that has no alpha, if there is
/// one, is the transparent one. Nil on error.
[[nodiscard]] QByteArray written(const QImage &image);

} // namespace GIFWriter
