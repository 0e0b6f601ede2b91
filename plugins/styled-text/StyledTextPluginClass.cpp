#include "plugins/styled-text/StyledTextPluginClass.h"

#include "plugins/common/PluginSettings.h"
#include "plugins/styled-text/StyledTextPlugin.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace {

QVariantMap resource(const QString &name)
{
    QFile file(u":/styled-text/"_s + name);
    const bool isOpen = file.open(QIODevice::ReadOnly);
    Q_ASSERT(isOpen);
    return QFAbstractPlugin::contentOnlySubpageWithData(isOpen ? file.readAll() : QByteArray(), name);
}

} // namespace

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
    return QVariantList{resource(u"styled-text.css"_s), resource(u"movie.js"_s)};
}

std::unique_ptr<QFAbstractPlugin> StyledTextPluginClass::newPlugin()
{
    auto plugin = std::make_unique<StyledTextPlugin>(*this);
    PluginSettings::takeDefaults(*plugin);
    return plugin;
}
