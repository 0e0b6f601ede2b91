#pragma once

#include "platform/NSAttributedString.h"
#include "platform/QFExport.h"

#include <QByteArray>

#include <optional>

/// Styled text as the editor stores it: for undo, on the pasteboard and in documents.
namespace QFTextViewExtensions {

/// The keyed archive of the text in the range, with its attributes and attachments; nil when the range,
/// clipped to the text, is empty. Links, attachments, tables and cells that are shared stay shared.
[[nodiscard]] QF_EXPORT QByteArray createArchiveFromSelection(const NSAttributedString &text, NSRange range);

/// The styled text that an archive holds. For anything else none, with a line in the log that names the class
/// of what was there instead. Safe for any bytes whatever.
[[nodiscard]] QF_EXPORT std::optional<NSAttributedString> createStringFromArchive(const QByteArray &data);

} // namespace QFTextViewExtensions
