#pragma once

#include "platform/QFExport.h"

#include <QByteArray>
#include <QImage>

/// Writing pictures as files.
namespace ImageEncoder {

enum class FileType : quint8 { JPEG, PNG, GIF, TIFF, BMP };

/// The bytes of a file: without profile, text and other metadata. JPEG has quality 100 times the factor and
/// transparency laid on white; the others ignore the factor. GIF has up to 256 colours chosen for the picture
/// (median cut, then k-means rounds), error diffusion, and one transparent entry where the picture's alpha is
/// below one half. TIFF is LZW-compressed. Nil when the picture is empty or cannot be encoded. Any thread.
[[nodiscard]] QF_EXPORT QByteArray encoded(const QImage &image, FileType type,
                                           float compressionFactor = 0.75F);

} // namespace ImageEncoder
