#pragma once

#include "platform/NSFileWrapper.h"

#include <QMetaType>

#include <memory>

class NSKeyedArchiver;
class NSKeyedUnarchiver;
class NSTextAttachmentCell;

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

    /// What draws the attachment in a view; nullptr for none. It does not own the attachment.
    [[nodiscard]] const std::shared_ptr<NSTextAttachmentCell> &attachmentCell() const { return _cell; }
    /// Whoever sets a cell also makes this the cell's attachment.
    void setAttachmentCell(std::shared_ptr<NSTextAttachmentCell> cell) { _cell = std::move(cell); }

    virtual void encodeWithCoder(NSKeyedArchiver &coder) const;
    /// Fills a fresh attachment from an archive; what is missing there stays as it is.
    virtual void decodeWithCoder(NSKeyedUnarchiver &coder);

private:
    NSFileWrapperPtr _fileWrapper;
    std::shared_ptr<NSTextAttachmentCell> _cell;
};

using NSTextAttachmentPtr = std::shared_ptr<NSTextAttachment>;

/// The unit that carries an attachment in the text.
inline constexpr char16_t NSAttachmentCharacter = u'\uFFFC';

Q_DECLARE_METATYPE(NSTextAttachmentPtr)
