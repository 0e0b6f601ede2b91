#include "host/site/HostDocument.h"

#include "host/ContainedPath.h"
#include "host/DocumentReader.h"
#include "host/plugins/PluginModules.h"
#include "host/site/AttachmentNames.h"
#include "host/site/HostAsset.h"
#include "host/site/HostPage.h"
#include "host/site/HostWindow.h"
#include "host/site/PluginCalls.h"
#include "host/site/SiteLinks.h"
#include "platform/NSMenu.h"
#include "platform/NSNotificationCenter.h"
#include "platform/NSStringPathExtensions.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "plugin/QFAbstractPlugin.h"
#include "plugin/QFPluginClass.h"
#include "plugin/QFPluginNotifications.h"
#include "plugin/QFPluginRecords.h"

#include <QDir>
#include <QUrl>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The record of settings that sets a page's own ones, as one from another page would.
QVariantMap settingsRecord(const QVariantMap &settings, const QString &pluginName)
{
    QVariantMap entries;
    for (auto setting = settings.begin(); setting != settings.end(); ++setting)
        entries.insert(setting.key(),
                       QFAbstractPlugin::pluginSettingsValueForDisplay(setting.key(), setting.value()));
    return {{kQFPluginSettingsNameKey.toString(), pluginName},
            {kQFPluginSettingsSettingsKey.toString(), entries}};
}

NSMenu menuOfPages(HostDocument &document, const QList<qsizetype> &indices)
{
    NSMenu menu;
    for (const qsizetype index : indices) {
        const SitePage &page = document.site().pages.at(index);
        NSMenuItem item;
        item.title = page.title;
        item.representedObject = QVariant::fromValue<QObject *>(document.page(index));
        if (!page.children.isEmpty())
            item.submenu = std::make_shared<NSMenu>(menuOfPages(document, page.children));
        menu.items.append(item);
    }
    return menu;
}

} // namespace

HostDocument::HostDocument(const Site &site, PluginModules &modules)
    : _site(site), _modules(modules), _window(std::make_unique<HostWindow>(this))
{
    observePlugins();
}

HostDocument::~HostDocument()
{
    forgetPlugins();
}

HostPage *HostDocument::page(qsizetype index)
{
    HostPage *&page = _pages[index];
    if (!page)
        page = new HostPage(*this, index); // owned by this
    return page;
}

QObject *HostDocument::pageFromUniqueID(const QString &uniqueID)
{
    const auto index = _site.indexOfID.constFind(uniqueID);
    return index == _site.indexOfID.constEnd() ? nullptr : page(*index);
}

QVariant HostDocument::pathFromPage(const QVariantMap &question) const
{
    const SitePage *from = _site.pageNamed(stringValue(question.value(u"from"_s)));
    const SitePage *to = _site.pageNamed(stringValue(question.value(u"to"_s)));
    if (!from || !to)
        return {};
    if (to->isExternal())
        return to->external;
    const qint64 deeper = std::clamp<qint64>(intValue(question.value(u"correction"_s)), 0, 1000);
    return QVariant(u"../"_s.repeated(deeper) + relativeAddress(from->folder, to->path()));
}

QString HostDocument::pageFilesFolderName(const QString &uniqueID) const
{
    const SitePage *page = _site.pageNamed(uniqueID);
    return page && !page->isExternal() ? page->filesFolderName() : QString();
}

QVariant HostDocument::styledTextFromFile(const QString &path) const
{
    const QString relative = QDir::isAbsolutePath(path) ? QDir(_site.folder).relativeFilePath(path) : path;
    const QString contained = containedPath(_site.folder, relative);
    if (contained.isNull()) {
        reportLoss(u"document"_s, u"there is no such file in the site: "_s + path.left(200), path.left(200));
        return {};
    }
    const DocumentResult document = DocumentReader::read(contained);
    if (!document.isValid()) {
        reportLoss(u"document"_s, document.error, contained);
        return {};
    }
    const NSAttributedString text = SiteLinks::resolved(document.text, _site);
    AttachmentNames::makeUnique(text);
    return QVariant::fromValue(text);
}

QVariantList HostDocument::assets()
{
    if (_assets)
        return *_assets;
    QVariantList assets;
    const QFileInfoList files = QDir(_site.assets).entryInfoList(QDir::Files, QDir::Name);
    for (const QFileInfo &file : files) {
        const QString url = QUrl::fromLocalFile(file.absoluteFilePath()).toString(QUrl::FullyEncoded);
        assets.append(QVariant::fromValue<QObject *>(new HostAsset(file.fileName(), url, this)));
    }
    _assets = assets;
    return assets;
}

QVariantMap HostDocument::tree()
{
    return {{u"pageMenu"_s, QVariant::fromValue(menuOfPages(*this, _site.topPages))}};
}

