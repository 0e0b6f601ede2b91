#include "codecs/ImageSource.h"

#include "codecs/JPEGSource.h"
#include "codecs/PNGSource.h"
#include "codecs/PSDSource.h"
#include "codecs/PictureFile.h"
#include "codecs/QtImageSource.h"
#include "imaging/ImageOperations.h"
#include "platform/WithoutThrowing.h"

#include <utility>

namespace {

constexpr int kLongestSide = 65535;
constexpr qint64 kMostPixels = qint64(256) << 20;

/// The source that knows the bytes' signature.
ImageSourcePtr sourceForBytes(const QByteArray &data)
{
    if (JPEGSource::isJPEG(data))
        return JPEGSource::withBytes(data);
    if (PNGSource::isPNG(data))
        return PNGSource::withBytes(data);
    if (PSDSource::isPSD(data))
        return PSDSource::withBytes(data);
    return QtImageSource::withBytes(data);
}

} // namespace

ImageSource::ImageSource(Format format, QSize size, QByteArray data)
    : _format(format), _size(size), _data(std::move(data))
{
}

ImageSource::~ImageSource() = default;

bool ImageSource::isSizeAllowed(QSize size)
{
    return !size.isEmpty() && size.width() <= kLongestSide && size.height() <= kLongestSide &&
           qint64(size.width()) * size.height() <= kMostPixels;
}

ImageSourcePtr ImageSource::withData(const QByteArray &data)
{
    return withoutThrowing([&] { return sourceForBytes(data); });
}

ImageSourcePtr ImageSource::withFile(const QString &path)
{
    return withoutThrowing([&] { return sourceForBytes(contentsOfPictureFile(path)); });
}

bool ImageSource::canScale(const QRect &crop, const QSize &target) const
{
    return !crop.isEmpty() && QRect(QPoint(), _size).contains(crop) && isSizeAllowed(target);
}

QImage ImageSource::scaled(const QRect &crop, const QSize &target) const
{
    return canScale(crop, target) ? ImageOperations::scaled(image(), crop, target) : QImage();
}
