#pragma once

#include "platform/QFExport.h"

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <optional>

/// What cameras note in their pictures, as a map from names such as "kQTExifUserDataExposureTime" to 32-bit
/// floats, 16- or 32-bit integers, and strings. Strings hold all bytes of their item as Latin-1, the zero
/// byte at the end and the code in front of a user comment too. Any thread.
namespace QFQTEXIF {

/// Raw bytes of the first metadata item of a type: "ex" in the upper 16 bits and the EXIF tag in the lower
/// ones. Numbers have this machine's byte order. Nothing when there is no such item.
using MetadataStore = std::function<std::optional<QByteArray>(quint32 itemType)>;

/// Nothing for a picture without such notes, and, after logging it, for a file that is no picture.
[[nodiscard]] QF_EXPORT std::optional<QVariantMap> getImageEXIF(const QString &path);
/// The same by way of the metadata store; an empty map on any failure.
[[nodiscard]] QF_EXPORT QVariantMap getImageEXIFUsingQuickTime(const QString &path);
/// All items that can be read. A missing or malformed one is left out; the others are still read.
[[nodiscard]] QF_EXPORT QVariantMap dictionaryFromStore(const MetadataStore &store);
/// The notes in the bytes of a picture's file; empty when there are none.
[[nodiscard]] QF_EXPORT QVariantMap dictionaryFromPicture(const QByteArray &file);

} // namespace QFQTEXIF
