#pragma once

#include "host/site/Site.h"
#include "host/site/SiteTheme.h"

#include <QMap>
#include <QString>

namespace CopiedFiles {

/// Files of theme and assets that are published as they are: absolute path by path inside the published site.
/// Hidden files, `theme.json`, the template and links that lead out of the folder are left out, the latter
/// with a record.
[[nodiscard]] QMap<QString, QString> ofSite(const Site &site, const SiteTheme &theme);

} // namespace CopiedFiles
