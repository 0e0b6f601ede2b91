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

#include <QFileInfo>
#include <QSaveFile>
#include <QTemporaryFile>

#include <cerrno>
#include <utility>

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
    const Result result = _format == CVHTMLMedia::kGIFFormat ? exportAsGIF() : exportImage();
    if (media && result == Result::Written && !_written.isEmpty())
        media->setCachedImage(_written, _format);
    return result;
}

/// The attachment's picture; nullptr when it cannot be read.
NSImagePtr CVHTMLImageFile::sourceImage() const
{
    const NSFileWrapper &file = *_attachment->fileWrapper();
    return file.isSymbolicLink() ? NSImage::imageWithContentsOfFile(file.symbolicLinkDestination())
                                 : NSImage::imageWithData(file.regularFileContents());
}

/// An exporter that has decoded the picture and only has to write it; nullptr, after logging, when the
/// attachment holds none. The picture goes to the exporter as pixels only: the orientation of a camera's file
/// stays behind.
std::unique_ptr<QFQTExport> CVHTMLImageFile::preparedExporter(qint32 format) const
{
    if (_attachment->fileWrapper()->isDirectory()) {
        fail(u"Don't know how to deal with directory wrappers when exporting an image"_s, _path);
        return nullptr;
    }
    std::unique_ptr<QFQTExport> exporter = QFQTExport::exporterWithImage(sourceImage());
    exporter->setFormat(format);
    exporter->setQuality(_quality);
    exporter->setHighQualityScaling(true);
    if (const auto media = std::dynamic_pointer_cast<QFTextAttachment>(_attachment))
        applyAttributes(media->mediaAttributes(), *exporter);
    if (exporter->prepare())
        return exporter;
    fail(u"Could not read the image data from the attachment"_s, _path);
    return nullptr;
}

/// Where the exporter cannot encode the picture or not write all of it, it logs that, and the file stays.
CVHTMLImageFile::Result CVHTMLImageFile::exportTo(const QString &destination, QFQTExport &exporter)
{
    CVHTMLFileWrapper::removeLink(destination);
    exporter.setDestination(destination);
    if (const qint32 status = exporter.exportImage(); status != QFQTExport::noErr) {
        logFailedExport(status);
        return Result::Failed;
    }
    _written = exporter.exportedBytes();
    return Result::Written;
}

void CVHTMLImageFile::logFailedExport(qint32 status) const
{
    fail(formatted(u"Failed to write image attachment '%@' (%d)", {lastPathComponent(_path), status}), _path);
}

CVHTMLImageFile::Result CVHTMLImageFile::exportImage()
{
    const auto exporter = preparedExporter(_format);
    return exporter ? exportTo(_path, *exporter) : Result::Refused;
}

/// A GIF is made from a PNG file beside it, which is taken away again. That has a name of its own, so that no
/// other attachment's file is written over.
CVHTMLImageFile::Result CVHTMLImageFile::exportAsGIF()
{
    _path = CVHTMLMedia::adjustImagePath(_path, u"png"_s);
    const auto exporter = preparedExporter(CVHTMLMedia::kPNGFormat);
    if (!exporter)
        return Result::Refused;
    QTemporaryFile png(QFileInfo(_path).absolutePath() + u"/.XXXXXX.png"_s);
    errno = 0;
    if (!png.open()) {
        logFailedExport(errno);
        return Result::Failed;
    }
    if (exportTo(png.fileName(), *exporter) == Result::Failed)
        return Result::Failed;
    _written = gifFrom(std::exchange(_written, {}));
    return !_written.isEmpty() && writtenAtomically(_written, _path) ? Result::Written : Result::Failed;
}

/// nil, after logging, when that cannot be made.
QByteArray CVHTMLImageFile::gifFrom(const QByteArray &png)
{
    const auto failed = [this](QStringView message) {
        fail(formatted(message, {lastPathComponent(_path)}), _path);
        return QByteArray();
    };
    if (png.isEmpty())
        return failed(u"Failed to read image attachment '%@'");
    _path = CVHTMLMedia::adjustImagePath(_path, u"gif"_s);
    const NSImagePtr image = NSImage::imageWithData(png);
    const QImage pixels = image ? image->bitmap() : QImage();
    if (pixels.isNull())
        return failed(u"Failed to create image representation from '%@'");
    const QByteArray gif = ImageEncoder::encoded(pixels, ImageEncoder::FileType::GIF);
    return gif.isEmpty() ? failed(u"Failed to create GIF from image representation at '%@'") : gif;
}
