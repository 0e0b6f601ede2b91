#include "plugins/photo-album/PhotoAlbumPluginClass.h"

#include "plugins/common/PluginSettings.h"
#include "plugins/photo-album/PhotoAlbumPlugin.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace {

QVariantMap resource(const QString &name)
{
    QFile file(u":/photo-album/"_s + name);
    const bool isOpen = file.open(QIODevice::ReadOnly);
    Q_ASSERT(isOpen);
    return QFAbstractPlugin::contentOnlySubpageWithData(isOpen ? file.readAll() : QByteArray(), name);
}

} // namespace

bool PhotoAlbumPluginClass::initializeClass(const QVariant & /*hostObject*/)
{
    return true;
}

QVariant PhotoAlbumPluginClass::pluginsAvailable() const
{
    return QStringList{pluginName()};
}

QString PhotoAlbumPluginClass::pluginName() const
{
    return u"Photo Album"_s;
}

QString PhotoAlbumPluginClass::pluginAuthor() const
{
    return u"Corvale"_s;
}

QString PhotoAlbumPluginClass::pluginDescription() const
{
    return u"Photographs as small pictures, and each on a page of its own."_s;
}

QVariant PhotoAlbumPluginClass::extraFilesNeededInExportFolder(const QVariantMap & /*params*/)
{
    return QVariantList{resource(u"album.css"_s), resource(u"album.js"_s)};
}

std::unique_ptr<QFAbstractPlugin> PhotoAlbumPluginClass::newPlugin()
{
    auto plugin = std::make_unique<PhotoAlbumPlugin>(*this);
    PluginSettings::takeDefaults(*plugin);
    return plugin;
}
