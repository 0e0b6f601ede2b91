#pragma once

#include "platform/QFExport.h"

#include <QString>
#include <QStringView>

#include <map>
#include <string>

class QFUnitEncoder;

/// Turns UTF-16 units into the named references of HTML, from the library's resource "HTMLEncodings.strings".
/// Works unit by unit: the halves of a surrogate pair are looked up each on its own. Any thread.
class QF_EXPORT QFCharacterConverter
{
public:
    QFCharacterConverter() = delete;

    /// Names without "&" and ";", by code point. Filled from the resource at first use and then kept for the
    /// life of the process; while it has no entry (no resource), every call tries again.
    [[nodiscard]] static const std::map<unsigned, std::string> &mappingTable();

    /// The text with a reference for each unit that the table lists. With `skipTags` the units `<`, `>`, `&`
    /// and `"` stay, so that markup survives; an apostrophe that is listed does not. A text without any such
    /// unit is returned as it is, at the cost of one scan.
    [[nodiscard]] static QString encodeUnicodeForHTML(const QString &text, bool skipTags);

    /// Appends what `encodeUnicodeForHTML` answers. `text` must not lie in `output`.
    static void appendEncoded(QString &output, QStringView text, bool skipTags);

    /// What appends text with tags skipped and line breaks as `<br />` elements.
    [[nodiscard]] static const QFUnitEncoder &lineBreakingEncoder();
};
