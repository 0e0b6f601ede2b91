#include "tests/Rows.h"
#include "tests/plugin/SamplePlugin.h"

#include "platform/DynamicMessages.h"
#include "platform/NSNotificationCenter.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "plugin/QFPluginNotifications.h"
#include "plugin/QFSharedStorage.h"

#include <QLoggingCategory>

#include <mutex>
#include <thread>

using namespace Qt::StringLiterals;

// A document that has been saved.
class SavedDocument : public QObject
{
    Q_OBJECT

public:
    QVariant path = u"/sites/garden.site"_s;
    Q_INVOKABLE QVariant fileNameOrSaveToFileName() const { return path; }
};

class QFAbstractPluginTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void holdsItsHostWeakly();
    void hasOptionsOnlyWhenMadeAnew();
    void leavesOptionalOperationsToSubclasses();
    void postsNotifications();
    void outlivesObserversThatDestroyIt();
    void handsItsSettingsOver();
    void acceptsSettingsOfItsKindOnly_data();
    void acceptsSettingsOfItsKindOnly();
    void skipsSettingsThatCannotBeApplied();
    void survivesSettersThatDestroyIt();
    void sharesStorageByName();
    void keepsStorageUsableAfterAnException();
    void saysGoodbyeQuietly();
};

namespace {

QVariantMap entry(const QVariant &value, const QVariant &enabled = true)
{
    return {{u"value"_s, value}, {u"enabled"_s, enabled}};
}

QVariantMap recordOf(const QVariant &settings)
{
    return {{u"settings"_s, settings}};
}

} // namespace

void QFAbstractPluginTest::holdsItsHostWeakly()
{
    QFAbstractPlugin plugin;
    QVERIFY(plugin.documentPath().isNull());
    auto window = std::make_unique<QObject>();
    auto document = std::make_unique<SavedDocument>();
    plugin.setDocumentWindow(window.get());
    plugin.setDocument(document.get());
    plugin.setDocumentWindow(nullptr);
    QVERIFY2(plugin.documentWindow() == window.get(), "no window is no reason to forget the last one");
    QCOMPARE(plugin.documentPath(), u"/sites/garden.site"_s);
    document->path = 7;
    QVERIFY(plugin.documentPath().isNull());
    plugin.setDocument(window.get()); // answers nothing of the kind
    QVERIFY(plugin.documentPath().isNull());
    plugin.setDocument(nullptr);
    QVERIFY(!plugin.document());
    plugin.setDocument(document.get());
    document.reset();
    window.reset();
    QVERIFY(!plugin.document() && !plugin.documentWindow());
}

void QFAbstractPluginTest::hasOptionsOnlyWhenMadeAnew()
{
    class Unarchived : public QFAbstractPlugin
    {
    public:
        // Nothing of an archive is looked at by the base class.
        Unarchived() : QFAbstractPlugin(*reinterpret_cast<NSKeyedUnarchiver *>(this)) {}
        using QFAbstractPlugin::makeThemeSpecificOptions;
    };
    QFAbstractPlugin fresh;
    fresh.setValueForThemeSpecificOptionKey(u"red"_s, u"banner"_s);
    QCOMPARE(fresh.valueForThemeSpecificOptionKey(u"banner"_s), u"red"_s);
    fresh.setValueForThemeSpecificOptionKey({}, u"banner"_s);
    QVERIFY(isNil(fresh.valueForThemeSpecificOptionKey(u"banner"_s)));

    Unarchived plugin;
    plugin.setValueForThemeSpecificOptionKey(1, u"banner"_s);
    QVERIFY(isNil(plugin.valueForThemeSpecificOptionKey(u"banner"_s)));
    plugin.makeThemeSpecificOptions();
    plugin.setValueForThemeSpecificOptionKey(1, u"banner"_s);
    QCOMPARE(plugin.valueForThemeSpecificOptionKey(u"banner"_s), 1);
}

void QFAbstractPluginTest::leavesOptionalOperationsToSubclasses()
{
    QFAbstractPlugin plugin;
    QVERIFY(!respondsTo(&plugin, "pageContentPrefix", 1));
    QVERIFY(!respondsTo(&plugin, "cancelExport", 0));
    QVERIFY(!respondsTo(&plugin, "normaliseImages", 0));
    QVERIFY(respondsTo(&plugin, "pageContentHeaders", 1));
    QVERIFY(isNil(plugin.pluginSettings()) && !plugin.providesPluginSettings());
    QVERIFY(plugin.pluginClass() && plugin.pluginClass()->pluginName().isNull());
}

