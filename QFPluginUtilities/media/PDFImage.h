#pragma once

#include "media/NSImage.h"

/// Pages of PDF documents as pictures, on white, as large as the page is in points. Any thread, one page at a
/// time in the process.
namespace PDFImage {

/// The first page; nullptr for what is no document or needs a password.
[[nodiscard]] QF_EXPORT NSImagePtr imageWithData(const QByteArray &data);
/// The same for a regular file.
[[nodiscard]] QF_EXPORT NSImagePtr imageWithContentsOfFile(const QString &path);

} // namespace PDFImage
