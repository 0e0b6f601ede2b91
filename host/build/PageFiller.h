#pragma once

#include "host/build/BuildContext.h"

#include <QList>
#include <QPointer>
#include <QString>
#include <QVariant>

#include <optional>

class QFAbstractPlugin;

/// What a plug-in answered for some HTML; empty for nil, and with a record for what is no text.
[[nodiscard]] QString htmlFrom(const QVariant &answer, const QString &operation);

/// Fills the theme's template for a page and its subpages.
class PageFiller
{
public:
    /// Names of the placeholders that are filled.
    [[nodiscard]] static QList<QStringView> placeholders();

    /// Colour-tag files are those of `theme` or, where their links stand in the page's own header,
    /// `plainTheme`.
    PageFiller(const BuildContext &context, qsizetype page, QFAbstractPlugin *plugin, QVariantMap params,
               QObject *theme, QObject *plainTheme);

    /// Asks the plug-in for what stands beside the content.
    void askForSurroundings() { static_cast<void>(surroundings(false)); }

    /// The page with its content; or, with a folder other than the page's, a subpage in that folder of the
    /// published site. A nil title is the page's own.
    [[nodiscard]] QString filled(const QString &title, const QString &content, const QString &folder);

private:
    struct Surroundings
    {
        QString sidebar;
        QString header;
    };

    [[nodiscard]] const Surroundings &surroundings(bool isSubpage);
    [[nodiscard]] QString textFor(QStringView placeholder, const QString &folder) const;
    [[nodiscard]] QString option(const QString &key) const;
    [[nodiscard]] const SitePage &page() const { return _context.site.pages.at(_page); }

    const BuildContext &_context;
    const qsizetype _page;
    const QPointer<QFAbstractPlugin> _plugin;
    const QVariantMap _params;
    QObject *const _theme;
    QObject *const _plainTheme;
    std::optional<Surroundings> _ofPage;
    std::optional<Surroundings> _ofSubpages; ///< with addresses as seen from the folder of files
};
