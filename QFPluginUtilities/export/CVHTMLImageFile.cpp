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

using namespace Qt::StringLiterals;
using NSStringPathExtensions::lastPathComponent;

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
    : _attachment(std::move(attachment)),
      _path(CVHTMLMedia::adjustImagePath(path, CVHTMLMedia::imageExtensionFromQTFormat(format))),
      _format(format), _quality(quality)
{
}

CVHTMLImageFile::Result CVHTMLImageFile::write()
{
    if (_path.isNull()) {
        fail(u"attachmentPath is nil"_s, {});
        fail(u"attachmentName is nil"_s, {});
    }
    const auto media = std::dynamic_pointer_cast<QFTextAttachment>(_attachment);
    if (media && !media->cachedImage().isEmpty() && media->cachedImageFormat().value_or(_format) == _format)
        return writtenAtomically(media->cachedImage(), _path) ? Result::Written : Result::Failed;
    const Result result = _format == CVHTMLMedia::kGIFFormat ? exportAsGIF() : exportImage(_path, _format);
    if (media && result == Result::Written)
        media->setCachedImage(contents(_path), _format);
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

/// The picture goes to the exporter as pixels only: the orientation of a camera's file stays behind.
CVHTMLImageFile::Result CVHTMLImageFile::exportImage(const QString &path, qint32 format) const
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
    CVHTMLFileWrapper::removeLink(path);
    exporter->setDestination(path);
    const qint32 status = exporter->exportImage();
    if (status == QFQTExport::noErr)
        return Result::Written;
    fail(formatted(u"Failed to write image attachment '%@' (%d)", {lastPathComponent(path), status}), path);
    return Result::Failed;
}

/// A GIF is made from a PNG file beside it, which is taken away again unless one was there before.
CVHTMLImageFile::Result CVHTMLImageFile::exportAsGIF() const
{
    const QString png = CVHTMLMedia::adjustImagePath(_path, u"png"_s);
    const bool wasThere = QFileInfo::exists(png);
    Result result = exportImage(png, CVHTMLMedia::kPNGFormat);
    if (result != Result::Written)
        return result;
    if (!convertToGIF(png))
        result = Result::Failed;
    if (!wasThere)
        QFile::remove(png);
    return result;
}

bool CVHTMLImageFile::convertToGIF(const QString &pngPath) const
{
    const QByteArray png = contents(pngPath);
    if (png.isEmpty()) {
        fail(formatted(u"Failed to read image attachment '%@'", {lastPathComponent(pngPath)}), pngPath);
        return false;
    }
    const NSImagePtr image = NSImage::imageWithData(png);
    const QImage pixels = image ? image->bitmap() : QImage();
    if (pixels.isNull()) {
        fail(formatted(u"Failed to create image representation from '%@'", {lastPathComponent(_path)}),
             _path);
        return false;
    }
    const QByteArray gif = ImageEncoder::encoded(pixels, ImageEncoder::FileType::GIF);
    if (gif.isEmpty()) {
        fail(formatted(u"Failed to create GIF from image representation at '%@'", {lastPathComponent(_path)}),
             _path);
        return false;
    }
    return writtenAtomically(gif, _path);
}
