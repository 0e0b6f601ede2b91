#pragma once

#include "platform/QFExport.h"

#include <QByteArray>
#include <QString>

namespace MD5_Checksum {

/// The digest of RFC 1321 over the text's UTF-8 bytes: 16 bytes, not hexadecimal. Nil for a nil text and one
/// with lone surrogates. One pass, nothing whole in memory; any thread.
[[nodiscard]] QF_EXPORT QByteArray md5Checksum(const QString &text);

} // namespace MD5_Checksum
