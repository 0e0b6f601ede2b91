#pragma once

#include "platform/NSAttributedString.h"

#include <QList>
#include <QStringView>

namespace NSStringOperations {

/// The styled pieces between occurrences of a separator (found unit by unit), in order and without the empty
/// ones: a plain split may count more. An empty separator gives the whole text as one piece. Linear.
[[nodiscard]] QF_EXPORT QList<NSAttributedString> componentsSeparatedByString(const NSAttributedString &text,
                                                                              const QString &separator);
/// Where those pieces lie.
[[nodiscard]] QF_EXPORT QList<NSRange> rangesSeparatedByString(QStringView text, QStringView separator);

/// The text with each paragraph one text list further out: the first of two or more lists goes, and of fewer
/// than two none stays. Runs without a paragraph style are left as they are.
[[nodiscard]] QF_EXPORT NSAttributedString
attributedStringWithoutOutermostTextList(const NSAttributedString &text);

} // namespace NSStringOperations
