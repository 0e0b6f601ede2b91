#include "plugin/QFExportParams.h"

#include "platform/Values.h"

namespace {

QString stringIn(const QVariantMap &params, QStringView key)
{
    return stringValue(params.value(key.toString()));
}

bool boolIn(const QVariantMap &params, QStringView key)
{
    return boolValue(params.value(key.toString()));
}

} // namespace

QString QFExportParams::exportMode() const
{
    return stringIn(_params, kQFExportModeKey);
}

bool QFExportParams::isPreviewExportMode() const
{
    return exportMode() == u"preview";
}

bool QFExportParams::isExportExportMode() const
{
    return exportMode() == u"export";
}

bool QFExportParams::isPublishExportMode() const
{
    return exportMode() == u"publish";
}

QString QFExportParams::exportFilename() const
{
    return stringIn(_params, kQFExportFilenameKey);
}

QString QFExportParams::exportFilenameExtension() const
{
    return stringIn(_params, kQFExportFilenameExtensionKey);
}

QString QFExportParams::exportPageTitle() const
{
    return stringIn(_params, kQFExportPageTitleKey);
}

QString QFExportParams::exportPagePath() const
{
    return stringIn(_params, kQFExportPagePathKey);
}

QString QFExportParams::exportPageLocation() const
{
    return stringIn(_params, kQFExportPageLocationKey);
}

QString QFExportParams::exportFilesFolderName() const
{
    return stringIn(_params, kQFExportFilesFolderNameKey);
}

QString QFExportParams::exportImagesFolderName() const
{
    return stringIn(_params, kQFExportImagesFolderNameKey);
}

QString QFExportParams::exportAssetsFolderName() const
{
    return stringIn(_params, kQFExportAssetsFolderNameKey);
}

QVariant QFExportParams::exportPageAttributes() const
{
    return _params.value(kQFExportPageAttributesKey.toString());
}

QString QFExportParams::exportSiteIndexFilename() const
{
    return stringIn(_params, kQFExportSiteIndexFilenameKey);
}

QString QFExportParams::exportPathToCommonThemeFiles() const
{
    return stringIn(_params, kQFExportPathToCommonThemeFilesKey);
}

QString QFExportParams::exportPathToCommonPluginFiles() const
{
    return stringIn(_params, kQFExportPathToCommonPluginFilesKey);
}

bool QFExportParams::exportCommonPathsAreRelatve() const
{
    return boolIn(_params, kQFExportCommonPathsAreRelativeKey);
}

bool QFExportParams::exportCommonPathsAreAbsolute() const
{
    return boolIn(_params, kQFExportCommonPathsAreAbsoluteKey);
}

QString QFExportParams::exportSiteBaseURL() const
{
    return stringIn(_params, kQFExportSiteBaseURLKey);
}

bool QFExportParams::contentOnlySubpagesEnabled() const
{
    return boolIn(_params, kQFExportContentOnlySubpagesKey);
}

bool QFExportParams::emitContentForSubpage() const
{
    return boolIn(_params, kQFExportSubpageKey);
}
