#pragma once

#include "platform/NSAttributedString.h"
#include "platform/NSParagraphStyle.h"

#include <optional>

namespace ParagraphStyle {

/// The paragraph style at the text's first unit; nothing when there is none or the text is empty.
[[nodiscard]] QF_EXPORT std::optional<NSParagraphStyle> paragraphStyle(const NSAttributedString &text);
/// Whether that style stands in more than one text list.
[[nodiscard]] QF_EXPORT bool hasInnerList(const NSAttributedString &text);

} // namespace ParagraphStyle
