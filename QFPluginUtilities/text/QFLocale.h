#pragma once

#include "platform/QFExport.h"

#include <QString>

/// The user's language.
namespace QFLocale {

/// The first of "AppleLanguages" in the global preferences, such as "de" or "pt-BR"; "en" when nothing is set
/// there. Read once: later changes are not seen before the next start. Any thread.
[[nodiscard]] QF_EXPORT QString currentLanguageCode();

} // namespace QFLocale