void QFAbstractPluginTest::postsNotifications()
{
    QFAbstractPlugin plugin;
    QObject document;
    QObject observer;
    QList<NSNotification> heard;
    NSNotificationCenter::defaultCenter().addObserver(
        &observer, {}, {}, [&](const NSNotification &notification) { heard.append(notification); });
    int own = 0;
    NSNotificationCenter::defaultCenter().addObserver(&observer, {}, QVariant::fromValue(&plugin),
                                                      [&](const NSNotification &) { ++own; });
    QFAbstractPlugin().broadcastPluginChanged();
    heard.clear();
    plugin.broadcastPluginChanged();
    plugin.broadcastPluginChangedInvert();
    plugin.broadcastPluginSettingsRequest();
    plugin.broadcastMediaChanged();
    plugin.setDocument(&document);
    plugin.broadcastMediaChanged();
    plugin.broadcastPluginExportStatus(u"Working"_s, 0);
    plugin.broadcastPluginExportStatus({}, 0.5F);

    QStringList names;
    for (const NSNotification &notification : std::as_const(heard)) {
        names.append(notification.name);
        QVERIFY(notification.userInfo.isEmpty());
    }
    const QString prefix = u"com.corvale.quillfern."_s;
    QCOMPARE(names, (QStringList{prefix + u"plugin.changed"_s, prefix + u"plugin.changed.invert"_s,
                                 prefix + u"plugin.pagesettingsrequest"_s, prefix + u"media.changed"_s,
                                 prefix + u"media.changed"_s, prefix + u"plugin.exportstatus"_s,
                                 prefix + u"plugin.exportstatus"_s}));
    for (int i = 0; i < 3; ++i)
        QCOMPARE(objectValue(heard[i].object), &plugin);
    QCOMPARE(own, 3); // of an observer of this plug-in only
    QVERIFY(isNil(heard[3].object));
    QCOMPARE(objectValue(heard[4].object), &document);
    const QVariantMap status = heard[5].object.toMap();
    QCOMPARE(status.keys(), (QStringList{u"message"_s, u"plugin"_s, u"progress"_s}));
    QCOMPARE(objectValue(status[u"plugin"_s]), &plugin);
    QCOMPARE(status[u"progress"_s].typeId(), int(QMetaType::Float));
    QCOMPARE(heard[6].object.toMap().keys(), QStringList{u"plugin"_s});
}

void QFAbstractPluginTest::outlivesObserversThatDestroyIt()
{
    auto plugin = std::make_unique<QFAbstractPlugin>();
    QObject first;
    QObject second;
    QVariant seen;
    NSNotificationCenter &center = NSNotificationCenter::defaultCenter();
    center.addObserver(&first, {}, {}, [&](const NSNotification &) { plugin.reset(); });
    center.addObserver(&second, {}, {}, [&](const NSNotification &notification) {
        seen = notification.object.toMap().value(kQFExportStatusPluginKey.toString());
    });
    plugin->broadcastPluginExportStatus(u"Working"_s, 0.5F);
    QVERIFY(!plugin && seen.isValid() && !objectValue(seen));
}

void QFAbstractPluginTest::handsItsSettingsOver()
{
    SampleKind kind(u"Notes"_s);
    SamplePlugin from(kind);
    from.title = u"Moles"_s;
    from.width = 7;
    QCOMPARE(from.pluginSettings().toMap().keys(), (QStringList{u"name"_s, u"settings"_s})); // no ID yet
    from.setUniqueID(u"a"_s);
    const QVariantMap record = from.pluginSettings().toMap();
    QCOMPARE(record, (QVariantMap{{u"uniqueID"_s, u"a"_s},
                                  {u"name"_s, u"Notes"_s},
                                  {u"settings"_s, from.populatePluginSettings()}}));
    SamplePlugin to(kind);
    to.setPluginSettings(record);
    QCOMPARE(to.title, u"Moles"_s);
    QCOMPARE(to.width, 7);

    class Renamed : public SamplePlugin
    {
    public:
        using SamplePlugin::SamplePlugin;
        QString uniqueID() const override { return u"b"_s; }
    };
    Renamed renamed(kind);
    QVERIFY2(!renamed.acceptsPluginSettings(renamed.pluginSettings().toMap()), "its ID is what it answers");

    // An entry ends at its first nil; without "enabled" it is not applied.
    QCOMPARE(SamplePlugin::pluginSettingsValueForDisplay(u"Title"_s, {}), QVariantMap());
    QCOMPARE(SamplePlugin::pluginSettingsValueForDisplay({}, 1), (QVariantMap{{u"value"_s, 1}}));
    to.setPluginSettings(
        recordOf(QVariantMap{{u"title"_s, SamplePlugin::pluginSettingsValueForDisplay({}, u"x"_s)},
                             {u"width"_s, entry(1, false)}}));
    QCOMPARE(to.title, u"Moles"_s);
    QCOMPARE(to.width, 7);
}

void QFAbstractPluginTest::acceptsSettingsOfItsKindOnly_data()
{
    const Rows<QVariant, QVariant, bool> row({"uniqueID", "name", "accepted"});
    row("another of its kind", u"b"_s, u"Notes"_s, true);
    row("no ID", {}, u"Notes"_s, true);
    row("its own", u"a"_s, u"Notes"_s, false);
    row("another kind", u"b"_s, u"Album"_s, false);
    row("another case", u"b"_s, u"notes"_s, false);
    row("wrong types", 1, QVariantList{u"Notes"_s}, false);
    row("nothing", {}, {}, false);
}

