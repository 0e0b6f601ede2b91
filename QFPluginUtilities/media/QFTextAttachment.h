#pragma once

#include "platform/NSTextAttachment.h"

#include <QVariantMap>

#include <memory>

/// An image, movie or document embedded in styled text, with its media attributes: a map from lower-case keys
/// such as "width", "lockratios" or "alttag" to numbers, strings and colours. The map is edited in place.
class QF_EXPORT QFTextAttachment : public NSTextAttachment
{
public:
    using NSTextAttachment::NSTextAttachment;
    QFTextAttachment(const NSFileWrapperPtr &fileWrapper, QVariantMap mediaAttributes);

    [[nodiscard]] QString className() const override;

    /// The map; the first call on an attachment that has none makes one with the initial entries of a freshly
    /// inserted picture.
    [[nodiscard]] QVariantMap &mediaAttributes();
    /// Whether the map has been made or given.
    [[nodiscard]] bool hasMediaAttributes() const { return _hasMediaAttributes; }
    void setMediaAttributes(const QVariantMap &attributes);

    /// Encoded bytes of the last rendering; nil for none.
    [[nodiscard]] QByteArray cachedImage() const { return _cachedImage; }
    void setCachedImage(const QByteArray &bytes) { _cachedImage = bytes; }
    void clearCachedImage() { _cachedImage.clear(); }

    /// Writes the base class's entries, then in sequence the media attributes, the cached image and the file
    /// wrapper: class version 2.
    void encodeWithCoder(NSKeyedArchiver &coder) const override;
    /// Archives of version 0 end with the media attributes, those of version 1 with the cached image.
    void decodeWithCoder(NSKeyedUnarchiver &coder) override;

private:
    QVariantMap _mediaAttributes;
    bool _hasMediaAttributes = false;
    QByteArray _cachedImage;
};
