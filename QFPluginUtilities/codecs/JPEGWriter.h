#pragma once

#include <QByteArray>
#include <QImage>

/// Writes JPEG files.
namespace JPEGWriter {

/// A file without metadata, of an opaque picture in RGB32. Quality is 1 to 100; from 90 on colour is kept at
/// full resolution, below it at half in both directions. Nil on error.
[[nodiscard]] QByteArray written(const QImage &image, int quality);

} // namespace JPEGWriter
