#include "export/CVHTMLAttachment.h"
#include "export/CVHTMLMedia.h"
#include "media/QFTextAttachment.h"
#include "media/QFTextAttachmentAttributes.h"
#include "platform/Formatting.h"
#include "platform/NSStringPathExtensions.h"

using namespace NSStringPathExtensions;

namespace {

/// The name that the media attributes ask for, reduced to its last component so that nothing is written
/// outside the export folder; nil when there is none to be used.
QString storedFileName(const QFTextAttachmentAttributes &attributes)
{
    const QString name = lastPathComponent(attributes.fileName());
    const bool isUsable =
        !name.isEmpty() && name != u"/" && name != u"." && name != u".." && !name.contains(QChar::Null);
    return isUsable ? name : QString();
}

QString preferredExtension(const NSTextAttachment &attachment)
{
    const NSFileWrapperPtr &file = attachment.fileWrapper();
    return pathExtension(file ? file->preferredFilename() : QString()).toLower();
}

CVHTMLAttachmentPlan::Kind kindOf(const QString &extension)
{
    if (CVHTMLMedia::isImageFile(extension))
        return CVHTMLAttachmentPlan::Kind::Image;
    if (CVHTMLMedia::isMovieFile(extension))
        return CVHTMLAttachmentPlan::Kind::Movie;
    return CVHTMLMedia::isMusicFile(extension) ? CVHTMLAttachmentPlan::Kind::Music
                                               : CVHTMLAttachmentPlan::Kind::Other;
}

} // namespace

bool mediaAttributesDoTransform(const QVariantMap &map)
{
    const QFTextAttachmentAttributes attributes(map);
    if (attributes.rotation() != 0 || attributes.flipHorizontally() || attributes.flipVertically() ||
        attributes.enableShadow() || attributes.enableBorder())
        return true;
    if (attributes.lockRatios())
        return attributes.scale() != 1;
    return attributes.width() != attributes.originalWidth() ||
           attributes.height() != attributes.originalHeight();
}

QString CVHTMLAttachmentPlan::finalName() const
{
    return format == CVHTMLMedia::kNoFormat
               ? name
               : CVHTMLMedia::adjustImagePath(name, CVHTMLMedia::imageExtensionFromQTFormat(format));
}

CVHTMLAttachmentPlan attachmentPlan(const NSTextAttachmentPtr &attachment, const QString &prefix,
                                    qint64 number, qint32 requestedFormat)
{
    const auto media = std::dynamic_pointer_cast<QFTextAttachment>(attachment);
    const QVariantMap attributes = media ? media->mediaAttributes() : QVariantMap();
    QString extension = preferredExtension(*attachment);
    CVHTMLAttachmentPlan plan;
    plan.name = storedFileName(QFTextAttachmentAttributes(attributes));
    if (plan.name.isNull()) {
        plan.name = formatted(u"%@_%d.%@", {prefix, number, extension}); // the dot stays without extension
    } else if (const QString stored = pathExtension(plan.name); !stored.isEmpty()) {
        extension = stored;
    }
    plan.kind = kindOf(extension);
    if (plan.kind != CVHTMLAttachmentPlan::Kind::Image)
        return plan;
    if (requestedFormat != CVHTMLMedia::kNoFormat)
        plan.format = requestedFormat;
    else if (CVHTMLMedia::isConvertibleToJPEG(extension))
        plan.format = CVHTMLMedia::kJPEGFormat;
    else if (media && mediaAttributesDoTransform(attributes))
        plan.format = CVHTMLMedia::imageQTFormatFromExtension(extension);
    return plan;
}
