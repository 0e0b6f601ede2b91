#include "platform/NSTextAttachment.h"

using namespace Qt::StringLiterals;

NSTextAttachment::~NSTextAttachment() = default;

QString NSTextAttachment::className() const
{
    return u"NSTextAttachment"_s;
}
