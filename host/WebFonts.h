#pragma once

#include "platform/NSFont.h"

#include <QString>
#include <QStringView>

/// Font families that every browser has, and their faces by PostScript name.
namespace WebFonts {

/// The family to use for a CSS list of families: the first one known here, by its own name. "monospace" is
/// Courier and "serif" Times New Roman. nil when none is known, so that the text keeps the font around it.
[[nodiscard]] QString familyForStack(QStringView families);

inline constexpr QStringView monospacedFamily = u"Courier";

/// The face of a family. Where exported pages know no slanted or bold face of a family by name, the nearest
/// face stands for it and only the traits say the rest. An empty family is the user's own font.
[[nodiscard]] NSFont font(const QString &family, float size, bool bold, bool italic);

} // namespace WebFonts
