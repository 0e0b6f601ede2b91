#pragma once

#include "platform/QFExport.h"

#include <QString>
#include <QVariantMap>

/// Replaces many substrings in one pass. What is found and what is not, follows from
/// `Sigil::StringReplaceHF`.
namespace HorspoolPang {

/// `substrings`: keys to the strings that replace them. The text is changed in place; it is left alone,
/// without a copy, when nothing is found, and also where there is not enough memory, which is logged. Any
/// thread.
QF_EXPORT void replaceSubstrings(QString &text, const QVariantMap &substrings);
/// With `recursively`, inserted values are searched too.
QF_EXPORT void replaceSubstrings(QString &text, const QVariantMap &substrings, bool recursively);

} // namespace HorspoolPang
