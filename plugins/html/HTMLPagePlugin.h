#pragma once

#include "plugin/QFAbstractPlugin.h"

class QFPluginClass;

/// A page that is written in HTML: a fragment, or the body of a whole document, whose head's styles and
/// scripts come along. Addresses such as "page:ID" and "asset:NAME" lead to pages and files of the site.
class HTMLPagePlugin final : public QFAbstractPlugin
{
    Q_OBJECT
    /// Paths inside the site's folder, of files in UTF-8 (or with a byte order mark).
    Q_PROPERTY(QString source MEMBER _source)
    Q_PROPERTY(QString sidebar MEMBER _sidebar)
    /// What comes before everything else in the page's file.
    Q_PROPERTY(QString contentPrefix MEMBER _contentPrefix)

public:
    explicit HTMLPagePlugin(QFPluginClass &kind);

    [[nodiscard]] QFPluginClass *pluginClass() const override;

    [[nodiscard]] QVariant contentHTML(const QVariantMap &params) override;
    [[nodiscard]] QVariant sidebarHTML(const QVariantMap &params) override;
    /// Styles, links and scripts from the head of the document. Asked for after the content.
    [[nodiscard]] QVariant pageContentHeaders(const QVariantMap &params) override;
    [[nodiscard]] Q_INVOKABLE QVariant pageContentPrefix(const QVariantMap &params);

    [[nodiscard]] bool providesPluginSettings() override { return true; }
    [[nodiscard]] Q_INVOKABLE QVariantMap populatePluginSettings() const;
    [[nodiscard]] Q_INVOKABLE QStringList filesReadForExport() const;

private:
    [[nodiscard]] QString readText(const QString &name) const;
    [[nodiscard]] QString withLinks(const QString &HTML, const QVariantMap &params) const;
    /// Address of what "page:ID/SUBPAGE#ANCHOR" or "asset:NAME" stands for; nil for all other addresses.
    [[nodiscard]] QString address(const QString &link, const QVariantMap &params) const;
    /// nil where there is no such page, subpage or asset.
    [[nodiscard]] QString pageAddress(const QString &target) const;
    [[nodiscard]] QString subpageAddress(const QString &page, const QString &pageID,
                                         const QString &subpageID) const;
    [[nodiscard]] QString assetAddress(const QString &name, const QVariantMap &params) const;

    QFPluginClass &_kind;
    QString _source;
    QString _sidebar;
    QString _contentPrefix;
    QString _headers; ///< of the content made last
};