QFAbstractPlugin *HostDocument::pluginOfPage(qsizetype index)
{
    const SitePage &page = _site.pages.at(index);
    if (page.isExternal())
        return nullptr;
    _consulted.insert(index);
    const auto known = _plugins.constFind(index);
    if (known != _plugins.constEnd())
        return known->data();
    QFAbstractPlugin *plugin = newPlugin(page);
    // Known before it is furnished: settings that come from a page of its own are found so, and end here.
    const QPointer<QFAbstractPlugin> held = plugin;
    _plugins.insert(index, held);
    if (plugin)
        furnish(plugin, page);
    return held;
}

QFAbstractPlugin *HostDocument::newPlugin(const SitePage &page)
{
    const QFReport::Place here(page.id, {NSNotFound, 0});
    QString error;
    QFPluginClass *pluginClass = _modules.pluginClass(page.plugin, &error);
    if (!pluginClass) {
        reportLoss(u"plugin"_s, error);
        return nullptr;
    }
    QFAbstractPlugin *plugin =
        guardedCall(u"newPlugin"_s, [&] { return pluginClass->newPlugin(); }).release();
    if (!plugin)
        reportLoss(u"plugin"_s, u"the plug-in made no instance for the page"_s);
    return plugin;
}

void HostDocument::furnish(QFAbstractPlugin *plugin, const SitePage &page)
{
    const QFReport::Place here(page.id, {NSNotFound, 0});
    const QPointer<QFAbstractPlugin> held = plugin;
    const auto ask = [&held](const QString &operation, auto call) {
        guardedCall(operation, [&] {
            if (held)
                call();
        });
    };
    ask(u"setUniqueID"_s, [&] { held->setUniqueID(page.id); });
    ask(u"setDocument"_s, [&] { held->setDocument(this); });
    ask(u"setDocumentWindow"_s, [&] { held->setDocumentWindow(_window.get()); });
    for (auto option = page.themeOptions.begin(); option != page.themeOptions.end(); ++option)
        ask(u"setValueForThemeSpecificOptionKey"_s,
            [&] { held->setValueForThemeSpecificOptionKey(option.value(), option.key()); });
    if (!page.settingsFrom.isNull())
        transferSettings(held, page);
    const QString name =
        guardedCall(u"pluginName"_s, [&] { return held ? held->pluginClass()->pluginName() : QString(); });
    ask(u"setPluginSettings"_s, [&] { held->setPluginSettings(settingsRecord(page.settings, name)); });
    if (!held)
        reportLoss(u"plugin"_s, u"the plug-in destroyed itself while it was given its settings"_s);
}

/// Gives a page's plug-in the settings of the page that `site.json` names.
void HostDocument::transferSettings(const QPointer<QFAbstractPlugin> &plugin, const SitePage &page)
{
    const QPointer<QFAbstractPlugin> source = pluginOfPage(_site.indexOfID.value(page.settingsFrom));
    const QVariant record =
        guardedCall(u"pluginSettings"_s, [&] { return source ? source->pluginSettings() : QVariant(); });
    const QVariantMap settings = record.toMap();
    const bool isAccepted = guardedCall(u"acceptsPluginSettings"_s,
                                        [&] { return plugin && plugin->acceptsPluginSettings(settings); });
    if (!isAccepted) {
        reportLoss(u"plugin"_s,
                   u"the settings of the page "_s + page.settingsFrom + u" were not taken over"_s);
        return;
    }
    guardedCall(u"setPluginSettings"_s, [&] {
        if (plugin)
            plugin->setPluginSettings(settings);
    });
}

/// Listens to what plug-ins tell the host, beside their progress, which is the builder's.
void HostDocument::observePlugins()
{
    NSNotificationCenter &center = NSNotificationCenter::defaultCenter();
    const auto noteChange = [this](const NSNotification &) { _hasChanged = true; };
    for (const QStringView name :
         {kQFPluginChangedNotification, kQFPluginChangedInvertNotification, kQFMediaChangedNotification})
        center.addObserver(this, name.toString(), {}, noteChange);
    center.addObserver(
        this, kQFPluginSettingsRequestNotification.toString(), {},
        [this](const NSNotification &request) { answerSettingsRequest(objectValue(request.object)); });
}

/// A plug-in that asks for settings gets those of the page that `site.json` names, once more.
void HostDocument::answerSettingsRequest(const QObject *asking)
{
    for (auto known = _plugins.cbegin(); known != _plugins.cend(); ++known) {
        if (!asking || known->data() != asking)
            continue;
        const SitePage &page = _site.pages.at(known.key());
        const QFReport::Place here(page.id, {NSNotFound, 0});
        const QPointer<QFAbstractPlugin> plugin(known->data()); // `_plugins` may change
        if (page.settingsFrom.isNull())
            reportLoss(u"plugin"_s, u"the plug-in asks for settings, and settingsFrom names no page"_s);
        else
            transferSettings(plugin, page);
        return;
    }
}

void HostDocument::forgetPlugins()
{
    for (const QPointer<QFAbstractPlugin> &plugin : std::exchange(_plugins, {}))
        delete plugin.data();
}
