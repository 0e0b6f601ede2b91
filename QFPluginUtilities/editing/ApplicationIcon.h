#pragma once

#include "editing/InstalledApplications.h"

#include <QImage>

/// The program's icon for menus, `points` wide and high, at the screen's resolution; null for none, and in
/// processes without a screen to draw for. Looked for in the user's icon theme, then in "hicolor", where
/// programs put their icons and which not every platform knows. Only on the main thread.
[[nodiscard]] QImage applicationIcon(const InstalledApplication &application, int points);
