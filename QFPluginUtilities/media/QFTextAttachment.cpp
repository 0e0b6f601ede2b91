#include "media/QFTextAttachment.h"

#include "media/PDFImage.h"
#include "media/QFImage.h"
#include "media/QFTextAttachmentAttributes.h"
#include "platform/NSArchivableClasses.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/NSStringPathExtensions.h"
#include "platform/NSTextAttachmentCell.h"
#include "platform/Values.h"
#include "platform/WithoutThrowing.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kClassVersion = 2;

const NSArchivableClasses::Registration kAttachmentClass({
    u"QFTextAttachment"_s,
    {u"NSTextAttachment"_s},
    kClassVersion,
    QMetaType::fromType<NSTextAttachmentPtr>(),
    [](const QVariant &object, NSKeyedArchiver &coder) {
        object.value<NSTextAttachmentPtr>()->encodeWithCoder(coder);
    },
    [](NSKeyedUnarchiver &coder) {
        const auto attachment = std::make_shared<QFTextAttachment>();
        attachment->decodeWithCoder(coder);
        if (const NSTextAttachmentCellPtr &cell = attachment->attachmentCell())
            cell->setAttachment(attachment);
        return QVariant::fromValue<NSTextAttachmentPtr>(attachment);
    },
    NSArchivableClasses::identityOf<NSTextAttachmentPtr>,
});

NSImagePtr imageInFile(const NSFileWrapper &file)
{
    switch (file.kind()) {
    case NSFileWrapper::Kind::RegularFile:
        if (NSImagePtr image = NSImage::imageWithData(file.regularFileContents()))
            return image;
        return PDFImage::imageWithData(file.regularFileContents());
    case NSFileWrapper::Kind::SymbolicLink:
        if (NSImagePtr image = NSImage::imageWithContentsOfFile(file.symbolicLinkDestination()))
            return image;
        return PDFImage::imageWithContentsOfFile(file.symbolicLinkDestination());
    case NSFileWrapper::Kind::Directory:
        break;
    }
    return nullptr;
}

/// Four-character code of the format that a file's bytes are in, so that they are not taken for another
/// one's; nothing for bytes that are no picture.
std::optional<qint32> formatOf(const QByteArray &bytes)
{
    const ImageSourcePtr source = withoutThrowing([&] { return ImageSource::withData(bytes); });
    if (!source)
        return std::nullopt;
    switch (source->format()) {
    case ImageSource::Format::JPEG:
        return 0x4A504547; // 'JPEG'
    case ImageSource::Format::PNG:
        return 0x504E4766; // 'PNGf'
    case ImageSource::Format::GIF:
        return 0x47494666; // 'GIFf'
    default:
        return 0; // none that pages have
    }
}

/// The value of the first key that has one.
float firstFloat(const QVariantMap &map, const QString &key, const QString &fallback)
{
    const QVariant value = map.value(key);
    return floatValue(isNil(value) ? map.value(fallback) : value);
}

} // namespace

QFTextAttachment::QFTextAttachment(const NSFileWrapperPtr &fileWrapper, QVariantMap mediaAttributes)
    : NSTextAttachment(fileWrapper), _mediaAttributes(std::move(mediaAttributes)), _hasMediaAttributes(true)
{
}

QFTextAttachment::~QFTextAttachment() = default;

QString QFTextAttachment::className() const
{
    return u"QFTextAttachment"_s;
}

void QFTextAttachment::setFileWrapper(const NSFileWrapperPtr &fileWrapper)
{
    NSTextAttachment::setFileWrapper(fileWrapper);
    _image.reset();
    clearCachedImage();
}

const QVariantMap &QFTextAttachment::mediaAttributes()
{
    if (!_hasMediaAttributes) {
        _mediaAttributes = initialMediaAttributes();
        _hasMediaAttributes = true;
    }
    return _mediaAttributes;
}

/// What a freshly inserted picture has. It differs on purpose from what a map without these keys reads as:
/// such a map is neither clipped nor filled.
QVariantMap QFTextAttachment::initialMediaAttributes()
{
    QVariantMap map{
        {u"fliph"_s, false},
        {u"flipv"_s, false},
        {u"lockratios"_s, true},
        {u"scale"_s, 1.0F},
        {u"rotation"_s, 0.0F},
        {u"clip"_s, true},
        {u"fillcolour"_s, QVariant::fromValue(NSColor::whiteColor())},
        {u"shadowcolour"_s, QVariant::fromValue(NSColor::lightGrayColor())},
        {u"shadowoffset"_s, 5.0F},
        {u"shadowblur"_s, 5.0F},
        {u"bordercolour"_s, QVariant::fromValue(NSColor::blackColor())},
        {u"bordersize"_s, 2.0F},
    };
    if (const NSImagePtr picture = image()) {
        const NSSize size = QFImage::fullResolutionSize(*picture);
        map.insert(u"originalwidth"_s, static_cast<int>(size.width));
        map.insert(u"originalheight"_s, static_cast<int>(size.height));
    }
    return map;
}

void QFTextAttachment::setMediaAttributes(const QVariantMap &attributes)
{
    _mediaAttributes = attributes;
    _hasMediaAttributes = true;
    attributesChanged();
}

