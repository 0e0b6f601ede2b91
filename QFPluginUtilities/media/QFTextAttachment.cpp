#include "media/QFTextAttachment.h"

#include "platform/NSArchivableClasses.h"
#include "platform/NSColor.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kClassVersion = 2;

/// What a freshly inserted picture has. It differs on purpose from what a map without these keys reads as:
/// such a map is neither clipped nor filled.
QVariantMap initialMediaAttributes()
{
    return {
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
}

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
        return QVariant::fromValue<NSTextAttachmentPtr>(attachment);
    },
    NSArchivableClasses::identityOf<NSTextAttachmentPtr>,
});

} // namespace

QFTextAttachment::QFTextAttachment(const NSFileWrapperPtr &fileWrapper, QVariantMap mediaAttributes)
    : NSTextAttachment(fileWrapper), _mediaAttributes(std::move(mediaAttributes)), _hasMediaAttributes(true)
{
}

QString QFTextAttachment::className() const
{
    return u"QFTextAttachment"_s;
}

QVariantMap &QFTextAttachment::mediaAttributes()
{
    if (!_hasMediaAttributes)
        setMediaAttributes(initialMediaAttributes());
    return _mediaAttributes;
}

void QFTextAttachment::setMediaAttributes(const QVariantMap &attributes)
{
    _mediaAttributes = attributes;
    _hasMediaAttributes = true;
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
    if (version > 0) {
        const QVariant image = coder.decodeObject();
        _cachedImage = image.typeId() == QMetaType::QByteArray ? image.toByteArray() : QByteArray();
    }
    if (version > 1) {
        const QVariant wrapper = coder.decodeObject();
        if (const auto file = wrapper.value<NSFileWrapperPtr>())
            setFileWrapper(file);
    }
}
