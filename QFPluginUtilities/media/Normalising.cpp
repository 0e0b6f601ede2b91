#include "codecs/ImageEncoder.h"
#include "imaging/Canvas.h"
#include "media/CIImage.h"
#include "media/QFTextAttachment.h"
#include "media/QFTextAttachmentAttributes.h"
#include "platform/NSStringPathExtensions.h"
#include "platform/WithoutThrowing.h"

#include <algorithm>

namespace {

/// The size that the picture is shown in. Without locked ratios the sizes count as they are stored, 0 where
/// they are not.
NSSize displayedSize(const QFTextAttachmentAttributes &attributes)
{
    if (attributes.lockRatios())
        return NSIntegralRect({0, 0, attributes.shownWidth(), attributes.shownHeight()}).size();
    return {attributes.width(), attributes.height()};
}

/// What to replace the file with; nil for nothing.
QByteArray normalisedJPEG(const NSFileWrapper &file, const QFTextAttachmentAttributes &attributes)
{
    const QString extension = NSStringPathExtensions::pathExtension(file.preferredFilename());
    if (extension.compare(u"jpg", Qt::CaseInsensitive) != 0)
        return {};
    const NSImagePtr image = NSImage::imageWithData(file.regularFileContents());
    if (!image)
        return {};
    const NSSize size = displayedSize(attributes);
    const NSSize original{attributes.originalWidth(), attributes.originalHeight()};
    const bool isShowable =
        size.width >= 1 && size.height >= 1 && Canvas::isPossible(size.width, size.height);
    if (size == original || !isShowable)
        return {};
    // The shorter side decides, so that a picture of the same proportions gets the displayed size.
    const CIImage scaled =
        CIImageConversion::ciImage(*image).rescaleToMaximumDimension(std::min(size.width, size.height));
    const QImage pixels = scaled.pixels(Canvas::rasterSize(scaled.extent().width, scaled.extent().height));
    return ImageEncoder::encoded(pixels, ImageEncoder::FileType::JPEG);
}

} // namespace

bool QFTextAttachment::normalise()
{
    return withoutThrowing([this] {
        const NSFileWrapperPtr file = fileWrapper();
        const QFTextAttachmentAttributes attributes(mediaAttributes());
        const QByteArray bytes = file ? normalisedJPEG(*file, attributes) : QByteArray();
        if (bytes.isEmpty())
            return false;
        const NSSize size = displayedSize(attributes);
        const NSFileWrapperPtr replacement = NSFileWrapper::regularFileWithContents(bytes);
        replacement->setFilename(file->filename());
        replacement->setPreferredFilename(file->preferredFilename());
        replacement->setIcon(file->icon());
        replacement->setFileAttributes(file->fileAttributes());
        setFileWrapper(replacement);
        updateImageSize(size, 1.0F);
        return true;
    });
}
