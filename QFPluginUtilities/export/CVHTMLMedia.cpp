#include "export/CVHTMLMedia.h"

#include "platform/NSStringPathExtensions.h"

#include <algorithm>
#include <array>
#include <span>

namespace {

bool hasExtensionOf(const QString &path, std::span<const QStringView> extensions)
{
    const QString extension = NSStringPathExtensions::pathExtension(path).toLower();
    return std::ranges::find(extensions, QStringView(extension)) != extensions.end();
}

} // namespace

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

bool isImageFile(const QString &path)
{
    static constexpr std::array<QStringView, 7> extensions{u"jpg", u"jpeg", u"png", u"gif",
                                                           u"tif", u"tiff", u"psd"};
    return hasExtensionOf(path, extensions);
}

bool isMovieFile(const QString &path)
{
    static constexpr std::array<QStringView, 4> extensions{u"mov", u"avi", u"mpg", u"mpeg"};
    return hasExtensionOf(path, extensions);
}

} // namespace CVHTMLMedia