void QFTextAttachment::setMediaAttribute(const QString &key, const QVariant &value)
{
    (void)mediaAttributes();
    if (isNil(value))
        _mediaAttributes.remove(key);
    else
        _mediaAttributes.insert(key, value);
    attributesChanged();
}

void QFTextAttachment::attributesChanged()
{
    clearCachedImage();
    if (!_observer)
        return;
    for (const QString &key : {u"mediaAttributesWidth"_s, u"mediaAttributesHeight"_s,
                               u"mediaAttributesLockRatios"_s, u"mediaAttributesFlipHorizontally"_s,
                               u"mediaAttributesFlipVertically"_s, u"mediaAttributesFillColour"_s})
        Q_EMIT _observer->valueChanged(key);
}

QFTextAttachmentObserver &QFTextAttachment::observer()
{
    if (!_observer)
        _observer = std::make_unique<QFTextAttachmentObserver>();
    return *_observer;
}

void QFTextAttachment::setMediaType(qint32 type)
{
    setMediaAttribute(u"type"_s, type);
}

float QFTextAttachment::mediaAttributesWidth()
{
    return firstFloat(mediaAttributes(), u"width"_s, u"originalwidth"_s);
}

void QFTextAttachment::setMediaAttributesWidth(float width)
{
    setMediaAttribute(u"width"_s, width);
}

float QFTextAttachment::mediaAttributesHeight()
{
    return firstFloat(mediaAttributes(), u"height"_s, u"originalheight"_s);
}

void QFTextAttachment::setMediaAttributesHeight(float height)
{
    setMediaAttribute(u"height"_s, height);
}

bool QFTextAttachment::mediaAttributesLockRatios()
{
    return QFTextAttachmentAttributes(mediaAttributes()).lockRatios();
}

void QFTextAttachment::setMediaAttributesLockRatios(bool locks)
{
    setMediaAttribute(u"lockratios"_s, locks);
}

bool QFTextAttachment::mediaAttributesFlipHorizontally()
{
    return QFTextAttachmentAttributes(mediaAttributes()).flipHorizontally();
}

void QFTextAttachment::setMediaAttributesFlipHorizontally(bool flips)
{
    setMediaAttribute(u"fliph"_s, flips);
}

bool QFTextAttachment::mediaAttributesFlipVertically()
{
    return QFTextAttachmentAttributes(mediaAttributes()).flipVertically();
}

void QFTextAttachment::setMediaAttributesFlipVertically(bool flips)
{
    setMediaAttribute(u"flipv"_s, flips);
}

std::optional<NSColor> QFTextAttachment::mediaAttributesFillColour()
{
    return QFTextAttachmentAttributes(mediaAttributes()).fillColour();
}

void QFTextAttachment::setMediaAttributesFillColour(const std::optional<NSColor> &colour)
{
    setMediaAttribute(u"fillcolour"_s, colour ? QVariant::fromValue(*colour) : QVariant());
}

NSImagePtr QFTextAttachment::image()
{
    if (!_image) {
        const NSFileWrapperPtr &file = fileWrapper();
        _image = file ? withoutThrowing([&] { return imageInFile(*file); }) : nullptr;
    }
    return *_image;
}

void QFTextAttachment::updateImage()
{
    _image.reset();
    (void)image();
    clearCachedImage();
}

void QFTextAttachment::updateImageSize(NSSize size, float scale)
{
    QVariantMap map = mediaAttributes();
    map.insert(u"scale"_s, scale);
    map.insert(u"originalwidth"_s, size.width);
    map.insert(u"originalheight"_s, size.height);
    if (map.contains(u"width"_s))
        map.insert(u"width"_s, size.width);
    if (map.contains(u"height"_s))
        map.insert(u"height"_s, size.height);
    setMediaAttributes(map);
    updateImage();
}

void QFTextAttachment::setCachedImage(const QByteArray &bytes, std::optional<qint32> format)
{
    _cachedImage = bytes;
    _cachedImageFormat = format;
}

void QFTextAttachment::encodeWithCoder(NSKeyedArchiver &coder) const
{
    NSTextAttachment::encodeWithCoder(coder);
    coder.encodeObject(_hasMediaAttributes ? QVariant(_mediaAttributes) : QVariant());
    coder.encodeObject(_cachedImage.isNull() ? QVariant() : QVariant(_cachedImage));
    coder.encodeObject(QVariant::fromValue(fileWrapper()));
}

void QFTextAttachment::decodeWithCoder(NSKeyedUnarchiver &coder)
{
    NSTextAttachment::decodeWithCoder(coder);
    const qint64 version = coder.versionForClassName(QFTextAttachment::className());
    const QVariant attributes = coder.decodeObject();
    if (attributes.typeId() == QMetaType::QVariantMap)
        setMediaAttributes(attributes.toMap());
    const QVariant cached = version > 0 ? coder.decodeObject() : QVariant();
    if (version > 1) {
        if (const auto file = coder.decodeObject().value<NSFileWrapperPtr>())
            setFileWrapper(file);
    }
    const QByteArray bytes = cached.typeId() == QMetaType::QByteArray ? cached.toByteArray() : QByteArray();
    setCachedImage(bytes, formatOf(bytes));
}
