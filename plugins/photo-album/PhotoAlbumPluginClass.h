#pragma once

#include "plugins/common/SamplePageClass.h"
#include "plugins/common/SharedFiles.h"
#include "plugins/photo-album/PhotoAlbumPlugin.h"

/// Albums of photographs.
class PhotoAlbumPluginClass final : public SamplePageClass<PhotoAlbumPlugin>
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QFPluginClass_iid FILE "QFPagePlugin.json")

public:
    PhotoAlbumPluginClass()
        : SamplePageClass(QStringLiteral("Photo Album"),
                          QStringLiteral("Photographs as small pictures, and each on a page of its own."))
    {
    }

    /// The style sheet and the script of all albums.
    [[nodiscard]] QVariant extraFilesNeededInExportFolder(const QVariantMap & /*params*/) override
    {
        return sharedFiles(QStringLiteral(":/photo-album/"),
                           {QStringLiteral("album.css"), QStringLiteral("album.js")});
    }
    /// They are in the module itself.
    [[nodiscard]] Q_INVOKABLE QStringList filesReadForExport() const { return {}; }
};
