#pragma once

#include "platform/NSColor.h"
#include "platform/QFExport.h"

#include <QString>

/// Colours as pages write them. Components are multiplied by 255 in 32-bit floats, truncated toward zero and
/// clamped to 0..255; NaN counts as 0. Alpha is not looked at.
namespace QFColourUtilities {

/// "#1a2b3c", wholly in upper case when the preference "uppercaseColorCodes" is set, which each call reads.
[[nodiscard]] QF_EXPORT QString webColourString(const NSColor &color);

/// "1A2B3C": upper case whatever the preference, without a number sign, as table attributes write it.
[[nodiscard]] QF_EXPORT QString tableColourString(const NSColor &color);

} // namespace QFColourUtilities
