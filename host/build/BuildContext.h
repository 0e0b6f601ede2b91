#pragma once

#include "host/build/ExportParameters.h"
#include "host/build/PageTemplate.h"
#include "host/site/Site.h"
#include "host/site/SiteTheme.h"

class PluginModules;

/// What the makers of a site's pages share, and none of them changes.
struct BuildContext
{
    const Site &site;
    const SiteTheme &theme;
    const ExportParameters &parameters;
    const PageTemplate &pageTemplate;
    PluginModules &modules;
    QString output; ///< absolute path of the published site
};