void QFAbstractPluginTest::acceptsSettingsOfItsKindOnly()
{
    QFETCH(QVariant, uniqueID);
    QFETCH(QVariant, name);
    SampleKind kind(u"Notes"_s);
    SamplePlugin plugin(kind);
    plugin.setUniqueID(u"a"_s);
    QTEST(plugin.acceptsPluginSettings({{u"uniqueID"_s, uniqueID}, {u"name"_s, name}}), "accepted");
    kind.fails = true;
    QVERIFY(!plugin.acceptsPluginSettings({{u"name"_s, name}}));
    kind.fails = false;
    kind.name = QString();
    QVERIFY2(!plugin.acceptsPluginSettings({}), "two nameless kinds are not the same");
}

void QFAbstractPluginTest::skipsSettingsThatCannotBeApplied()
{
    SampleKind kind(u"Notes"_s);
    SamplePlugin plugin(kind);
    QFReport report;
    const QFReport::Installed installed(report);
    plugin.trap = [] { throw 42; };
    plugin.setPluginSettings(recordOf(QVariantMap{{u"nonsense"_s, entry(1)},
                                                  {u"title.length"_s, entry(1)},
                                                  {u"trap"_s, entry(u"x"_s)},
                                                  {u"title"_s, u"a string"_s},
                                                  {u"width"_s, entry(9)}}));
    plugin.setPluginSettings(recordOf(QVariantMap{{u"width"_s, entry(u"wide"_s)}}));
    plugin.setPluginSettings(recordOf(u"a string"_s));
    plugin.setPluginSettings({});
    plugin.trap = [] { throw std::runtime_error("burst"); };
    plugin.setPluginSettings(recordOf(QVariantMap{{u"trap"_s, entry(u"x"_s)}}));
    QCOMPARE(plugin.width, 9);
    QVERIFY(!plugin.dynamicPropertyNames().contains("nonsense"));
    QStringList reasons;
    const QString prefix = u"Error applying plugin settings: "_s;
    for (const QFReportRecord &record : report.records()) {
        QVERIFY(record.logged && record.message.startsWith(prefix));
        reasons.append(record.message.mid(prefix.size()));
    }
    QCOMPARE(
        reasons,
        (QStringList{u"there is no property 'nonsense'"_s, u"the entry 'title' is no dictionary"_s,
                     u"there is no property 'title.length'"_s, u"the property 'trap' threw an exception"_s,
                     u"the property 'width' takes no such value"_s, u"'settings' is no dictionary"_s,
                     u"the property 'trap' threw: burst"_s}));
}

void QFAbstractPluginTest::survivesSettersThatDestroyIt()
{
    SampleKind kind(u"Notes"_s);
    auto *plugin = new SamplePlugin(kind);
    auto record = std::make_unique<QVariantMap>(
        recordOf(QVariantMap{{u"trap"_s, entry(u"x"_s)}, {u"width"_s, entry(3)}}));
    plugin->trap = [&] {
        record.reset();
        delete plugin;
    };
    plugin->setPluginSettings(*record);
    QVERIFY(!record);
}

void QFAbstractPluginTest::sharesStorageByName()
{
    SampleKind notes(u"Shared notes"_s);
    SampleKind others(u"Shared notes"_s);
    SampleKind album(u"Shared album"_s);
    SamplePlugin first(notes);
    SamplePlugin second(others);
    QFSharedStorage *const storage = first.sharedPluginStorage();
    QVERIFY2(storage == second.sharedPluginStorage(), "the name counts, not the class");
    QVERIFY(storage != SamplePlugin(album).sharedPluginStorage());
    {
        const std::scoped_lock guard(*storage);
        const std::scoped_lock again(*storage);
        storage->storage().insert(u"key"_s, 1);
    }
    QCOMPARE(second.sharedPluginStorage()->storage().value(u"key"_s), 1);
    QTest::ignoreMessage(QtWarningMsg, "A plug-in without a name has no shared storage");
    QVERIFY(!QFAbstractPlugin().sharedPluginStorage());
}

void QFAbstractPluginTest::keepsStorageUsableAfterAnException()
{
    SampleKind kind(u"Shared"_s);
    SamplePlugin plugin(kind);
    kind.fails = true;
    QVERIFY_EXCEPTION_THROWN((void)plugin.sharedPluginStorage(), int);
    kind.fails = false;
    QFSharedStorage *fromThread = nullptr;
    std::thread([&] { fromThread = plugin.sharedPluginStorage(); }).join();
    QVERIFY(fromThread && fromThread == plugin.sharedPluginStorage());
}

void QFAbstractPluginTest::saysGoodbyeQuietly()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    delete new QFAbstractPlugin;
    QLoggingCategory::setFilterRules(u"qf.plugin.debug=true"_s);
    QTest::ignoreMessage(QtDebugMsg, "QFAbstractPlugin dealloc");
    delete new QFAbstractPlugin;
    QLoggingCategory::setFilterRules({});
}

QTEST_APPLESS_MAIN(QFAbstractPluginTest)
#include "QFAbstractPluginTest.moc"
