#include "plugins/photo-album/PhotoAlbumPluginClass.h"

#include "plugins/common/PluginSettings.h"
#include "plugins/common/SharedFiles.h"
#include "plugins/photo-album/PhotoAlbumPlugin.h"

using namespace Qt::StringLiterals;

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
    return sharedFiles(u":/photo-album/"_s, {u"album.css"_s, u"album.js"_s});
}

std::unique_ptr<QFAbstractPlugin> PhotoAlbumPluginClass::newPlugin()
{
    auto plugin = std::make_unique<PhotoAlbumPlugin>(*this);
    PluginSettings::takeDefaults(*plugin);
    return plugin;
}
