#include "platform/NSUserDefaults.h"
#include "tests/Files.h"
#include "tests/Rows.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <thread>

using namespace Qt::StringLiterals;

class NSUserDefaultsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        _folder = std::make_unique<QTemporaryDir>();
        _path = _folder->filePath(u"made/on/demand"_s);
    }
    void searchesDomainsInOrder();
    void keepsWhatWasSet();
    void keepsDamagedFilesAside();
    void keepsADamagedFileAsideOnce();
    void staysInItsFolder_data();
    void staysInItsFolder();
    void saysWhenItCannotWrite();
    void isSafeOnThreads();
    void findsTheUsersFolder();

private:
    [[nodiscard]] QString file(const QString &domain) const { return _path + u'/' + domain + u".plist"_s; }

    std::unique_ptr<QTemporaryDir> _folder;
    QString _path;
};

void NSUserDefaultsTest::searchesDomainsInOrder()
{
    NSUserDefaults defaults(_path, u"app"_s);
    QVERIFY(!defaults.objectForKey(u"key"_s).isValid());
    defaults.registerDefaults({{u"key"_s, 1}, {u"other"_s, 1}});
    QCOMPARE(defaults.integerForKey(u"key"_s), 1);
    defaults.setPersistentDomain({{u"key"_s, 2}, {u"AppleLanguages"_s, QStringList{u"de"_s, u"en"_s}}},
                                 NSGlobalDomain.toString());
    QCOMPARE(defaults.integerForKey(u"key"_s), 2);
    defaults.setObject(3, u"key"_s);
    QCOMPARE(defaults.integerForKey(u"key"_s), 3);
    defaults.removeObjectForKey(u"key"_s);
    QCOMPARE(defaults.integerForKey(u"key"_s), 2);
    QCOMPARE(defaults.integerForKey(u"other"_s), 1);
    QVERIFY(defaults.persistentDomainForName(u"app"_s).isEmpty());
    QVERIFY(defaults.synchronize());
    QCOMPARE(defaults.stringArrayForKey(u"AppleLanguages"_s), (QStringList{u"de"_s, u"en"_s}));
}

void NSUserDefaultsTest::keepsWhatWasSet()
{
    const QVariantMap plugins{{u"Photo \u00E9"_s, QVariantMap{{u"odd"_s, QString(QChar(0xD800))}}}};
    {
        NSUserDefaults defaults(_path, u"app"_s);
        defaults.setObject(plugins, u"Plugins"_s);
        defaults.setObject(QVariant::fromValue(QChar(u'x')), u"no property list"_s);
    }
    NSUserDefaults defaults(_path, u"app"_s);
    QCOMPARE(defaults.dictionaryForKey(u"Plugins"_s), plugins);
    QCOMPARE(defaults.persistentDomainForName(u"app"_s).size(), 1);
    // What another process wrote is seen after synchronising, and a file in XML is as good.
    QVERIFY(write(file(u"app"_s),
                  "<plist version=\"1.0\"><dict><key>uppercaseColorCodes</key><true/></dict></plist>"));
    QVERIFY(!defaults.boolForKey(u"uppercaseColorCodes"_s));
    QVERIFY(defaults.synchronize());
    QVERIFY(defaults.boolForKey(u"uppercaseColorCodes"_s));
    defaults.setPersistentDomain({}, u"app"_s);
    QVERIFY(defaults.synchronize());
    QVERIFY(!QFile::exists(file(u"app"_s)));
}

void NSUserDefaultsTest::keepsDamagedFilesAside()
{
    for (const QByteArray bytes : {"bplist00 damaged", "<plist><array/></plist>"}) {
        QVERIFY(write(file(u"app"_s), bytes));
        NSUserDefaults defaults(_path, u"app"_s);
        QVERIFY(!defaults.objectForKey(u"key"_s).isValid());
        QVERIFY(defaults.synchronize());
        QVERIFY2(QFile::exists(file(u"app"_s)), "reading alone moves nothing");
        defaults.setObject(1, u"key"_s);
        QVERIFY(defaults.synchronize());
        QCOMPARE(NSUserDefaults(_path, u"app"_s).integerForKey(u"key"_s), 1);
    }
    QCOMPARE(contents(_path + u"/app.plist.damaged-2"_s), QByteArray("<plist><array/></plist>"));
}

