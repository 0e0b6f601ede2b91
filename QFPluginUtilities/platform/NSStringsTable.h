#pragma once

#include "platform/QFExport.h"

#include <QByteArrayView>
#include <QHash>
#include <QString>

/// Reads a strings file: `"key" = "value";` records with C comments between them, as UTF-8 or, with a byte
/// order mark, UTF-16. Keys and values may stand without quotation marks when they are plain words; `"key";`
/// is its own value. Escapes: `\n`, `\r`, `\t`, `\0` to `\377`, `\U1234`, and any other character for itself.
/// The later of two records for a key wins. Reading ends at the first record that is none, with what stands
/// before it.
[[nodiscard]] QF_EXPORT QHash<QString, QString> parseStringsFile(QByteArrayView bytes);
