#pragma once

#include "platform/QFExport.h"

#include <QString>

/// Names, codes and kinds of the files that an export writes. Four-character codes are numbers with the first
/// character in the highest byte; -1 stands for no format.
namespace CVHTMLMedia {

inline constexpr qint32 kNoFormat = -1;
inline constexpr qint32 kJPEGFormat = 0x4A504547; ///< 'JPEG'
inline constexpr qint32 kPNGFormat = 0x504E4766;  ///< 'PNGf'
inline constexpr qint32 kGIFFormat = 0x47494666;  ///< 'GIFf'

inline constexpr qint32 kHighQuality = 768;

/// "Best" 1024, "High" 768, "Medium" 512, "Low" 256, exactly so spelled; anything else, nil too, 1023.
[[nodiscard]] QF_EXPORT qint32 imageQualityAsQTQuality(const QString &name);
/// "JPEG", "PNG" and "GIF", exactly so spelled; anything else, nil too, -1.
[[nodiscard]] QF_EXPORT qint32 imageFormatAsQTFormat(const QString &name);

/// By a path's extension, in any case of letters.
[[nodiscard]] QF_EXPORT bool isImageFile(const QString &path);
[[nodiscard]] QF_EXPORT bool isMovieFile(const QString &path);

} // namespace CVHTMLMedia
