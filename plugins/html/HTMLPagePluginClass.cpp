#include "plugins/html/HTMLPagePluginClass.h"

#include "plugins/common/PluginSettings.h"
#include "plugins/html/HTMLPagePlugin.h"

using namespace Qt::StringLiterals;

bool HTMLPagePluginClass::initializeClass(const QVariant & /*hostObject*/)
{
    return true;
}

QVariant HTMLPagePluginClass::pluginsAvailable() const
{
    return QStringList{pluginName()};
}

QString HTMLPagePluginClass::pluginName() const
{
    return u"HTML Page"_s;
}

QString HTMLPagePluginClass::pluginAuthor() const
{
    return u"Corvale"_s;
}

QString HTMLPagePluginClass::pluginDescription() const
{
    return u"A page that is written in HTML."_s;
}

std::unique_ptr<QFAbstractPlugin> HTMLPagePluginClass::newPlugin()
{
    auto plugin = std::make_unique<HTMLPagePlugin>(*this);
    PluginSettings::takeDefaults(*plugin);
    return plugin;
}
