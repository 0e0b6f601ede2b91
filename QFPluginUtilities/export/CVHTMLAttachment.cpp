#include "export/CVHTMLAttachment.h"

#include "export/CVHTML.h"
#include "export/CVHTMLFileWrapper.h"
#include "export/CVHTMLImageFile.h"
#include "export/CVHTMLMedia.h"
#include "media/QFImage.h"
#include "media/QFQTExport.h"
#include "media/QFTextAttachment.h"
#include "media/QFTextAttachmentAttributes.h"
#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/NSStringPathExtensions.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "platform/WithoutThrowing.h"
#include "text/QFStrings.h"

#include <QStringBuilder>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using namespace NSStringPathExtensions;

namespace {

using Kind = CVHTMLAttachmentPlan::Kind;

/// Height of the bar below a movie.
constexpr double kControllerHeight = 16;
constexpr int kMusicWidth = 250;
constexpr int kMusicHeight = 16;

/// Truncated, and no further than an `int` reaches; 0 for what is no number.
int truncated(double value)
{
    constexpr double kLimit = std::numeric_limits<int>::max();
    return std::isnan(value) ? 0 : static_cast<int>(std::clamp(value, -kLimit, kLimit));
}

/// Alternative text and size of a picture. What the attributes say wins over the file, but a turned picture
/// has the size that turning gave it.
struct ImageAttributes
{
    QString altTag;
    int width = 0;
    int height = 0;
};

ImageAttributes imageAttributes(const NSTextAttachmentPtr &attachment, const QString &title,
                                const QString &path)
{
    const auto media = std::dynamic_pointer_cast<QFTextAttachment>(attachment);
    const QVariantMap map = media ? media->mediaAttributes() : QVariantMap();
    const QFTextAttachmentAttributes attributes(map);
    const QString altTag = attributes.altTag();
    const bool isTurned = attributes.rotation() != 0;
    const bool hasWidth = !isTurned && map.contains(u"width"_s);
    const bool hasHeight = !isTurned && map.contains(u"height"_s);
    NSSize size{attributes.width(), attributes.height()};
    if (!hasWidth || !hasHeight) {
        const NSImagePtr written = NSImage::imageWithContentsOfFile(path);
        const NSSize own = written ? QFImage::fullResolutionSize(*written) : NSSize();
        size = {hasWidth ? size.width : own.width, hasHeight ? size.height : own.height};
    }
    return {altTag.isNull() ? title : altTag, truncated(size.width), truncated(size.height)};
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

/// What a link to a file, or the alternative text of a picture, says: the file's name without its extension.
QString attachmentTitle(const NSFileWrapper &file)
{
    const QString name = file.preferredFilename();
    if (name.isNull())
        return printed(name);
    return QFStringUtilities::convertToEntities(stringByDeletingPathExtension(name));
}

/// nil, after logging, when the movie's size is not known.
QString movieMarkup(const QString &path, const QString &source)
{
    const NSSize size = QFQTExport::getMovieDimensions(path);
    if (size.width < 1 || size.height < 1) {
        logFailure(qfExportLog(), u"attachment"_s,
                   formatted(u"Couldn't determine dimensions of movie at %@", {path}), path);
        return {};
    }
    return QFQTExport::quicktimeEmbedHTMLForSrc(source, truncated(size.width),
                                                truncated(size.height + kControllerHeight), false);
}

/// Writes the file as planned to `path`, which becomes the one where it failed. A prefix with a slash, which
/// might lead out of the folder, fails, and so does no folder at all.
CVHTMLImageFile::Result written(const NSTextAttachmentPtr &attachment, const CVHTMLAttachmentPlan &plan,
                                QString &path, qint32 quality)
{
    using Result = CVHTMLImageFile::Result;
    const NSFileWrapperPtr &file = attachment->fileWrapper();
    const bool isEncoded = plan.format != CVHTMLMedia::kNoFormat;
    if (isEncoded && path.isNull())
        logFailure(qfExportLog(), u"attachment"_s, u"attachmentPath is nil"_s);
    if (isEncoded && plan.name.isNull())
        logFailure(qfExportLog(), u"attachment"_s, u"attachmentName is nil"_s);
    if (!file || path.isNull() || plan.name.contains(u'/'))
        return Result::Failed;
    if (!isEncoded)
        return CVHTMLFileWrapper::writeToFile(*file, path) ? Result::Written : Result::Failed;
    CVHTMLImageFile image(attachment, path, plan.format, quality);
    const Result result = image.write();
    path = image.path();
    return result;
}

QString markupOf(const NSTextAttachmentPtr &attachment, Kind kind, const QString &path, const QString &source)
{
    const QString title = attachmentTitle(*attachment->fileWrapper());
    switch (kind) {
    case Kind::Image:
        return imageMarkup(imageAttributes(attachment, title, path), source);
    case Kind::Movie:
        return movieMarkup(path, source);
    case Kind::Music:
        return QFQTExport::quicktimeEmbedHTMLForSrc(source, kMusicWidth, kMusicHeight, false);
    case Kind::Other:
        break;
    }
    return u"<a href=\"" % source % u"\">" % title % u"</a>";
}

} // namespace

void CVHTML::processAttachment(const NSTextAttachmentPtr &attachment, const QString &prefix,
                               qint64 &attachmentNumber, const QString &toPath, const QString &imagesFolder,
                               qint32 usingFormat, qint32 andQuality, QString &addingMarkupTo) const
{
    if (!attachment)
        return;
    const CVHTMLAttachmentPlan plan = attachmentPlan(attachment, prefix, attachmentNumber, usingFormat);
    const QString name = plan.finalName();
    QString path = toPath.isNull() ? QString() : stringByAppendingPathComponent(toPath, name);
    // One attachment for which memory does not suffice must not take the page with it.
    const auto result = withoutThrowing([&] { return written(attachment, plan, path, andQuality); });
    if (result == CVHTMLImageFile::Result::Refused)
        return; // and the number stays
    ++attachmentNumber;
    if (result == CVHTMLImageFile::Result::Written)
        addingMarkupTo += withoutThrowing(
            [&] { return markupOf(attachment, plan.kind, path, printed(imagesFolder) % u'/' % name); });
    else
        logFailure(qfExportLog(), u"attachment"_s, formatted(u"Failed to write attachment to %@", {path}),
                   path);
}
