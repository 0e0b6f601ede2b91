#include "export/CVHTMLImageFile.h"

#include "codecs/ImageEncoder.h"
#include "export/CVHTMLFileWrapper.h"
#include "export/CVHTMLMedia.h"
#include "media/QFQTExport.h"
#include "media/QFTextAttachment.h"
#include "media/QFTextAttachmentAttributes.h"
#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/NSStringPathExtensions.h"
#include "platform/QFReport.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTemporaryFile>

#include <cerrno>

using namespace Qt::StringLiterals;
using namespace NSStringPathExtensions;

namespace {

/// Writes whole or not at all, in place of a link rather than through it.
bool writtenAtomically(const QByteArray &bytes, const QString &path)
{
    CVHTMLFileWrapper::removeLink(path);
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void fail(const QString &message, const QString &path)
{
    logFailure(qfExportLog(), u"attachment"_s, message, path);
}

void applyAttributes(const QVariantMap &map, QFQTExport &exporter)
{
    const QFTextAttachmentAttributes attributes(map);
    exporter.setAttributes(std::make_shared<QVariantMap>(map));
    exporter.setWidth(attributes.shownWidth());
    exporter.setHeight(attributes.shownHeight());
    exporter.setFlipHorizontally(attributes.flipHorizontally());
    exporter.setFlipVertically(attributes.flipVertically());
    exporter.setRotation(attributes.rotation());
    exporter.setClip(attributes.clip());
    exporter.setFillColour(attributes.fillColour());
    if (attributes.enableShadow()) {
        exporter.setShadowOffset(attributes.shadowOffset());
        exporter.setShadowBlur(attributes.shadowBlur());
        exporter.setShadowColour(attributes.shadowColour());
    }
}

} // namespace

CVHTMLImageFile::CVHTMLImageFile(NSTextAttachmentPtr attachment, const QString &path, qint32 format,
                                 qint32 quality)
    : _attachment(std::move(attachment)), _path(path), _format(format), _quality(quality)
{
}

CVHTMLImageFile::Result CVHTMLImageFile::write()
{
    const auto media = std::dynamic_pointer_cast<QFTextAttachment>(_attachment);
    if (media && !media->cachedImage().isEmpty() && media->cachedImageFormat().value_or(_format) == _format)
        return writtenAtomically(media->cachedImage(), _path) ? Result::Written : Result::Failed;
    const Result result = _format == CVHTMLMedia::kGIFFormat ? exportAsGIF() : exportImage(_path, _format);
    if (media && !_written.isEmpty())
        media->setCachedImage(_written, _format);
    return result;
}

/// nullptr, after logging, when the attachment holds no picture.
NSImagePtr CVHTMLImageFile::sourceImage() const
{
    const NSFileWrapper &file = *_attachment->fileWrapper();
    NSImagePtr image;
    switch (file.kind()) {
    case NSFileWrapper::Kind::Directory:
        fail(u"Don't know how to deal with directory wrappers when exporting an image"_s, _path);
        return nullptr;
    case NSFileWrapper::Kind::SymbolicLink:
        image = NSImage::imageWithContentsOfFile(file.symbolicLinkDestination());
        break;
    case NSFileWrapper::Kind::RegularFile:
        image = NSImage::imageWithData(file.regularFileContents());
        break;
    }
    if (!image)
        logUnreadable();
    return image;
}

void CVHTMLImageFile::logUnreadable() const
{
    fail(u"Could not read the image data from the attachment"_s, _path);
}

void CVHTMLImageFile::logFailedExport(qint32 status) const
{
    fail(formatted(u"Failed to write image attachment '%@' (%d)", {lastPathComponent(_path), status}), _path);
}

/// The picture goes to the exporter as pixels only: the orientation of a camera's file stays behind.
CVHTMLImageFile::Result CVHTMLImageFile::exportImage(const QString &destination, qint32 format)
{
    const NSImagePtr image = sourceImage();
    if (!image)
        return Result::Refused;
    const std::unique_ptr<QFQTExport> exporter = QFQTExport::exporterWithImage(image);
    exporter->setFormat(format);
    exporter->setQuality(_quality);
    exporter->setHighQualityScaling(true);
    if (const auto media = std::dynamic_pointer_cast<QFTextAttachment>(_attachment))
        applyAttributes(media->mediaAttributes(), *exporter);
    if (!exporter->prepare()) {
        logUnreadable();
        return Result::Refused;
    }
    CVHTMLFileWrapper::removeLink(destination);
    exporter->setDestination(destination);
    if (const qint32 status = exporter->exportImage(); status != QFQTExport::noErr) {
        logFailedExport(status);
        return Result::Failed;
    }
    _written = exporter->exportedBytes();
    return Result::Written; // the exporter has logged it if the file is not whole
}

/// A GIF is made from a PNG file beside it, which is taken away again. That has a name of its own, so that no
/// other attachment's file is written over.
CVHTMLImageFile::Result CVHTMLImageFile::exportAsGIF()
{
    _path = CVHTMLMedia::adjustImagePath(_path, u"png"_s);
    QTemporaryFile png(QFileInfo(_path).absolutePath() + u"/.XXXXXX.png"_s);
    errno = 0;
    if (!png.open()) {
        logFailedExport(errno);
        return Result::Failed;
    }
    if (const Result result = exportImage(png.fileName(), CVHTMLMedia::kPNGFormat); result != Result::Written)
        return result;
    _written.clear();
    const QImage pixels = pixelsOf(png.fileName());
    if (pixels.isNull())
        return Result::Failed;
    const QByteArray gif = ImageEncoder::encoded(pixels, ImageEncoder::FileType::GIF);
    if (gif.isEmpty()) {
        fail(formatted(u"Failed to create GIF from image representation at '%@'", {lastPathComponent(_path)}),
             _path);
        return Result::Failed;
    }
    if (!writtenAtomically(gif, _path))
        return Result::Failed;
    _written = gif;
    return Result::Written;
}

/// What the PNG file shows; null, after logging, when it cannot be read back.
QImage CVHTMLImageFile::pixelsOf(const QString &pngFile)
{
    const QByteArray png = contents(pngFile);
    if (png.isEmpty()) {
        fail(formatted(u"Failed to read image attachment '%@'", {lastPathComponent(_path)}), _path);
        return {};
    }
    _path = CVHTMLMedia::adjustImagePath(_path, u"gif"_s);
    const NSImagePtr image = NSImage::imageWithData(png);
    QImage pixels = image ? image->bitmap() : QImage();
    if (pixels.isNull())
        fail(formatted(u"Failed to create image representation from '%@'", {lastPathComponent(_path)}),
             _path);
    return pixels;
}
