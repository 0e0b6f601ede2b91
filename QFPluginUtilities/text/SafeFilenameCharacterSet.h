#pragma once

#include "platform/QFExport.h"

#include <QStringView>

/// The characters of file names that every server and browser takes as they are.
inline constexpr QStringView safeFilenameCharacterSet =
    u"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ1234567890-_.";

/// Whether the unit is one of them. No blank, nothing beyond ASCII, whatever the locale.
[[nodiscard]] QF_EXPORT bool isSafeInFilenames(char16_t unit);
