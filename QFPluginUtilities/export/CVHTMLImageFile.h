#pragma once

#include "media/NSImage.h"
#include "platform/NSTextAttachment.h"

#include <QString>

/// Encodes a picture that a page embeds, with its effects, into the export folder.
class CVHTMLImageFile
{
public:
    enum class Result : quint8 {
        Written,
        Failed,  ///< nothing usable was written
        Refused, ///< the attachment holds no picture; nothing was touched
    };

    /// `path` lies in the export folder and takes the extension of `format`, a four-character code. `quality`
    /// is one of the exporter's.
    CVHTMLImageFile(NSTextAttachmentPtr attachment, const QString &path, qint32 format, qint32 quality);

    /// Writes the file: the cached image if it is of that format, or else a fresh one, which is then kept for
    /// the next time. Every failure but that of writing itself is logged.
    [[nodiscard]] Result write();
    /// Where the file was, or would have been, written.
    [[nodiscard]] QString path() const { return _path; }

private:
    [[nodiscard]] NSImagePtr sourceImage() const;
    [[nodiscard]] Result exportImage(const QString &path, qint32 format) const;
    [[nodiscard]] Result exportAsGIF() const;
    [[nodiscard]] bool convertToGIF(const QString &pngPath) const;
    void logUnreadable() const;

    NSTextAttachmentPtr _attachment;
    QString _path;
    qint32 _format;
    qint32 _quality;
};
