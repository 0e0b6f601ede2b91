#pragma once

#include "plugin/QFPluginClass.h"
#include "plugins/common/PluginSettings.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <utility>

/// What the kinds of pages that come with the system have in common: each makes one kind of `Plugin`.
template <typename Plugin>
class SamplePageClass : public QFPluginClass
{
public:
    SamplePageClass(QString name, QString description)
        : _name(std::move(name)), _description(std::move(description))
    {
    }

    bool initializeClass(const QVariant & /*hostObject*/) override { return true; }
    [[nodiscard]] QVariant pluginsAvailable() const override { return QStringList{_name}; }
    [[nodiscard]] QString pluginName() const override { return _name; }
    [[nodiscard]] QString pluginAuthor() const override { return QStringLiteral("Corvale"); }
    [[nodiscard]] QString pluginDescription() const override { return _description; }
    [[nodiscard]] std::unique_ptr<QFAbstractPlugin> newPlugin() override
    {
        auto plugin = std::make_unique<Plugin>(*this);
        PluginSettings::takeDefaults(*plugin);
        return plugin;
    }

private:
    const QString _name;
    const QString _description;
};
