#include "media/QFImage.h"

namespace {

qint64 area(const QSize &size)
{
    return qint64(size.width()) * size.height();
}

} // namespace

NSSize QFImage::fullResolutionSize(const NSImage &image)
{
    for (const NSImageRepPtr &representation : image.representations()) {
        const QSize pixels = representation->pixels();
        if (pixels.width() <= 0)
            continue;
        if (pixels.height() <= 0)
            break;
        return {static_cast<float>(pixels.width()), static_cast<float>(pixels.height())};
    }
    return image.size();
}

bool QFImage::isJPEGImage(const NSImage &image)
{
    NSImageRepPtr best;
    for (const NSImageRepPtr &representation : image.representations()) {
        if (!best || area(representation->pixels()) > area(best->pixels()))
            best = representation;
    }
    const auto bitmap = std::dynamic_pointer_cast<const NSBitmapImageRep>(best);
    if (!bitmap)
        return false;
    const NSBitmapImageRep::Compression compression = bitmap->compression();
    return compression == NSBitmapImageRep::Compression::JPEG ||
           compression == NSBitmapImageRep::Compression::OldJPEG;
}
