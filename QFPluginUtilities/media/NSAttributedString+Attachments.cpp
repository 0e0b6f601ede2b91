#include "media/NSAttributedString+Attachments.h"

#include <algorithm>
#include <typeinfo>

namespace {

bool isExactlyOurs(const NSTextAttachment &attachment)
{
    return typeid(attachment) == typeid(QFTextAttachment);
}

} // namespace

QList<QFTextAttachmentPtr> Attachments::attachmentsForRange(const NSAttributedString &text, NSRange range)
{
    range = range.clippedTo(text.length());
    QList<QFTextAttachmentPtr> found;
    NSRange step;
    for (qsizetype at = range.location; at < range.end(); at = step.end()) {
        const QVariant value = text.attribute(NSAttachmentAttributeName, at, &step, range);
        if (step.isEmpty())
            break;
        if (value.metaType() != QMetaType::fromType<NSTextAttachmentPtr>())
            continue;
        const auto attachment = value.value<NSTextAttachmentPtr>();
        if (attachment && isExactlyOurs(*attachment))
            found.append(std::static_pointer_cast<QFTextAttachment>(attachment));
    }
    return found;
}

QList<QFTextAttachmentPtr> Attachments::attachments(const NSAttributedString &text)
{
    return attachmentsForRange(text, {0, text.length()});
}

qsizetype Attachments::normaliseImageAttachments(const NSAttributedString &text)
{
    const QList<QFTextAttachmentPtr> found = attachments(text);
    return std::count_if(found.begin(), found.end(),
                         [](const QFTextAttachmentPtr &attachment) { return attachment->normalise(); });
}
