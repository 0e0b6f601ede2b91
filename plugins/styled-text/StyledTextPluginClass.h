#pragma once

#include "plugins/common/SamplePageClass.h"
#include "plugins/common/SharedFiles.h"
#include "plugins/styled-text/StyledTextPlugin.h"

/// Pages of styled text.
class StyledTextPluginClass final : public SamplePageClass<StyledTextPlugin>
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QFPluginClass_iid FILE "QFPagePlugin.json")

public:
    StyledTextPluginClass()
        : SamplePageClass(QStringLiteral("Styled Text"),
                          QStringLiteral("A page of styled text with pictures, lists, tables and links."))
    {
    }

    /// The style sheet of lists and tables and the script of movies.
    [[nodiscard]] QVariant extraFilesNeededInExportFolder(const QVariantMap & /*params*/) override
    {
        return sharedFiles(QStringLiteral(":/styled-text/"),
                           {QStringLiteral("styled-text.css"), QStringLiteral("movie.js")});
    }
    /// They are in the module itself.
    [[nodiscard]] Q_INVOKABLE QStringList filesReadForExport() const { return {}; }
};
