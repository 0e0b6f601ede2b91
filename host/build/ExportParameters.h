#pragma once

#include "host/site/Site.h"
#include "host/site/SiteTheme.h"

#include <QString>
#include <QVariantMap>

enum class BuildMode : quint8 { Export, Publish, Preview };

/// The dictionaries with which plug-ins are asked for pages.
class ExportParameters
{
public:
    ExportParameters(const Site &site, const SiteTheme &theme, BuildMode mode)
        : _site(site), _theme(theme), _mode(mode)
    {
    }

    /// All parameters but those of the template, for a page that is written into the folder `location`.
    [[nodiscard]] QVariantMap ofPage(const SitePage &page, const QVariantMap &attributes,
                                     const QString &location) const;
    /// What filling the template of the page needs in addition: style, variations and the page's own text for
    /// the head. `themeObject` answers the theme's colour-tag files, `plainTheme` none. For a subpage `depth`
    /// is one more than for its page.
    ///
    /// Plug-ins link colour-tag files and variations one folder up, whatever the depth. That is right for
    /// absolute addresses and for pages one folder deep; for others the links stand in the page's own header
    /// text.
    void addTemplateParameters(QVariantMap &params, const SitePage &page, qint64 depth, QObject *themeObject,
                               QObject *plainTheme) const;

    /// Name of the style of the page; empty where the theme has none.
    [[nodiscard]] QString styleOf(const SitePage &page) const;
    /// Path of the site's root on its server: "/", or with folders between slashes.
    [[nodiscard]] QString rootPath() const;
    /// Whether theme files have absolute addresses.
    [[nodiscard]] bool isAbsolute() const { return _mode != BuildMode::Export; }
    [[nodiscard]] QString modeName() const;

private:
    void reportMissing(const SitePage &page, const QStringList &variations) const;
    [[nodiscard]] QString themeLinks(const SitePage &page, const QVariantList &variations,
                                     qint64 depth) const;

    const Site &_site;
    const SiteTheme &_theme;
    const BuildMode _mode;
};
