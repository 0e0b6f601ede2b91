#include "host/site/SiteLinks.h"

#include "host/ContainedPath.h"
#include "host/site/Site.h"
#include "platform/QFReport.h"
#include "plugin/QFLink.h"

#include <QHash>
#include <QUrl>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr QStringView kPageScheme = u"page:";
constexpr QStringView kAssetScheme = u"asset:";

class Resolver
{
public:
    explicit Resolver(const Site &site) : _site(site) {}

    /// The link object for a link value; nullptr for one that needs none. The runs of one link share it.
    QFLinkPtr resolved(const QVariant &value);

private:
    void lead(QFLink &link, QStringView address) const;
    void leadToPage(QFLink &link, QStringView place) const;
    void leadToAsset(QFLink &link, const QString &name) const;

    const Site &_site;
    QHash<QString, QFLinkPtr> _byAddress;
};

QFLinkPtr Resolver::resolved(const QVariant &value)
{
    const QFLinkPtr given = value.value<QFLinkPtr>();
    const QString address = given ? given->href() : value.toString();
    const bool isOurs = address.startsWith(kPageScheme) || address.startsWith(kAssetScheme);
    if (!isOurs || (given && (given->internal() || given->asset() != 0)))
        return nullptr;
    if (given) { // it is shared by its runs, and edited in place
        lead(*given, address);
        return given;
    }
    QFLinkPtr &link = _byAddress[address];
    if (!link) {
        link = std::make_shared<QFLink>(address, false);
        lead(*link, address);
    }
    return link;
}

void Resolver::lead(QFLink &link, QStringView address) const
{
    if (address.startsWith(kPageScheme))
        leadToPage(link, address.sliced(kPageScheme.size()));
    else
        leadToAsset(link, address.sliced(kAssetScheme.size()).toString());
}

void Resolver::leadToPage(QFLink &link, QStringView place) const
{
    const qsizetype hash = place.indexOf(u'#');
    if (hash >= 0)
        link.setAnchor(place.sliced(hash + 1).toString());
    const QStringView path = hash < 0 ? place : place.first(hash);
    const qsizetype slash = path.indexOf(u'/');
    const QString id = QUrl::fromPercentEncoding((slash < 0 ? path : path.first(slash)).toUtf8());
    link.setInternal(true);
    link.setHREF(id);
    if (slash >= 0)
        link.setSubpageID(QUrl::fromPercentEncoding(path.sliced(slash + 1).toUtf8()));
    if (!_site.pageNamed(id))
        reportLoss(u"link"_s, u"leads to no page of the site: "_s + id.left(100));
}

void Resolver::leadToAsset(QFLink &link, const QString &name) const
{
    // Links to assets carry the file's name only, so folders among the assets cannot be reached.
    const QString decoded = QUrl::fromPercentEncoding(name.toUtf8());
    const QString file = decoded.contains(u'/') ? QString() : containedPath(_site.assets, decoded);
    if (file.isNull())
        reportLoss(u"link"_s, u"leads to no asset of the site: "_s + name.left(100));
    // The exporter takes no address from an asset of another number than 1.
    link.setAsset(file.isNull() ? -1 : 1);
    if (!file.isNull())
        link.setHREF(QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded));
}

} // namespace

NSAttributedString SiteLinks::resolved(const NSAttributedString &text, const Site &site)
{
    Resolver resolver(site);
    NSMutableAttributedString changed(text);
    for (qsizetype run = 0; run < text.runs().size(); ++run) {
        const QVariant value = text.runs().at(run).attributes.value(NSLinkAttributeName);
        if (!value.isValid())
            continue;
        if (const QFLinkPtr link = resolver.resolved(value))
            changed.addAttribute(NSLinkAttributeName, QVariant::fromValue(link), text.rangeOfRun(run));
    }
    return changed.copy();
}
