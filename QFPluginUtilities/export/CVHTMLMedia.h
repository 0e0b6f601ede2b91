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

/// "jpg", "png" and "gif"; "" for any other code.
[[nodiscard]] QF_EXPORT QString imageExtensionFromQTFormat(qint32 format);
/// The format that a picture with this extension, in any case of letters, is written in: TIFF and PSD files
/// as JPEG. -1 for all but pictures.
[[nodiscard]] QF_EXPORT qint32 imageQTFormatFromExtension(const QString &extension);

/// Kinds of files by their extension, in any case of letters.
[[nodiscard]] QF_EXPORT bool isImageFile(const QString &extension);
[[nodiscard]] QF_EXPORT bool isMovieFile(const QString &extension);
/// Never: music is linked like any other file.
[[nodiscard]] QF_EXPORT bool isMusicFile(const QString &extension);
/// Whether browsers cannot show such a picture: "tif", "tiff" and "psd", in lower case only.
[[nodiscard]] QF_EXPORT bool isConvertibleToJPEG(const QString &extension);

/// The path with another extension; nil for nil.
[[nodiscard]] QF_EXPORT QString adjustImagePath(const QString &path, const QString &forExtension);

} // namespace CVHTMLMedia
