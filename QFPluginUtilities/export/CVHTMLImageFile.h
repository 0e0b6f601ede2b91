#pragma once

#include "media/NSImage.h"
#include "platform/NSTextAttachment.h"

#include <QByteArray>
#include <QString>

#include <memory>

class QFQTExport;

/// Encodes a picture that a page embeds, with its effects, into the export folder.
class CVHTMLImageFile
{
public:
    enum class Result : quint8 {
        Failed, ///< nothing usable was written
        Written,
        Refused, ///< the attachment holds no picture; nothing was touched
    };

    /// `path` lies in the export folder and has the extension of `format`, a four-character code. `quality`
    /// is one of the exporter's.
    CVHTMLImageFile(NSTextAttachmentPtr attachment, const QString &path, qint32 format, qint32 quality);

    /// Writes the file: the cached image if it is of that format, or else a fresh one, which is then kept for
    /// the next time. Every failure but that of writing itself is logged.
    [[nodiscard]] Result write();
    /// Where the file was written, or would have been: a GIF that fails before there is a picture of it fails
    /// as the PNG file that it is made from.
    [[nodiscard]] QString path() const { return _path; }

private:
    [[nodiscard]] NSImagePtr sourceImage() const;
    [[nodiscard]] std::unique_ptr<QFQTExport> preparedExporter(qint32 format) const;
    [[nodiscard]] Result exportTo(const QString &destination, QFQTExport &exporter);
    [[nodiscard]] Result exportImage();
    [[nodiscard]] Result exportAsGIF();
    [[nodiscard]] QByteArray gifFrom(const QByteArray &png);
    void logFailedExport(qint32 status) const;

    NSTextAttachmentPtr _attachment;
    QString _path;
    qint32 _format;
    qint32 _quality;
    QByteArray _written; ///< the whole file; nil until it is written
};
