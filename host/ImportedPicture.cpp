#include "host/ImportedPicture.h"

#include "codecs/ImageEncoder.h"
#include "codecs/ImageSource.h"
#include "export/CVHTMLMedia.h"
#include "media/QFTextAttachmentAttributes.h"
#include "platform/NSStringPathExtensions.h"

#include <cmath>

using namespace Qt::StringLiterals;

NSFileWrapperPtr ImportedPicture::exportable(const NSFileWrapperPtr &file)
{
    const QString name = file->preferredFilename();
    if (CVHTMLMedia::isImageFile(NSStringPathExtensions::pathExtension(name)))
        return file;
    const ImageSourcePtr source = ImageSource::withData(file->regularFileContents());
    const QImage image = source ? source->image() : QImage();
    if (image.isNull())
        return file;
    const bool isOpaque = !image.hasAlphaChannel();
    const QByteArray bytes =
        ImageEncoder::encoded(image, isOpaque ? ImageEncoder::FileType::JPEG : ImageEncoder::FileType::PNG);
    if (bytes.isEmpty())
        return file;
    const NSFileWrapperPtr converted = NSFileWrapper::regularFileWithContents(bytes);
    converted->setPreferredFilename(NSStringPathExtensions::stringByDeletingPathExtension(name) +
                                    (isOpaque ? u".jpg"_s : u".png"_s));
    return converted;
}

QVariantMap ImportedPicture::sized(QVariantMap mediaAttributes, const Size &size)
{
    const QFTextAttachmentAttributes attributes(mediaAttributes);
    const double originalWidth = attributes.originalWidth();
    const double originalHeight = attributes.originalHeight();
    const bool isKnown = originalWidth > 0 && originalHeight > 0;
    double width = std::max(size.width.value_or(0), 0.0);
    double height = std::max(size.height.value_or(0), 0.0);
    if (isKnown && width > 0 && height == 0)
        height = width * originalHeight / originalWidth;
    else if (isKnown && height > 0 && width == 0)
        width = height * originalWidth / originalHeight;
    if (width > 0)
        mediaAttributes[u"width"_s] = static_cast<float>(width);
    if (height > 0)
        mediaAttributes[u"height"_s] = static_cast<float>(height);
    if (isKnown && width > 0 && height > 0 && width < originalWidth && height < originalHeight) {
        const double scale = width / originalWidth;
        const bool keepsProportions = std::abs(scale * originalHeight - height) < 1;
        mediaAttributes[u"lockratios"_s] = keepsProportions;
        if (keepsProportions)
            mediaAttributes[u"scale"_s] = static_cast<float>(scale);
    }
    return mediaAttributes;
}
