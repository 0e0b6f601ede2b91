#include "plugins/styled-text/StyledTextPluginClass.h"

#include "plugins/common/PluginSettings.h"
#include "plugins/common/SharedFiles.h"
#include "plugins/styled-text/StyledTextPlugin.h"

using namespace Qt::StringLiterals;

bool StyledTextPluginClass::initializeClass(const QVariant & /*hostObject*/)
{
    return true;
}

QVariant StyledTextPluginClass::pluginsAvailable() const
{
    return QStringList{pluginName()};
}

QString StyledTextPluginClass::pluginName() const
{
    return u"Styled Text"_s;
}

QString StyledTextPluginClass::pluginAuthor() const
{
    return u"Corvale"_s;
}

QString StyledTextPluginClass::pluginDescription() const
{
    return u"A page of styled text with pictures, lists, tables and links."_s;
}

QVariant StyledTextPluginClass::extraFilesNeededInExportFolder(const QVariantMap & /*params*/)
{
    return sharedFiles(u":/styled-text/"_s, {u"styled-text.css"_s, u"movie.js"_s});
}

std::unique_ptr<QFAbstractPlugin> StyledTextPluginClass::newPlugin()
{
    auto plugin = std::make_unique<StyledTextPlugin>(*this);
    PluginSettings::takeDefaults(*plugin);
    return plugin;
}
