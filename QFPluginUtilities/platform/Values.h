#pragma once

#include "platform/QFExport.h"

#include <QStringList>
#include <QVariant>

// Reading and comparing generic values by the platform's rules. QVariant's own rules are looser: it says that
// "1" == 1, rounds 3.9 to 4 and reads "NO" as true. All functions are pure and may be called on any thread.

/// True for an invalid variant, a null string, and a null object or shared pointer. An empty string is a
/// value.
QF_EXPORT bool isNil(const QVariant &value);

/// Equality of two strings, false when either is nil (QString itself says that null equals empty).
QF_EXPORT bool sameString(const QString &a, const QString &b);

/// Equality within one family: numbers (booleans included) by their exact value, strings, bytes, arrays and
/// dictionaries by content, objects by identity, other values by their own `operator==`. Values of different
/// families differ; two nils are the same; NaN is the same as NaN. Nesting beyond 256 levels compares as
/// different.
QF_EXPORT bool sameValue(const QVariant &a, const QVariant &b);

/// True when the value is a number or boolean, of whatever width.
QF_EXPORT bool isNumber(const QVariant &value);

/// Truth of a value: numbers are true unless zero; a string is true when, after blanks, a sign and zeros, it
/// goes on with one of "Y", "y", "T", "t" or 1 to 9; everything else, nil included, is false.
QF_EXPORT bool boolValue(const QVariant &value);

/// Integer reading, truncated toward zero and clamped to 64 bits; a string is read up to its first unit that
/// is no part of a decimal integer. 0 for NaN and for everything else.
QF_EXPORT qint64 intValue(const QVariant &value);

/// As a 64-bit float; 0 for what is neither number nor string of a number.
QF_EXPORT double doubleValue(const QVariant &value);

/// As a 32-bit float; 0 for what is neither number nor string of a number.
QF_EXPORT float floatValue(const QVariant &value);

/// The string that the value holds, or nil when it holds anything else (a URL or number is not converted).
QF_EXPORT QString stringValue(const QVariant &value);

/// The strings of an array, without what else it holds; empty when the value is no array.
QF_EXPORT QStringList stringsIn(const QVariant &value);

/// The object pointer that the value holds, or nullptr.
QF_EXPORT QObject *objectValue(const QVariant &value);
