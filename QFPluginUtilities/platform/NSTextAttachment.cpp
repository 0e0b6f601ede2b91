#include "platform/NSTextAttachment.h"

#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"

using namespace Qt::StringLiterals;

namespace {

constexpr QStringView kFileWrapperKey = u"NSFileWrapper";

} // namespace

NSTextAttachment::~NSTextAttachment() = default;

QString NSTextAttachment::className() const
{
    return u"NSTextAttachment"_s;
}

void NSTextAttachment::encodeWithCoder(NSKeyedArchiver &coder) const
{
    coder.encodeObject(QVariant::fromValue(_fileWrapper), kFileWrapperKey);
}

void NSTextAttachment::decodeWithCoder(NSKeyedUnarchiver &coder)
{
    if (const auto fileWrapper = coder.decode<NSFileWrapperPtr>(kFileWrapperKey))
        setFileWrapper(fileWrapper);
}
