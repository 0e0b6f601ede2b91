#pragma once

#include "host/plugins/PluginModules.h"

/// What a file in a folder of plug-ins says of itself, read without loading it.
struct PluginMetadata
{
    PluginModuleInfo info;
    QString refusal; ///< sentence that says why the file cannot be used; nil when it can, as far as is known

    /// Any file or folder may be given. Only regular files are opened.
    [[nodiscard]] static PluginMetadata read(const QString &file);
};
