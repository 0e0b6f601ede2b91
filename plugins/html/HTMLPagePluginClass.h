#pragma once

#include "plugin/QFPluginClass.h"

/// Pages that are written in HTML.
class HTMLPagePluginClass final : public QFPluginClass
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QFPluginClass_iid FILE "QFPagePlugin.json")

public:
    bool initializeClass(const QVariant &hostObject) override;
    [[nodiscard]] QVariant pluginsAvailable() const override;
    [[nodiscard]] QString pluginName() const override;
    [[nodiscard]] QString pluginAuthor() const override;
    [[nodiscard]] QString pluginDescription() const override;
    [[nodiscard]] std::unique_ptr<QFAbstractPlugin> newPlugin() override;
};
