#include "host/build/SiteNavigation.h"

#include "text/QFStrings.h"

#include <utility>

using namespace Qt::StringLiterals;
using namespace QFStringUtilities;

SiteNavigation::SiteNavigation(const Site &site, qsizetype page, QString from)
    : _site(site), _page(page), _from(std::move(from))
{
    for (qsizetype index = page; index >= 0; index = site.pages.at(index).parent)
        _branch.prepend(index);
}

QString SiteNavigation::link(const SitePage &page, const QString &attributes) const
{
    const QString address = page.isExternal() ? page.external : relativeAddress(_from, page.path());
    return u"<a"_s + attributes + u" href=\""_s + stringEscapedForHTMLAttribute(address) + u"\">"_s +
           stringEscapedForHTMLElementText(page.title) + u"</a>"_s;
}

QString SiteNavigation::menu() const
{
    QString html;
    appendMenu(html, _site.topPages);
    return html;
}

void SiteNavigation::appendMenu(QString &html, const QList<qsizetype> &indices) const
{
    bool isStarted = false;
    for (const qsizetype index : indices) {
        const SitePage &page = _site.pages.at(index);
        if (page.hidden)
            continue;
        if (!std::exchange(isStarted, true))
            html += u"<ul>"_s;
        const bool isOpen = _branch.contains(index);
        html += index == _page      ? u"<li class=\"current\">"_s
                : isOpen            ? u"<li class=\"open\">"_s
                : page.isExternal() ? u"<li class=\"external\">"_s
                                    : u"<li>"_s;
        html += link(page, index == _page ? u" aria-current=\"page\""_s : QString());
        if (isOpen)
            appendMenu(html, page.children);
        html += u"</li>"_s;
    }
    if (isStarted)
        html += u"</ul>"_s;
}

QString SiteNavigation::breadcrumb() const
{
    QString html;
    const SitePage *home = _site.home();
    if (home && _branch.size() > 1 && &_site.pages.at(_branch.first()) != home)
        html += u"<span>"_s + link(*home, {}) + u"</span>"_s;
    for (qsizetype i = 0; i + 1 < _branch.size(); ++i)
        html += u"<span>"_s + link(_site.pages.at(_branch.at(i)), {}) + u"</span>"_s;
    return html;
}

QString SiteNavigation::neighbour(qsizetype step, const QString &rel) const
{
    for (qsizetype index = _page + step; index >= 0 && index < _site.pages.size(); index += step) {
        const SitePage &page = _site.pages.at(index);
        if (!page.hidden && !page.isExternal())
            return link(page, u" rel=\""_s + rel + u'"');
    }
    return {};
}

QString SiteNavigation::home() const
{
    const SitePage *home = _site.home();
    return home ? relativeAddress(_from, home->path()) : relativeAddress(_from, _site.index);
}
