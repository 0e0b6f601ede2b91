#pragma once

#include "host/site/Site.h"

#include <QString>

/// The lists of links that a page of the site shows, as HTML.
class SiteNavigation
{
public:
    /// For the page with that index, in a file in the folder `from` of the published site: the page's own
    /// folder or, for a subpage, its folder of files.
    SiteNavigation(const Site &site, qsizetype page, QString from);

    /// Nested lists of the top level and of the branch that is open down to the page and one level below it.
    /// Time is that of what is shown.
    [[nodiscard]] QString menu() const;
    /// The way from the home page down to the page's parent; empty for pages at the top.
    [[nodiscard]] QString breadcrumb() const;
    /// Links to the neighbours in the order of the navigation; empty where there is none.
    [[nodiscard]] QString previous() const { return neighbour(-1, QStringLiteral("prev")); }
    [[nodiscard]] QString next() const { return neighbour(1, QStringLiteral("next")); }
    [[nodiscard]] QString home() const;

private:
    void appendMenu(QString &html, const QList<qsizetype> &indices) const;
    [[nodiscard]] QString neighbour(qsizetype step, const QString &rel) const;
    [[nodiscard]] QString link(const SitePage &page, const QString &attributes) const;

    const Site &_site;
    const qsizetype _page;
    const QString _from;
    QList<qsizetype> _branch; ///< the page and those above it
};
