#include "platform/NSTextAttachment.h"

#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/NSTextAttachmentCell.h"

using namespace Qt::StringLiterals;

namespace {

constexpr QStringView kFileWrapperKey = u"NSFileWrapper";
constexpr QStringView kCellKey = u"NSCell";

} // namespace

NSTextAttachment::~NSTextAttachment() = default;

QString NSTextAttachment::className() const
{
    return u"NSTextAttachment"_s;
}

void NSTextAttachment::encodeWithCoder(NSKeyedArchiver &coder) const
{
    coder.encodeObject(QVariant::fromValue(_fileWrapper), kFileWrapperKey);
    if (_cell)
        coder.encodeObject(QVariant::fromValue(_cell), kCellKey);
}

void NSTextAttachment::decodeWithCoder(NSKeyedUnarchiver &coder)
{
    if (const auto fileWrapper = coder.decode<NSFileWrapperPtr>(kFileWrapperKey))
        setFileWrapper(fileWrapper);
    if (const auto cell = coder.decode<NSTextAttachmentCellPtr>(kCellKey))
        setAttachmentCell(cell);
}
