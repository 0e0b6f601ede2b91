#include "media/QFQTExport.h"

#include "codecs/ExifBlock.h"
#include "codecs/ImageEncoder.h"
#include "imaging/Canvas.h"
#include "imaging/ImageOperations.h"
#include "media/Colours.h"
#include "media/QFImage.h"
#include "media/QFTransformImage.h"
#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/NSGeometry.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "platform/WithoutThrowing.h"

#include <QFile>
#include <QPainter>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint32 kGIF = 0x47494666;  // 'GIFf'
constexpr qint32 kPNG = 0x504E4766;  // 'PNGf'
constexpr qint32 kTIFF = 0x54494646; // 'TIFF'
constexpr qint32 kBMP = 0x424D5066;  // 'BMPf'
constexpr qint32 kJPEG = 0x4A504547; // 'JPEG'

ImageEncoder::FileType fileType(qint32 format)
{
    switch (format) {
    case kGIF:
        return ImageEncoder::FileType::GIF;
    case kPNG:
        return ImageEncoder::FileType::PNG;
    case kTIFF:
        return ImageEncoder::FileType::TIFF;
    case kBMP:
        return ImageEncoder::FileType::BMP;
    default:
        return ImageEncoder::FileType::JPEG;
    }
}

/// High quality, 768, has no factor of its own: only 1024 gives full quality, as meant.
float compressionFactor(qint32 quality)
{
    switch (quality) {
    case 256:
        return 0.25F;
    case 512:
        return 0.5F;
    case 1024:
        return 1.0F;
    default:
        return 0.75F;
    }
}

/// A form that remembers whether it could not be drawn.
class WatchedImageRep : public NSImageRep
{
public:
    explicit WatchedImageRep(NSImageRepPtr watched)
        : NSImageRep(watched->pixels()), _watched(std::move(watched))
    {
    }

    [[nodiscard]] bool hasFailed() const { return _hasFailed; }

    [[nodiscard]] QImage drawn(const QRect &crop, const QSize &target) const override
    {
        QImage image = _watched->drawn(crop, target);
        if (image.isNull())
            _hasFailed = true;
        return image;
    }

private:
    NSImageRepPtr _watched;
    mutable std::atomic<bool> _hasFailed = false;
};

/// The picture in a file; nullptr, after logging, for what cannot be read as a picture.
ImageSourcePtr sourceOf(const QString &path)
{
    ImageSourcePtr source = withoutThrowing([&] { return ImageSource::withFile(path); });
    if (!source) {
        const qint32 status = QFile::exists(path) ? QFQTExport::noCodecErr : QFQTExport::fnfErr;
        const QString text = u"[QFQTExport getImageDescription] failed for %@ with status=%d\n"_s;
        logFailure(qfMediaLog(), u"image"_s, formatted(text, {path, status}), path);
    }
    return source;
}

/// Creates or empties the file; 0 or the system's error number. Never waits for a pipe's other end.
int emptied(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    if (name.contains('\0'))
        return ENOENT;
    const int file = ::open(name.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_CLOEXEC, 0666);
    if (file < 0)
        return errno;
    ::close(file);
    return 0;
}

/// Into an empty file. Opening it to be emptied once more would make some file systems write it to the disk
/// before closing it.
bool written(const QByteArray &bytes, const QString &path)
{
    QFile file(path);
    return !bytes.isEmpty() && file.open(QIODevice::Append | QIODevice::Unbuffered) &&
           file.write(bytes) == bytes.size();
}

} // namespace

/// A picture ready to be encoded; null when there is nothing to encode.
struct QFQTExport::Rendering
{
    QImage image;
    bool isDecoded = true; ///< false when the source turned out to be broken
};

std::unique_ptr<QFQTExport> QFQTExport::exporterWithFile(const QString &path)
{
    std::unique_ptr<QFQTExport> exporter(new QFQTExport);
    exporter->_imageSource = sourceOf(path);
    exporter->_image = NSImage::imageWithSource(exporter->_imageSource);
    return exporter;
}

std::unique_ptr<QFQTExport> QFQTExport::exporterWithData(const QByteArray &data)
{
    std::unique_ptr<QFQTExport> exporter(new QFQTExport);
    exporter->_imageSource = withoutThrowing([&] { return ImageSource::withData(data); });
    exporter->_image = NSImage::imageWithSource(exporter->_imageSource);
    return exporter;
}

std::unique_ptr<QFQTExport> QFQTExport::exporterWithImage(const NSImagePtr &image)
{
    std::unique_ptr<QFQTExport> exporter(new QFQTExport);
    exporter->_image = image;
    return exporter;
}

void QFQTExport::setWidth(float width)
{
    _width = std::ceil(width);
}

void QFQTExport::setHeight(float height)
{
    _height = std::ceil(height);
}

