#pragma once

#include "platform/QFExport.h"

#include <QByteArray>
#include <QString>

namespace CRC_Checksum {

/// The checksum known as CRC-32/BZIP2 over the text's UTF-8 bytes (polynomial 0x04C11DB7, most significant
/// bit first, not reflected, begun with and inverted by 0xFFFFFFFF; not the one of zlib): 4 bytes, the least
/// significant first. Nil for a nil text and one with lone surrogates. One pass, nothing whole in memory; any
/// thread.
[[nodiscard]] QF_EXPORT QByteArray crcChecksum(const QString &text);

} // namespace CRC_Checksum
