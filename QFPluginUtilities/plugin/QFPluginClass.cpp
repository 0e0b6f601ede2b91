#include "plugin/QFPluginClass.h"

#include "plugin/QFAbstractPlugin.h"

struct QFPluginClass::Private
{
};

QFPluginClass::QFPluginClass(QObject *parent) : QObject(parent) {}

QFPluginClass::~QFPluginClass() = default;

bool QFPluginClass::initializeClass(const QVariant & /*hostObject*/)
{
    return false;
}

QVariant QFPluginClass::pluginsAvailable() const
{
    return {};
}

QString QFPluginClass::pluginName() const
{
    return {};
}

QString QFPluginClass::pluginAuthor() const
{
    return {};
}

QVariant QFPluginClass::pluginIcon() const
{
    return {};
}

QString QFPluginClass::pluginDescription() const
{
    return {};
}

bool QFPluginClass::hasHTMLDescription() const
{
    return false;
}

QVariant QFPluginClass::extraFilesNeededInExportFolder(const QVariantMap & /*params*/)
{
    return {};
}

std::unique_ptr<QFAbstractPlugin> QFPluginClass::newPlugin()
{
    return nullptr;
}

std::unique_ptr<QFAbstractPlugin> QFPluginClass::newPluginWithCoder(NSKeyedUnarchiver & /*coder*/)
{
    return nullptr;
}
