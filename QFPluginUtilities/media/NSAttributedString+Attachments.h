#pragma once

#include "media/QFTextAttachment.h"
#include "platform/NSAttributedString.h"

#include <QList>

/// The embedded pictures and files of a styled text.
namespace Attachments {

/// In text order, each attachment in the range whose class is exactly QFTextAttachment. One that stands at
/// several places is answered once for each stretch of text that carries it. The range is clipped to the
/// text; linear in its runs.
[[nodiscard]] QF_EXPORT QList<QFTextAttachmentPtr> attachmentsForRange(const NSAttributedString &text,
                                                                       NSRange range);
/// The same over the whole text.
[[nodiscard]] QF_EXPORT QList<QFTextAttachmentPtr> attachments(const NSAttributedString &text);

/// Normalises the text's attachments (see QFTextAttachment::normalise); how many files were replaced.
QF_EXPORT qsizetype normaliseImageAttachments(const NSAttributedString &text);

} // namespace Attachments
