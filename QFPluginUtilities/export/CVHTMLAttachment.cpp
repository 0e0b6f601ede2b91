#include "export/CVHTMLAttachment.h"

#include "export/CVHTML.h"
#include "export/CVHTMLFileWrapper.h"
#include "export/CVHTMLMedia.h"
#include "media/QFTextAttachment.h"
#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/NSStringPathExtensions.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "text/QFStrings.h"

#include <QImageReader>
#include <QStringBuilder>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace NSStringPathExtensions;

namespace {

/// The name that the media attributes ask for, reduced to its last component so that nothing is written
/// outside the export folder; nil when there is none to be used.
QString storedFileName(QFTextAttachment &attachment)
{
    if (!attachment.hasMediaAttributes())
        return {};
    const QString stored = stringValue(attachment.mediaAttributes().value(u"filename"_s));
    const QString name = lastPathComponent(stored);
    const bool isUsable = !name.isEmpty() && name != u"/" && name != u"." && name != u"..";
    return isUsable ? name : QString();
}

/// Alternative text and the size that the attributes set, each of which wins over the picture's own.
struct ImageAttributes
{
    QString altTag;
    int width = 0;
    int height = 0;
};

ImageAttributes imageAttributes(const NSTextAttachmentPtr &attachment, const QString &title,
                                const QSize &pixels)
{
    ImageAttributes image{title, std::max(pixels.width(), 0), std::max(pixels.height(), 0)};
    const auto media = std::dynamic_pointer_cast<QFTextAttachment>(attachment);
    if (!media || !media->hasMediaAttributes())
        return image;
    const QVariantMap &attributes = media->mediaAttributes();
    if (const QString altTag = stringValue(attributes.value(u"alttag"_s)); !altTag.isNull())
        image.altTag = altTag;
    // A turned picture has the size that turning gave it.
    if (floatValue(attributes.value(u"rotation"_s)) != 0)
        return image;
    if (attributes.contains(u"width"_s))
        image.width = static_cast<int>(intValue(attributes.value(u"width"_s)));
    if (attributes.contains(u"height"_s))
        image.height = static_cast<int>(intValue(attributes.value(u"height"_s)));
    return image;
}

QString imageMarkup(const ImageAttributes &image, const QString &source)
{
    QString markup = u"<img class=\"imageStyle\" alt=\"" %
                     QFStringUtilities::convertToEntities(image.altTag) % u"\" src=\"" % source % u'"';
    if (image.width != 0 && image.height != 0) {
        markup += u" width=\"" % QString::number(image.width) % u"\" height=\"" %
                  QString::number(image.height) % u'"';
    }
    return markup % u"/>";
}

QString preferredExtension(const NSTextAttachment &attachment)
{
    const NSFileWrapperPtr &file = attachment.fileWrapper();
    return pathExtension(file ? file->preferredFilename() : QString()).toLower();
}

/// What tells the kind of a file: the extension of its exported name, or else of its own, since a stored name
/// may have none.
QString kindExtension(const QString &name, const NSTextAttachment &attachment)
{
    const QString extension = pathExtension(name);
    return extension.isEmpty() ? preferredExtension(attachment) : extension;
}

/// What a link to a file, or the alternative text of a picture, says: the file's name without its extension.
QString attachmentTitle(const NSFileWrapper &file)
{
    const QString name = file.preferredFilename();
    if (name.isNull())
        return printed(name);
    return QFStringUtilities::convertToEntities(stringByDeletingPathExtension(name));
}

} // namespace

QString exportedFileName(const NSTextAttachmentPtr &attachment, const QString &prefix, qint64 number)
{
    if (const auto media = std::dynamic_pointer_cast<QFTextAttachment>(attachment)) {
        if (const QString stored = storedFileName(*media); !stored.isNull())
            return stored;
    }
    // The dot stays where there is no extension.
    return formatted(u"%@_%d.%@", {prefix, number, preferredExtension(*attachment)});
}

void CVHTML::processAttachment(const NSTextAttachmentPtr &attachment, const QString &prefix,
                               qint64 &attachmentNumber, const QString &toPath, const QString &imagesFolder,
                               qint32 /*usingFormat*/, qint32 /*andQuality*/, QString &addingMarkupTo) const
{
    if (!attachment)
        return;
    const QString name = exportedFileName(attachment, prefix, attachmentNumber++);
    const QString path = stringByAppendingPathComponent(toPath, name);
    const NSFileWrapperPtr &file = attachment->fileWrapper();
    if (!file || !CVHTMLFileWrapper::writeToFile(*file, path)) {
        logFailure(qfExportLog(), u"attachment"_s, formatted(u"Failed to write attachment to %@", {path}),
                   path);
        return;
    }
    const QString title = attachmentTitle(*file);
    const QString source = printed(imagesFolder) % u'/' % name;
    if (CVHTMLMedia::isImageFile(kindExtension(name, *attachment)))
        addingMarkupTo += imageMarkup(imageAttributes(attachment, title, QImageReader(path).size()), source);
    else
        addingMarkupTo += u"<a href=\"" % source % u"\">" % title % u"</a>";
}
