#include "platform/NSBundle.h"
#include "platform/NSStringsTable.h"
#include "tests/Files.h"
#include "tests/Rows.h"

#include <QFile>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

using Table = QHash<QString, QString>;

class NSBundleTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void findsResources();
    void speaksThePreferredLanguage();
    void readsAFolderInPlaceOfItsOwnResources();
    void readsStringsFiles_data();
    void readsStringsFiles();
};

void NSBundleTest::cleanup()
{
    NSBundle::setPreferredLanguages({});
    NSBundle::libraryBundle().setResourcePath({});
}

void NSBundleTest::findsResources()
{
    NSBundle *bundle = NSBundle::bundleWithIdentifier(u"com.corvale.qfpluginutilities"_s);
    QVERIFY(bundle);
    QVERIFY(!NSBundle::bundleWithIdentifier(u"com.corvale.other"_s));
    QVERIFY(QFile::exists(bundle->pathForResourceOfType(u"HTMLEncodings"_s, u"strings"_s)));
    QVERIFY(QFile::exists(bundle->pathForResourceOfType(u"HTMLEncodings.strings"_s, {})));
    QVERIFY(QFile::exists(bundle->pathForResourceOfType(u"Localizable"_s, u"strings"_s)));
    QVERIFY(bundle->pathForResourceOfType(u"HTMLEncodings"_s, u"plist"_s).isNull());
    QVERIFY(bundle->pathForResourceOfType({}, u"strings"_s).isNull());
}

void NSBundleTest::speaksThePreferredLanguage()
{
    const NSBundle &bundle = NSBundle::libraryBundle();
    NSBundle::setPreferredLanguages({u"xx"_s, u"de-AT"_s, u"en"_s});
    QCOMPARE(bundle.localizedStringForKey(u"QFAlertCancel"_s), u"Abbrechen"_s);
    NSBundle::setPreferredLanguages({u"xx"_s});
    QCOMPARE(bundle.localizedStringForKey(u"QFAlertCancel"_s), u"Cancel"_s);
    QCOMPARE(bundle.localizedStringForKey(u"no such key"_s), u"no such key"_s);
    QCOMPARE(bundle.localizedStringForKey(u"no such key"_s, u"default"_s), u"default"_s);
    QCOMPARE(bundle.localizedStringForKey(u"QFAlertOK"_s, {}, u"NoSuchTable"_s), u"QFAlertOK"_s);

    qputenv("LANGUAGE", "fr_FR:nl");
    qputenv("LC_ALL", "de_DE.UTF-8@euro");
    NSBundle::setPreferredLanguages({});
    QCOMPARE(NSBundle::preferredLanguages(), QStringList({u"fr_FR"_s, u"nl"_s, u"de_DE"_s}));
    qunsetenv("LANGUAGE");
    qputenv("LC_ALL", "C.UTF-8");
    NSBundle::setPreferredLanguages({});
    QCOMPARE(NSBundle::preferredLanguages(), QStringList());
}

void NSBundleTest::readsAFolderInPlaceOfItsOwnResources()
{
    const QTemporaryDir folder;
    QVERIFY(write(folder.filePath(u"en.lproj/Localizable.strings"_s), "\"URL\" = \"Address\";"));
    NSBundle &bundle = NSBundle::libraryBundle();
    bundle.setResourcePath(folder.path());
    QCOMPARE(bundle.localizedStringForKey(u"URL"_s), u"Address"_s);
    QVERIFY(bundle.pathForResourceOfType(u"HTMLEncodings"_s, u"strings"_s).isNull());
}

void NSBundleTest::readsStringsFiles_data()
{
    const Rows<QByteArray, Table> row({"bytes", "table"});
    row("comments and blanks", "/* a */ \"k\" // = \"x\"\n=/**/\"v\" ;", {{u"k"_s, u"v"_s}});
    row("plain words and a key alone", "key = value;\nalone;",
        {{u"key"_s, u"value"_s}, {u"alone"_s, u"alone"_s}});
    row("escapes", R"("a\"\\" = "\n\t\U00e9\101\q";)", {{u"a\"\\"_s, u"\n\t\u00E9Aq"_s}});
    row("the later record counts", "a = b; a = c;", {{u"a"_s, u"c"_s}});
    row("ends at the first that is none", "a = b; c = ; d = e;", {{u"a"_s, u"b"_s}});
    row("open string", "a = b; \"c = d;", {{u"a"_s, u"b"_s}});
    row("open comment", "a = b; /* c = d;", {{u"a"_s, u"b"_s}});
    row("ends in an escape", "a = \"b\\", {});
    row("ends in a number", "a = \"b\\U00", {});
    row("UTF-16 with a byte order mark",
        QByteArray("\xFF\xFE"
                   "a\0=\0\xE9\0;\0",
                   10),
        {{u"a"_s, u"\u00E9"_s}});
    row("broken UTF-8", "a = \"\xFF\";", {{u"a"_s, u"\uFFFD"_s}});
    row("empty", {}, {});
}

void NSBundleTest::readsStringsFiles()
{
    QFETCH(QByteArray, bytes);
    QTEST(parseStringsFile(bytes), "table");
}

QTEST_APPLESS_MAIN(NSBundleTest)
#include "NSBundleTest.moc"
