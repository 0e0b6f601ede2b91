#include "plugins/html/HTMLPagePlugin.h"

#include "platform/DynamicMessages.h"
#include "platform/KeyValueCoding.h"
#include "platform/NSStringPathExtensions.h"
#include "platform/QFHost.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "plugin/QFExportParams.h"
#include "plugin/QFPluginClass.h"
#include "plugins/common/PluginSettings.h"
#include "plugins/common/SiteFiles.h"
#include "plugins/html/HTMLLinks.h"

#include <QRegularExpression>
#include <QStringDecoder>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

/// What a page takes over of a document's head: not its title, encoding and the like, which the theme gives.
QString stylesAndScripts(const QString &head)
{
    static const QRegularExpression elements(u"<(style|script)\\b.*?</\\1\\s*>|<link\\b[^>]*>"_s,
                                             QRegularExpression::CaseInsensitiveOption |
                                                 QRegularExpression::DotMatchesEverythingOption);
    QString found;
    for (auto match = elements.globalMatch(head); match.hasNext();)
        found += match.next().captured();
    return found;
}

bool isAsset(QObject *document, const QString &name)
{
    const QVariantList assets = NSKeyValueCoding::valueForKey(document, u"assets"_s).toList();
    return std::any_of(assets.begin(), assets.end(), [&](const QVariant &asset) {
        return stringValue(NSKeyValueCoding::valueForKey(asset, u"name"_s)) == name;
    });
}

} // namespace

HTMLPagePlugin::HTMLPagePlugin(QFPluginClass &kind) : _kind(kind) {}

QFPluginClass *HTMLPagePlugin::pluginClass() const
{
    return &_kind;
}

QVariantMap HTMLPagePlugin::populatePluginSettings() const
{
    return PluginSettings::transferable(*this, {"source"});
}

QStringList HTMLPagePlugin::filesReadForExport() const
{
    return SiteFiles::watched(*this, {_source, _sidebar});
}

QString HTMLPagePlugin::readText(const QString &name) const
{
    const QString path = SiteFiles::named(*this, name);
    const std::optional<QByteArray> bytes = path.isNull() ? std::nullopt : SiteFiles::contents(path);
    if (!bytes)
        return {};
    QStringDecoder decoder(QStringConverter::encodingForData(*bytes).value_or(QStringConverter::Utf8),
                           QStringConverter::Flag::Stateless);
    QString text = decoder(*bytes);
    if (decoder.hasError())
        reportLoss(u"source"_s, u"The file is no UTF-8; characters that are wrong are replaced"_s, path);
    return text;
}

QString HTMLPagePlugin::withLinks(const QString &HTML, const QVariantMap &params) const
{
    return HTMLLinks::resolved(HTML, [&](const QString &link) { return address(link, params); });
}

QVariant HTMLPagePlugin::contentHTML(const QVariantMap &params)
{
    broadcastPluginExportStatus(u"Reading the page"_s, 0);
    const QString document = readText(_source);
    const QString body = HTMLLinks::insideOfElement(document, u"body"_s);
    _headers = body.isNull()
                   ? QString()
                   : withLinks(stylesAndScripts(HTMLLinks::insideOfElement(document, u"head"_s)), params);
    QString content = withLinks(body.isNull() ? document : body, params);
    broadcastPluginExportStatus(u"Page written"_s, 1);
    return content;
}

QVariant HTMLPagePlugin::sidebarHTML(const QVariantMap &params)
{
    if (_sidebar.isEmpty())
        return {};
    const QString document = readText(_sidebar);
    const QString body = HTMLLinks::insideOfElement(document, u"body"_s);
    return withLinks(body.isNull() ? document : body, params);
}

QVariant HTMLPagePlugin::pageContentHeaders(const QVariantMap & /*params*/)
{
    return _headers.isEmpty() ? QVariant() : _headers;
}

QVariant HTMLPagePlugin::pageContentPrefix(const QVariantMap & /*params*/)
{
    return _contentPrefix.isEmpty() ? QVariant() : _contentPrefix;
}

QString HTMLPagePlugin::address(const QString &link, const QVariantMap &params) const
{
    const bool isPage = link.startsWith(u"page:");
    if (!isPage && !link.startsWith(u"asset:"))
        return {};
    const QString target = QUrl::fromPercentEncoding(link.sliced(link.indexOf(u':') + 1).toUtf8());
    const QString found = isPage ? pageAddress(target) : assetAddress(target, params);
    if (!found.isNull())
        return found;
    reportLoss(u"link"_s, u"Nothing in this site is called \""_s + link + u'"', _source);
    return u"#"_s;
}

QString HTMLPagePlugin::pageAddress(const QString &target) const
{
    const qsizetype hash = target.indexOf(u'#');
    const QString path = target.left(hash);
    const QString anchor = hash < 0 ? QString() : target.sliced(hash);
    const QString ID = path.section(u'/', 0, 0);
    const QString subpageID = path.section(u'/', 1);

    const QPointer<QObject> page = QFHost::pageFromUniqueID(document(), ID);
    if (!page)
        return {};
    if (QFHost::isExternalPage(page))
        return QFHost::externalPageURL(page);
    QString found = QFHost::pathFromPage(document(), uniqueID(), ID, 0);
    if (!found.isNull() && !subpageID.isEmpty())
        found = subpageAddress(found, ID, subpageID);
    return found.isNull() ? found : found + anchor;
}

QString HTMLPagePlugin::subpageAddress(const QString &page, const QString &pageID,
                                       const QString &subpageID) const
{
    using namespace NSStringPathExtensions;
    const QPointer<QObject> target = QFHost::pageFromUniqueID(document(), pageID);
    const QPointer<QObject> plugin = QFHost::plugin(target);
    QString file = QFHost::internalPageLinkFileMapper(plugin, subpageID).value_or(QString());
    const QString folder = QFHost::pageFilesFolderName(document(), pageID);
    if (file.isEmpty() || folder.isEmpty())
        return {};
    const QString extension = QFHost::filenameExt(target);
    if (pathExtension(file).isEmpty() && !extension.isEmpty())
        file += u'.' + extension;
    return page.left(page.lastIndexOf(u'/') + 1) + folder + u'/' + file;
}

QString HTMLPagePlugin::assetAddress(const QString &name, const QVariantMap &params) const
{
    if (!isAsset(document(), name))
        return {};
    return QFExportParams(params).exportAssetsFolderName() + u'/' +
           QString::fromLatin1(QUrl::toPercentEncoding(name, "/"));
}
