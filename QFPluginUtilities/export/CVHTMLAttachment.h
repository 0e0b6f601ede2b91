#pragma once

#include "platform/NSTextAttachment.h"

#include <QString>

class QFTextAttachment;

/// How an export writes an embedded file.
struct CVHTMLAttachmentPlan
{
    enum class Kind : quint8 { Image, Movie, Music, Other };

    QString name; ///< the file's name before it takes the extension of `format`
    Kind kind = Kind::Other;
    qint32 format = -1; ///< that a picture is encoded in; -1 for a file that is written unchanged

    /// The name that the file gets in the end.
    [[nodiscard]] QString finalName() const;
};

/// By stored name or number, extension, the format asked for (-1 for none) and the media attributes.
[[nodiscard]] CVHTMLAttachmentPlan attachmentPlan(const NSTextAttachmentPtr &attachment,
                                                  const QString &prefix, qint64 number,
                                                  qint32 requestedFormat);

/// Whether the media attributes change a picture's pixels: by turning, mirroring, shadow, border or size.
/// Square crop, fill, clip and orientation do not count, as meant.
[[nodiscard]] QF_EXPORT bool mediaAttributesDoTransform(const QVariantMap &attributes);
