#pragma once

#include "text/QFStringEncodings.h"

#include <QByteArray>
#include <QStringView>

#include <optional>

/// The text in a character set as iconv knows it, with decimal references for what the set cannot hold.
/// ASCII, ISO Latin 1 and UTF-8 are decided unit by unit; Shift-JIS and Big5 by tables that are filled from
/// iconv once, at the first use of each. nullopt for other sets, and for one that iconv cannot open.
[[nodiscard]] std::optional<QByteArray> encodedWithReferences(QStringView text, CFStringEncoding encoding);
