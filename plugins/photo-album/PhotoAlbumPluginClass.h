#pragma once

#include "plugin/QFPluginClass.h"

/// Albums of photographs.
class PhotoAlbumPluginClass final : public QFPluginClass
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QFPluginClass_iid FILE "QFPagePlugin.json")

public:
    bool initializeClass(const QVariant &hostObject) override;
    [[nodiscard]] QVariant pluginsAvailable() const override;
    [[nodiscard]] QString pluginName() const override;
    [[nodiscard]] QString pluginAuthor() const override;
    [[nodiscard]] QString pluginDescription() const override;
    /// The style sheet of albums, and the script that turns their pages by keys.
    [[nodiscard]] QVariant extraFilesNeededInExportFolder(const QVariantMap &params) override;
    /// They are in the module itself.
    [[nodiscard]] Q_INVOKABLE QStringList filesReadForExport() const { return {}; }
    [[nodiscard]] std::unique_ptr<QFAbstractPlugin> newPlugin() override;
};
