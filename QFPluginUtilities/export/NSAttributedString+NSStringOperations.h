#pragma once

#include "platform/NSAttributedString.h"

#include <QHash>
#include <QList>
#include <QStringView>

namespace NSStringOperations {

/// The styled pieces between occurrences of a separator (found unit by unit), in order and without the empty
/// ones: a plain split may count more. An empty separator gives the whole text as one piece. Linear.
[[nodiscard]] QF_EXPORT QList<NSAttributedString> componentsSeparatedByString(const NSAttributedString &text,
                                                                              const QString &separator);
/// Where those pieces lie.
[[nodiscard]] QF_EXPORT QList<NSRange> rangesSeparatedByString(QStringView text, QStringView separator);

/// How many of its text lists, outermost first, a paragraph keeps losing.
enum class RemovedTextLists { Outermost, All };

/// Attribute dictionaries and what became of them, so that texts which share dictionaries go on sharing them.
using AmendedDictionaries = QHash<const void *, std::pair<NSAttributeDictionary, NSAttributeDictionary>>;

/// The text with each paragraph one text list further out: the first of two or more lists goes, and of fewer
/// than two none stays. Runs without a paragraph style are left as they are.
[[nodiscard]] QF_EXPORT NSAttributedString
attributedStringWithoutOutermostTextList(const NSAttributedString &text);
/// The same with a memory that several calls share.
[[nodiscard]] QF_EXPORT NSAttributedString attributedStringWithoutTextLists(const NSAttributedString &text,
                                                                            RemovedTextLists removed,
                                                                            AmendedDictionaries &amended);

} // namespace NSStringOperations
