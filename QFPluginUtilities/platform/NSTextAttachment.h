#pragma once

#include "platform/NSFileWrapper.h"

#include <QMetaType>

#include <memory>

class NSKeyedArchiver;
class NSKeyedUnarchiver;

/// A file embedded in styled text, carried by one U+FFFC under the attachment attribute. Edited in place,
/// equal by identity, and always stored as a `NSTextAttachmentPtr`, whatever its class.
class QF_EXPORT NSTextAttachment
{
public:
    NSTextAttachment() = default;
    explicit NSTextAttachment(NSFileWrapperPtr fileWrapper) : _fileWrapper(std::move(fileWrapper)) {}
    NSTextAttachment(const NSTextAttachment &) = delete;
    NSTextAttachment &operator=(const NSTextAttachment &) = delete;
    virtual ~NSTextAttachment();

    /// Class name under which archives store the object, and by which a class is told exactly.
    [[nodiscard]] virtual QString className() const;

    [[nodiscard]] const NSFileWrapperPtr &fileWrapper() const { return _fileWrapper; }
    virtual void setFileWrapper(const NSFileWrapperPtr &fileWrapper) { _fileWrapper = fileWrapper; }

    virtual void encodeWithCoder(NSKeyedArchiver &coder) const;
    /// Fills a fresh attachment from an archive; what is missing there stays as it is.
    virtual void decodeWithCoder(NSKeyedUnarchiver &coder);

private:
    NSFileWrapperPtr _fileWrapper;
};

using NSTextAttachmentPtr = std::shared_ptr<NSTextAttachment>;

/// The unit that carries an attachment in the text.
inline constexpr char16_t NSAttachmentCharacter = u'\uFFFC';

Q_DECLARE_METATYPE(NSTextAttachmentPtr)