void NSUserDefaultsTest::keepsADamagedFileAsideOnce()
{
    QVERIFY(write(file(u"app"_s), "bplist00 cut o"));
    // As if in two processes, both of which have met the damaged file.
    NSUserDefaults first(_path, u"app"_s);
    NSUserDefaults second(_path, u"app"_s);
    first.setObject(1, u"first"_s);
    second.setObject(2, u"second"_s);
    std::thread other([&] { first.synchronize(); });
    QVERIFY(second.synchronize());
    other.join();
    QCOMPARE(NSUserDefaults(_path, u"app"_s).persistentDomainForName(u"app"_s).size(),
             1); // the last one wins
    QCOMPARE(QDir(_path).entryList(QDir::Files | QDir::Hidden),
             (QStringList{u"app.plist"_s, u"app.plist.damaged"_s}));
}

void NSUserDefaultsTest::staysInItsFolder_data()
{
    const Rows<QString, QString> row({"name", "written"});
    row("upwards", u"../../out"_s, u"out.plist"_s);
    row("parent", u".."_s, {});
    row("root", u"/"_s, {});
    row("empty", u""_s, {});
    row("too long", QString(300, u'x'), {});
}

void NSUserDefaultsTest::staysInItsFolder()
{
    QFETCH(QString, name);
    QFETCH(QString, written);
    NSUserDefaults defaults(_path, name);
    defaults.setObject(1, u"key"_s);
    defaults.setPersistentDomain({{u"key"_s, 2}}, name);
    QVERIFY(defaults.synchronize());
    QCOMPARE(QDir(_path).entryList(QDir::Files | QDir::Hidden),
             written.isNull() ? QStringList() : QStringList{written});
    QCOMPARE(defaults.integerForKey(u"key"_s), written.isNull() ? 0 : 2);
}

void NSUserDefaultsTest::saysWhenItCannotWrite()
{
    NSUserDefaults defaults(_path, u"app"_s);
    const QString inTheWay = _folder->filePath(u"file"_s);
    QVERIFY(write(inTheWay, ""));
    defaults.setFolder(inTheWay);
    defaults.setObject(2, u"key"_s);
    QVERIFY(!defaults.synchronize());
    QVERIFY(QFile::remove(inTheWay));
    QVERIFY2(defaults.synchronize(), "changes are kept until they can be written");
    QCOMPARE(NSUserDefaults(inTheWay, u"app"_s).integerForKey(u"key"_s), 2);
}

void NSUserDefaultsTest::isSafeOnThreads()
{
    NSUserDefaults defaults(_path, u"app"_s);
    std::vector<std::jthread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&defaults, number] {
            for (int i = 0; i < 200; ++i) {
                defaults.setObject(i, QString::number(number));
                (void)defaults.boolForKey(u"0"_s);
                if (i % 50 == number)
                    defaults.synchronize();
            }
        });
    }
    threads.clear(); // waits for them
    QVERIFY(defaults.synchronize());
    for (int number = 0; number < 4; ++number)
        QCOMPARE(defaults.integerForKey(QString::number(number)), 199);
}

void NSUserDefaultsTest::findsTheUsersFolder()
{
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(_folder->path()));
    NSUserDefaults &defaults = NSUserDefaults::standardUserDefaults();
    defaults.setObject(5, u"StyledTextCellBorder"_s);
    QVERIFY(defaults.synchronize());
    QVERIFY(QFile::exists(_folder->filePath(u"QFPluginUtilities/com.corvale.quillfern.plist"_s)));
}

QTEST_APPLESS_MAIN(NSUserDefaultsTest)
#include "NSUserDefaultsTest.moc"
