#pragma once

#include "platform/QFExport.h"
#include "text/QFStringEncodings.h"

#include <QByteArray>
#include <QString>

#include <optional>

/// Makes text safe for pages and scripts. All functions work on UTF-16 units, leave their input alone and may
/// be called on any thread; where nothing changes they answer the text itself, at the cost of one scan.
namespace QFStringUtilities {

/// `<`, `>`, `&`, `'` and `"` as `&lt;`, `&gt;`, `&amp;`, `&apos;` and `&quot;`. Nothing counts as escaped
/// already: a second pass makes `&amp;lt;` of `&lt;`.
[[nodiscard]] QF_EXPORT QString stringEscapedForXMLElementText(const QString &text);
/// The same five replacements, the apostrophe's `&apos;` included.
[[nodiscard]] QF_EXPORT QString stringEscapedForHTMLElementText(const QString &text);
/// The same five replacements; for values between quotation marks of either kind.
[[nodiscard]] QF_EXPORT QString stringEscapedForHTMLAttribute(const QString &text);

/// A backslash before each backslash and apostrophe. Every apostrophe counts, one that is followed by a
/// combining mark too: no text can break out of the literal.
[[nodiscard]] QF_EXPORT QString stringEscapedForInclusionInSingleQuotedPHPString(const QString &text);

/// False for ASCII letters and digits, the blank and `@:/-_?.=;+()#`.
[[nodiscard]] QF_EXPORT bool needsConversion(char16_t unit);
/// Units that need it, or with `all` every unit, as `&#x20ac;`: lower case, without leading zeros. Each half
/// of a surrogate pair becomes a reference of its own.
[[nodiscard]] QF_EXPORT QString convertToNumericalReferences(const QString &text, bool all);
/// Named references, with tags, ampersands and quotation marks kept: see `QFCharacterConverter`.
[[nodiscard]] QF_EXPORT QString convertToEntities(const QString &text);

/// The text in a character set, with `&#8364;` for each unit that it cannot hold; halves of surrogate pairs
/// are always such units, in UTF-8 too. Sets are ASCII, ISO Latin 1, UTF-8, Shift-JIS and Big5; nil for all
/// others. An empty text gives empty bytes, not nil.
[[nodiscard]] QF_EXPORT std::optional<QByteArray>
dataUsingHTMLEscapesWithCFStringEncoding(const QString &text, CFStringEncoding encoding);
[[nodiscard]] QF_EXPORT std::optional<QByteArray>
dataUsingHTMLEscapesWithNSStringEncoding(const QString &text, NSStringEncoding encoding);

/// Replaces in place, from left to right, and answers how often. Canonically equivalent spellings are the
/// same: a composed é is found as e with a combining acute, and a plain e is not found at its beginning. An
/// empty target is found nowhere; replacements are not searched again.
QF_EXPORT qsizetype replaceOccurrencesOfString(QString &text, const QString &target,
                                               const QString &withString);

/// Whether the last component of a path has only ASCII letters, digits, blanks, ".", "-" and "_". A blank is
/// fine here though `stringEscapedForFilename` replaces it, and so are an empty name, "." and "..": whoever
/// joins such a name to a folder looks for these himself. False for "/".
[[nodiscard]] QF_EXPORT bool validWebFilename(const QString &path);
/// A safe name of any text: blanks become "-", other units outside `safeFilenameCharacterSet` four
/// hexadecimal digits (slashes too), and all is lower case. "Café Menu" is "caf00e9-menu". "." and ".." stay.
[[nodiscard]] QF_EXPORT QString stringEscapedForFilename(const QString &text);
/// One slash for every run of slashes, at the beginning and behind "http:" too.
[[nodiscard]] QF_EXPORT QString stripRepeatedPathSeparators(const QString &path);
/// In place, unless there is one at the end. An empty text becomes "/".
QF_EXPORT void appendForwardSlash(QString &path);

/// A summary of the text; nil, as the system has no service for this. `sentences`, the number wanted (nullptr
/// for ten), is left alone.
[[nodiscard]] QF_EXPORT QString summarizeToSentences(const QString &text, quint64 *sentences = nullptr);

} // namespace QFStringUtilities
