#pragma once

#include "platform/QFExport.h"

#include <QByteArray>

namespace QFDataCompress {

/// The bytes as a zlib stream (RFC 1950) at the default level. It must not be longer than the bytes: what
/// does not shrink so far, the empty buffer among it, is logged and answers nil. Nil for nil. Any thread.
[[nodiscard]] QF_EXPORT QByteArray compress(const QByteArray &bytes);

} // namespace QFDataCompress
