#include "tests/Rows.h"
#include "tests/plugin/SamplePlugin.h"

#include "platform/NSUserDefaults.h"

#include <QTemporaryDir>

using namespace Qt::StringLiterals;

class QFPluginDefaultsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        _folder = std::make_unique<QTemporaryDir>();
        _preferences.setFolder(_folder->path());
    }
    void cleanup() { NSUserDefaults::setMainIdentifier(u"com.corvale.quillfern"_s); }
    void makesNoDomain();
    void changesItsOwnEntryOnly();
    void replacesWhatIsNoDictionary();
    void needsNamesOfItselfAndOfTheHost();
    void keepsTheOldFileWhenItCannotStore();
    void keepsEntriesOfOtherProcesses();

private:
    /// What another process finds.
    [[nodiscard]] QVariantMap stored() const
    {
        return NSUserDefaults(_folder->path(), {}).persistentDomainForName(NSUserDefaults::mainIdentifier());
    }
    void store(const QVariantMap &domain)
    {
        _preferences.setPersistentDomain(domain, NSUserDefaults::mainIdentifier());
        QVERIFY(_preferences.synchronize());
    }

    std::unique_ptr<QTemporaryDir> _folder;
    NSUserDefaults &_preferences = NSUserDefaults::standardUserDefaults();
    SampleKind _kind{u"Notes"_s};
    SamplePlugin _plugin{_kind};
};

namespace {

const QVariantMap someDefaults{{u"width"_s, 3}};

} // namespace

void QFPluginDefaultsTest::makesNoDomain()
{
    _plugin.setPluginDefaults(someDefaults);
    QVERIFY(_plugin.pluginDefaults().isEmpty());
    QVERIFY(QDir(_folder->path()).isEmpty());
}

void QFPluginDefaultsTest::changesItsOwnEntryOnly()
{
    const QVariantMap album{{u"columns"_s, 4}};
    store({{u"Plugins"_s, QVariantMap{{u"Album"_s, album}}}, {u"other"_s, 1}});
    _plugin.setPluginDefaults(someDefaults);
    QCOMPARE(_plugin.pluginDefaults(), someDefaults);
    QCOMPARE(stored(),
             (QVariantMap{{u"Plugins"_s, QVariantMap{{u"Album"_s, album}, {u"Notes"_s, someDefaults}}},
                          {u"other"_s, 1}}));
    _plugin.setPluginDefaults({});
    QVERIFY(_plugin.pluginDefaults().isEmpty());
    QCOMPARE(stored().value(u"Plugins"_s).toMap(), (QVariantMap{{u"Album"_s, album}}));
}

void QFPluginDefaultsTest::replacesWhatIsNoDictionary()
{
    for (const QVariantMap &domain :
         {QVariantMap{{u"Plugins"_s, u"text"_s}}, QVariantMap{{u"Plugins"_s, QVariantMap{{u"Notes"_s, 1}}}},
          QVariantMap{{u"other"_s, 1}}}) {
        store(domain);
        QVERIFY(_plugin.pluginDefaults().isEmpty());
        _plugin.setPluginDefaults({});
        QCOMPARE(stored().value(u"Plugins"_s), QVariant(QVariantMap())); // also where there was none
        _plugin.setPluginDefaults(someDefaults);
        QCOMPARE(_plugin.pluginDefaults(), someDefaults);
    }
}

void QFPluginDefaultsTest::needsNamesOfItselfAndOfTheHost()
{
    const QVariantMap domain{{u"Plugins"_s, QVariantMap{{u""_s, someDefaults}}}};
    store(domain);
    SampleKind nameless{u""_s};
    SamplePlugin plugin(nameless);
    QVERIFY(plugin.pluginDefaults().isEmpty());
    plugin.setPluginDefaults({});
    nameless.fails = true;
    plugin.setPluginDefaults(someDefaults);
    QCOMPARE(stored(), domain);

    NSUserDefaults::setMainIdentifier({});
    _plugin.setPluginDefaults(someDefaults);
    QVERIFY(_plugin.pluginDefaults().isEmpty());
    NSUserDefaults::setMainIdentifier(u"org.example.host"_s);
    store({{u"other"_s, 1}});
    _plugin.setPluginDefaults(someDefaults);
    QCOMPARE(_plugin.pluginDefaults(), someDefaults);
    QVERIFY(QFile::exists(_folder->filePath(u"org.example.host.plist"_s)));
}

void QFPluginDefaultsTest::keepsTheOldFileWhenItCannotStore()
{
    for (const QVariant &defaults :
         {QVariant(QVariantMap{{u"x"_s, QVariant::fromValue(this)}}), QVariant(u"text"_s)}) {
        const QVariantMap domain{{u"Plugins"_s, QVariantMap{{u"Notes"_s, someDefaults}}}};
        store(domain);
        QTest::ignoreMessage(QtWarningMsg, "Failed to save plugin defaults for Notes");
        _plugin.setPluginDefaults(defaults);
        QCOMPARE(stored(), domain);
        QCOMPARE(_plugin.pluginDefaults(), someDefaults);
    }
}

void QFPluginDefaultsTest::keepsEntriesOfOtherProcesses()
{
    store({{u"other"_s, 1}});
    QVERIFY(_plugin.pluginDefaults().isEmpty()); // has been read here
    {
        NSUserDefaults elsewhere(_folder->path(), {});
        elsewhere.setPersistentDomain({{u"Plugins"_s, QVariantMap{{u"Album"_s, someDefaults}}}},
                                      NSUserDefaults::mainIdentifier());
    }
    _plugin.setPluginDefaults(someDefaults);
    QCOMPARE(stored().value(u"Plugins"_s).toMap().keys(), (QStringList{u"Album"_s, u"Notes"_s}));
}

QTEST_APPLESS_MAIN(QFPluginDefaultsTest)
#include "QFPluginDefaultsTest.moc"