qint32 QFQTExport::exportImage()
{
    _exportedBytes.clear();
    if (!_image || _destination.isEmpty()) {
        if (_status == noErr)
            _status = paramErr;
        return _status;
    }
    if (const int error = emptied(_destination); error != 0) {
        _status = error;
        return _status;
    }
    _status = noErr;
    _exportedBytes = withoutThrowing([this] {
        const QImage image = _prepared ? *_prepared : rendering().image;
        QByteArray bytes = ImageEncoder::encoded(image, fileType(_format), compressionFactor(_quality));
        return written(bytes, _destination) ? bytes : QByteArray();
    });
    if (_exportedBytes.isNull())
        logFailure(qfMediaLog(), u"image"_s, u"Failed to write image to disk"_s, _destination);
    return noErr; // the log alone tells of a picture that could not be encoded or written, as meant
}

bool QFQTExport::prepare()
{
    return withoutThrowing([this] {
        if (!_image)
            return false;
        const Rendering result = rendering();
        _prepared = result.image;
        return result.isDecoded;
    });
}

/// The picture with its effects: by the attributes, or by those that the exporter makes for its size.
QFQTExport::Rendering QFQTExport::rendering()
{
    makeAttributes();
    takeOrientation();
    QList<NSImageRepPtr> watched;
    for (const NSImageRepPtr &representation : _image->representations())
        watched.append(std::make_shared<WatchedImageRep>(representation));
    NSImagePtr image = std::make_shared<NSImage>(_image->size(), watched);
    if (_attributes)
        image = QFTransformImage::transformImageUsingAttributes(image, *_attributes);
    Rendering result{image->bitmap(), true};
    for (const NSImageRepPtr &representation : watched) {
        if (static_cast<const WatchedImageRep &>(*representation).hasFailed())
            result = {{}, false};
    }
    return result;
}

void QFQTExport::makeAttributes()
{
    if (_attributes || !(_width > 0 && _height > 0))
        return;
    const NSSize size = QFImage::fullResolutionSize(*_image);
    _attributes = std::make_shared<QVariantMap>();
    _attributes->insert(u"scale"_s, std::min(_width / size.width, _height / size.height));
    _attributes->insert(u"lockratios"_s, true);
    if (_squareImage)
        _attributes->insert(u"square"_s, 1.0);
}

/// A camera's orientation goes into the attributes, which are the caller's own, if there are any: a plain
/// export keeps the picture as it is stored.
void QFQTExport::takeOrientation()
{
    if (!_imageSource || !_attributes)
        return;
    if (const std::optional<int> orientation = ExifBlock::inPicture(_imageSource->data()).orientation())
        _attributes->insert(u"orientation"_s, *orientation);
}

qint32 QFQTExport::createExporter()
{
    const bool isKnown = _format == kJPEG || fileType(_format) != ImageEncoder::FileType::JPEG;
    _status = isKnown ? noErr : paramErr;
    return _status;
}

QImage QFQTExport::resizedCGImage(const QImage &image, NSSize size) const
{
    const NSSize canvas = _rotation != 0 && !_clip
                              ? NSRotatedRectBounds({0, 0, size.width, size.height}, -_rotation).size()
                              : size;
    if (image.isNull() || !Canvas::isPossible(size.width, size.height) ||
        !Canvas::isPossible(canvas.width, canvas.height)) {
        logFailure(qfMediaLog(), u"image"_s, u"CGBitmapContextCreate returned nil"_s);
        return {};
    }
    const std::optional<QColor> ground = qColor(_fillColour);
    if (_fillColour && !ground) {
        // Patterns alone cannot be converted.
        logFailure(qfMediaLog(), u"image"_s,
                   formatted(u"Could not convert '%@' to RGB colour space", {u"NSPatternColorSpace"_s}));
    }
    const QImage resized = withoutThrowing([&] {
        return drawnOn(Canvas::rasterSize(canvas.width, canvas.height), ground.value_or(QColor(Qt::white)),
                       image, Canvas::rasterSize(size.width, size.height));
    });
    if (resized.isNull())
        logFailure(qfMediaLog(), u"image"_s, u"Out of memory while scaling image"_s);
    return resized;
}

/// The image, scaled, mirrored and turned, with its shadow in the middle of a canvas.
QImage QFQTExport::drawnOn(const QSize &canvas, const QColor &ground, const QImage &image,
                           const QSize &size) const
{
    QImage picture = NSBitmapImageRep(image).drawn(QRect(QPoint(), image.size()), size);
    picture.mirror(_flipHorizontally, _flipVertically);
    picture = picture.isNull() ? picture : ImageOperations::turned(picture, _rotation, canvas);
    if (picture.isNull())
        return {};
    const bool hasShadow = _shadowOffset != 0 || _shadowBlur != 0;
    const QColor shadowColour = qColor(_shadowColour).value_or(QColor(Qt::black));
    const ImageOperations::Shadow shadow{
        {_shadowOffset, _shadowOffset}, _shadowBlur, hasShadow ? shadowColour : QColor(Qt::transparent)};
    return ImageOperations::withShadow(picture, {0, 0}, shadow, canvas, ground);
}

std::optional<QFQTExport::ImageDescription> QFQTExport::getImageDescription(const QString &path)
{
    const ImageSourcePtr source = sourceOf(path);
    if (!source)
        return std::nullopt;
    return ImageDescription{source->data().size(), source->size().width(), source->size().height()};
}
