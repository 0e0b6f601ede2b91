#pragma once

#include "platform/NSAttributedString.h"
#include "plugin/QFAbstractPlugin.h"

#include <optional>

class QFPluginClass;

/// A page that is one styled text, with another one for the sidebar if there is one. The host reads the
/// documents; where it does not know how to, archives of styled text are read here.
class StyledTextPlugin final : public QFAbstractPlugin
{
    Q_OBJECT
    /// Paths inside the site's folder.
    Q_PROPERTY(QString source MEMBER _source)
    Q_PROPERTY(QString sidebar MEMBER _sidebar)
    /// What names of pictures start with: letters, digits, "-" and "_".
    Q_PROPERTY(QString imagePrefix READ imagePrefix WRITE setImagePrefix)
    Q_PROPERTY(bool allowWebUnsafeFonts MEMBER _allowWebUnsafeFonts)

public:
    explicit StyledTextPlugin(QFPluginClass &kind);

    [[nodiscard]] QFPluginClass *pluginClass() const override;

    [[nodiscard]] QString imagePrefix() const { return _imagePrefix; }
    void setImagePrefix(const QString &prefix);

    [[nodiscard]] QVariant contentHTML(const QVariantMap &params) override;
    [[nodiscard]] QVariant sidebarHTML(const QVariantMap &params) override;
    /// A description of the page for search engines: how the text begins. Asked for after the content.
    [[nodiscard]] QVariant pageContentHeaders(const QVariantMap &params) override;
    QString &updatePageTemplate(QString &pageTemplate, const QVariantMap &params, qint64 depth) override;

    [[nodiscard]] bool providesPluginSettings() override { return true; }
    [[nodiscard]] Q_INVOKABLE QVariantMap populatePluginSettings() const;
    /// From now on pictures that are shown smaller are also written smaller.
    Q_INVOKABLE QVariant normaliseImages();
    [[nodiscard]] Q_INVOKABLE QStringList filesReadForExport() const;

private:
    [[nodiscard]] bool hostReadsDocuments() const;
    [[nodiscard]] std::optional<NSAttributedString> readText(const QString &name) const;
    /// The document of that name; empty when it cannot be read.
    [[nodiscard]] std::optional<NSAttributedString> text(const QString &name) const;
    [[nodiscard]] QString exported(const NSAttributedString &text, const QString &prefix,
                                   const QVariantMap &params);

    QFPluginClass &_kind;
    QString _source;
    QString _sidebar;
    QString _imagePrefix = QStringLiteral("image");
    bool _allowWebUnsafeFonts = false;
    bool _normalisesImages = false;
    QString _description; ///< of the content made last, and so is the next
    bool _showsMovies = false;
};
