#pragma once

#include "host/site/PathClaims.h"

#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

/// A page of a site as `site.json` describes it, and where it lies.
struct SitePage
{
    QString id;
    QString title;
    QString plugin;   ///< identifier; nil for an external page
    QString external; ///< address outside the site; nil for a page of the site
    QVariantMap settings;
    QString settingsFrom; ///< ID of another page; nil for none
    QVariantMap themeOptions;
    QString style;          ///< nil: the theme's first
    QStringList variations; ///< names
    QString css;            ///< file whose text goes into the head, and so the next two; nil for none
    QString script;
    QString header;
    QString imageFormat;
    QString imageQuality;
    bool hidden = false;

    QString folder;    ///< inside the published site; empty for its root
    QString filename;  ///< without extension
    QString extension; ///< without the dot; may be empty

    qsizetype parent = -1; ///< index of a page that comes before
    QList<qsizetype> children;
    QString key;         ///< where it stands in site.json: "pages[1].children[0]"
    QJsonObject written; ///< as it stands there, without the children

    [[nodiscard]] bool isExternal() const { return !external.isNull(); }
    /// "index.html"
    [[nodiscard]] QString file() const;
    /// Path of the page's file inside the published site.
    [[nodiscard]] QString path() const;
    [[nodiscard]] QString filesFolderName() const { return filename + QStringLiteral("_files"); }
    /// Path of the files folder inside the published site.
    [[nodiscard]] QString filesFolder() const;
    /// Number of folders between the page's file and the root.
    [[nodiscard]] qsizetype depth() const { return folder.isEmpty() ? 0 : folder.count(u'/') + 1; }
};

/// A site: what `site.json` says, with everything that it left out filled in. docs/site.md describes it for
/// people.
struct Site
{
    QString folder; ///< absolute
    QString title;
    QString language;
    QString baseURL;
    QString theme;  ///< absolute path of the theme's folder
    QString assets; ///< absolute path of the folder of assets
    QString index;
    QString footer;
    bool normaliseImages = false;
    QList<SitePage> pages; ///< each before its children, in the order of the navigation
    QList<qsizetype> topPages;
    QHash<QString, qsizetype> indexOfID;
    qsizetype leftOut = 0; ///< pages that cannot be built
    PathClaims claims;     ///< the places of the pages

    [[nodiscard]] QString file() const { return folder + QStringLiteral("/site.json"); }
    [[nodiscard]] const SitePage *pageNamed(const QString &id) const;
    /// The page that lies at the root under the index file's name, or else the first one at the root; nullptr
    /// when there is none.
    [[nodiscard]] const SitePage *home() const;
};

/// Folders of the published site that belong to no page.
inline const QString kPublishedTheme = QStringLiteral("theme");
inline const QString kPublishedAssets = QStringLiteral("assets");
inline const QString kPublishedPlugins = QStringLiteral("plugins");
/// What the builder keeps for itself.
inline const QString kBuilderFolder = QStringLiteral(".qf");

/// `folder/name`, or `name` in the root.
[[nodiscard]] QString joinedPath(const QString &folder, const QString &name);

/// Address of the file at `to` as seen from a file in the folder `from`; both are paths inside the published
/// site.
[[nodiscard]] QString relativeAddress(const QString &from, const QString &to);
