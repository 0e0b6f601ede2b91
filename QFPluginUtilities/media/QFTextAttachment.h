#pragma once

#include "media/NSImage.h"
#include "platform/NSColor.h"
#include "platform/NSTextAttachment.h"

#include <QObject>
#include <QVariantMap>

#include <memory>
#include <optional>

/// Tells what depends on an attachment's media attributes that they have changed.
class QF_EXPORT QFTextAttachmentObserver : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    /// Sent once for each of "mediaAttributesWidth", "mediaAttributesHeight", "mediaAttributesLockRatios",
    /// "mediaAttributesFlipHorizontally", "mediaAttributesFlipVertically" and "mediaAttributesFillColour"
    /// after any change of the attributes.
    void valueChanged(const QString &key);
};

/// An image, movie or document embedded in styled text, with its media attributes: a map from lower-case keys
/// such as "width", "lockratios" or "alttag" to numbers, strings and colours. Belongs to one thread at a
/// time.
class QF_EXPORT QFTextAttachment : public NSTextAttachment
{
public:
    using NSTextAttachment::NSTextAttachment;
    QFTextAttachment(const NSFileWrapperPtr &fileWrapper, QVariantMap mediaAttributes);
    ~QFTextAttachment() override;

    [[nodiscard]] QString className() const override;
    /// Forgets the decoded image and the cached one.
    void setFileWrapper(const NSFileWrapperPtr &fileWrapper) override;

    /// The map; the first call on an attachment that has none makes one with the initial entries of a freshly
    /// inserted picture, for which the file's header is read.
    [[nodiscard]] const QVariantMap &mediaAttributes();
    /// Whether the map has been made or given.
    [[nodiscard]] bool hasMediaAttributes() const { return _hasMediaAttributes; }
    /// Every change of the map drops the cached image.
    void setMediaAttributes(const QVariantMap &attributes);
    void setMediaAttribute(const QString &key, const QVariant &value);
    /// Source of change signals; made on first use.
    [[nodiscard]] QFTextAttachmentObserver &observer();

    /// Kind of the medium: 1 image, 2 movie, 3 PDF.
    void setMediaType(qint32 type);
    /// The stored width, or the original one; 0 for neither.
    [[nodiscard]] float mediaAttributesWidth();
    void setMediaAttributesWidth(float width);
    [[nodiscard]] float mediaAttributesHeight();
    void setMediaAttributesHeight(float height);
    [[nodiscard]] bool mediaAttributesLockRatios();
    void setMediaAttributesLockRatios(bool locks);
    [[nodiscard]] bool mediaAttributesFlipHorizontally();
    void setMediaAttributesFlipHorizontally(bool flips);
    [[nodiscard]] bool mediaAttributesFlipVertically();
    void setMediaAttributesFlipVertically(bool flips);
    [[nodiscard]] std::optional<NSColor> mediaAttributesFillColour();
    void setMediaAttributesFillColour(const std::optional<NSColor> &colour);

    /// The picture in the file, or in the file that a link leads to; a document's first page. nullptr for
    /// anything else. Read once; pixels are decoded when they are drawn.
    [[nodiscard]] NSImagePtr image();
    /// Reads the picture again and drops the cached image. Whoever holds the old picture keeps it.
    void updateImage();
    /// Sets scale and original size; a stored width or height becomes the original one. Reads the picture
    /// again.
    void updateImageSize(NSSize size, float scale);

    /// Encoded bytes of the last rendering; nil for none.
    [[nodiscard]] QByteArray cachedImage() const { return _cachedImage; }
    /// Four-character code of the format that the cached bytes were encoded in; nothing where whoever set
    /// them did not say.
    [[nodiscard]] std::optional<qint32> cachedImageFormat() const { return _cachedImageFormat; }
    void setCachedImage(const QByteArray &bytes, std::optional<qint32> format = std::nullopt);
    void clearCachedImage() { setCachedImage({}); }

    /// Bakes the displayed size into a JPEG file with the extension "jpg": decodes, scales and encodes it.
    /// True when the file has been replaced; false, with nothing changed, for other files, for one that is
    /// shown in its own size, and for a size that no picture can have.
    [[nodiscard]] bool normalise();

    /// Writes the base class's entries, then in sequence the media attributes, the cached image and the file
    /// wrapper: class version 2.
    void encodeWithCoder(NSKeyedArchiver &coder) const override;
    /// Archives of version 0 end with the media attributes, those of version 1 with the cached image.
    void decodeWithCoder(NSKeyedUnarchiver &coder) override;

private:
    [[nodiscard]] QVariantMap initialMediaAttributes();
    void attributesChanged();

    QVariantMap _mediaAttributes;
    bool _hasMediaAttributes = false;
    std::optional<NSImagePtr> _image; ///< nothing until it has been looked for
    QByteArray _cachedImage;
    std::optional<qint32> _cachedImageFormat;
    std::unique_ptr<QFTextAttachmentObserver> _observer;
};

using QFTextAttachmentPtr = std::shared_ptr<QFTextAttachment>;
