#pragma once

#include "platform/QFExport.h"

#include <QString>
#include <QVariant>
#include <QVariantMap>

// Keys of the export parameters: the dictionary with which the host asks a plug-in for a page.

inline constexpr QStringView kQFExportModeKey = u"mode"; ///< "preview", "export" or "publish"
inline constexpr QStringView kQFExportFilenameKey = u"name";
inline constexpr QStringView kQFExportFilenameExtensionKey = u"FilenameExt"; ///< the capitals are meant
inline constexpr QStringView kQFExportPageTitleKey = u"title";
inline constexpr QStringView kQFExportPagePathKey = u"path";
inline constexpr QStringView kQFExportPageLocationKey = u"location";
inline constexpr QStringView kQFExportFilesFolderNameKey = u"filesfoldername";
inline constexpr QStringView kQFExportImagesFolderNameKey = u"imagesfoldername";
inline constexpr QStringView kQFExportAssetsFolderNameKey = u"assetsfoldername";
inline constexpr QStringView kQFExportPageAttributesKey = u"attributes";
inline constexpr QStringView kQFExportSiteIndexFilenameKey = u"index";
inline constexpr QStringView kQFExportPathToCommonThemeFilesKey = u"themecommonpath";
inline constexpr QStringView kQFExportPathToCommonPluginFilesKey = u"plugincommonpath";
inline constexpr QStringView kQFExportCommonPathsAreRelativeKey = u"commonpathsrelative";
inline constexpr QStringView kQFExportCommonPathsAreAbsoluteKey = u"commonpathsabsolute";
inline constexpr QStringView kQFExportSiteBaseURLKey = u"base";
inline constexpr QStringView kQFExportContentOnlySubpagesKey = u"contentonlysubpages";
inline constexpr QStringView kQFExportSubpageKey = u"subpage";

// Read when a page template is filled; they have no accessor.

inline constexpr QStringView kQFExportThemeKey = u"theme"; ///< object that answers `colourTagFiles`
inline constexpr QStringView kQFExportStyleVariationModeKey = u"stylevariationmode";
inline constexpr QStringView kQFExportStyleNameKey = u"stylename";
inline constexpr QStringView kQFExportVariationsKey = u"variations"; ///< list of {"Type", "Files"}
inline constexpr QStringView kQFExportCustomCSSKey = u"customcss";
inline constexpr QStringView kQFExportCustomJavaScriptKey = u"customjavascript";
inline constexpr QStringView kQFExportCustomHeaderKey = u"customheader";

/// The export parameters by name. Pure look-ups in a dictionary that must outlive the view: a string is nil
/// where it is absent or no string; booleans are read by `boolValue`, so "1" is true, and absent is false.
/// Any thread.
class QF_EXPORT QFExportParams
{
public:
    explicit QFExportParams(const QVariantMap &params) : _params(params) {}
    explicit QFExportParams(QVariantMap &&params) = delete;

    [[nodiscard]] QString exportMode() const;
    [[nodiscard]] bool isPreviewExportMode() const;
    [[nodiscard]] bool isExportExportMode() const;
    [[nodiscard]] bool isPublishExportMode() const;

    /// Name of the page's file.
    [[nodiscard]] QString exportFilename() const;
    [[nodiscard]] QString exportFilenameExtension() const;
    [[nodiscard]] QString exportPageTitle() const;
    /// The page's path within the site.
    [[nodiscard]] QString exportPagePath() const;
    /// The folder that the page is being written to.
    [[nodiscard]] QString exportPageLocation() const;
    [[nodiscard]] QString exportFilesFolderName() const;
    [[nodiscard]] QString exportImagesFolderName() const;
    [[nodiscard]] QString exportAssetsFolderName() const;
    /// The host's object or dictionary with the page's attributes.
    [[nodiscard]] QVariant exportPageAttributes() const;
    [[nodiscard]] QString exportSiteIndexFilename() const;
    [[nodiscard]] QString exportPathToCommonThemeFiles() const;
    [[nodiscard]] QString exportPathToCommonPluginFiles() const;
    /// The missing "i" is part of the name.
    [[nodiscard]] bool exportCommonPathsAreRelatve() const;
    [[nodiscard]] bool exportCommonPathsAreAbsolute() const;
    [[nodiscard]] QString exportSiteBaseURL() const;
    /// Whether the theme allows subpages that are given by their content only.
    [[nodiscard]] bool contentOnlySubpagesEnabled() const;
    /// Whether what is asked for is the content of a subpage.
    [[nodiscard]] bool emitContentForSubpage() const;

private:
    const QVariantMap &_params;
};
