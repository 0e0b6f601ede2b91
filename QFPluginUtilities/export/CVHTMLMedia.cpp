#include "export/CVHTMLMedia.h"

#include "platform/NSStringPathExtensions.h"

using namespace Qt::StringLiterals;

namespace CVHTMLMedia {

qint32 imageQualityAsQTQuality(const QString &name)
{
    if (name == u"Best")
        return 1024;
    if (name == u"High")
        return kHighQuality;
    if (name == u"Medium")
        return 512;
    return name == u"Low" ? 256 : 1023;
}

qint32 imageFormatAsQTFormat(const QString &name)
{
    if (name == u"JPEG")
        return kJPEGFormat;
    if (name == u"PNG")
        return kPNGFormat;
    return name == u"GIF" ? kGIFFormat : kNoFormat;
}

QString imageExtensionFromQTFormat(qint32 format)
{
    switch (format) {
    case kJPEGFormat:
        return u"jpg"_s;
    case kPNGFormat:
        return u"png"_s;
    case kGIFFormat:
        return u"gif"_s;
    default:
        return u""_s;
    }
}

qint32 imageQTFormatFromExtension(const QString &extension)
{
    const QString lower = extension.toLower();
    if (lower == u"jpg" || lower == u"jpeg" || isConvertibleToJPEG(lower))
        return kJPEGFormat;
    if (lower == u"png")
        return kPNGFormat;
    return lower == u"gif" ? kGIFFormat : kNoFormat;
}

bool isImageFile(const QString &extension)
{
    return imageQTFormatFromExtension(extension) != kNoFormat;
}

bool isMovieFile(const QString &extension)
{
    const QString lower = extension.toLower();
    return lower == u"mov" || lower == u"avi" || lower == u"mpg" || lower == u"mpeg";
}

bool isMusicFile(const QString & /*extension*/)
{
    return false;
}

bool isConvertibleToJPEG(const QString &extension)
{
    return extension == u"tif" || extension == u"tiff" || extension == u"psd";
}

QString adjustImagePath(const QString &path, const QString &forExtension)
{
    if (path.isNull())
        return {};
    return NSStringPathExtensions::stringByDeletingPathExtension(path) + u'.' + forExtension;
}

} // namespace CVHTMLMedia
