#include "host/site/SiteTheme.h"
#include "tests/host/SiteMaker.h"

#include <QTest>

using namespace Qt::StringLiterals;

class SiteReaderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsAll();
    void refusesWhatIsNoSite_data();
    void refusesWhatIsNoSite();
    void passesOverWrongTypes_data();
    void passesOverWrongTypes();
    void leavesBadPagesOut_data();
    void leavesBadPagesOut();
    void readsThemes_data();
    void readsThemes();

private:
    /// Reads the site; what was complained of is in `complaints`.
    std::optional<Site> readSite(QString &error)
    {
        QFReport report;
        const QFReport::Installed collecting(report);
        const std::optional<Site> site = SiteReader::read(maker.site(), error);
        complaints = messagesOf(report.records());
        return site;
    }

    SiteMaker maker;
    QString complaints;
};

void SiteReaderTest::readsAll()
{
    maker.write(u"site/pages/look.css"_s, "b{}");
    maker.write(u"site/site.json"_s, json(R"({
        'title': 'T', 'language': 'de', 'baseURL': 'https://h/g', 'style': 'Dusk', 'variations': ['Wide'],
        'index': 'index.htm', 'footer': '<p>', 'normaliseImages': true, 'pages': [
            {'id': 'home', 'plugin': 'p'},
            {'id': 'a', 'title': 'Über uns', 'plugin': 'p', 'css': 'pages/look.css', 'style': 'Dawn', 'variations': [],
             'hidden': true, 'imageFormat': 'PNG', 'children': [
                {'id': 'far', 'external': 'https://f/', 'children': [{'id': 'b', 'plugin': 'p', 'settingsFrom': 'a'}]},
                {'id': 'c', 'plugin': 'p', 'folder': '', 'filename': 'c', 'extension': ''}]}]})"));
    QString error;
    const std::optional<Site> site = readSite(error);
    QVERIFY2(site, qPrintable(error));
    QCOMPARE(complaints, QString());
    QCOMPARE(site->title + site->language + site->baseURL + site->index + site->footer,
             u"Tdehttps://h/gindex.htm<p>"_s);
    QVERIFY(site->normaliseImages);
    QStringList places;
    for (const SitePage &page : site->pages)
        places.append(page.isExternal() ? page.external : page.path());
    QCOMPARE(places, QStringList({u"index.html"_s, u"00dcber-uns/index.html"_s, u"https://f/"_s,
                                  u"00dcber-uns/b/index.html"_s, u"00dcber-uns/c"_s}));
    QCOMPARE(site->pages.at(0).style, u"Dusk"_s);
    QCOMPARE(site->pages.at(0).variations, QStringList(u"Wide"_s));
    QCOMPARE(site->pages.at(1).style, u"Dawn"_s);
    QCOMPARE(site->pages.at(1).variations, QStringList());
    QCOMPARE(site->pages.at(1).children, QList<qsizetype>({2, 4}));
    QCOMPARE(site->pages.at(3).key, u"pages[1].children[0].children[0]"_s);
    QCOMPARE(site->home(), &site->pages.at(0));
}

void SiteReaderTest::refusesWhatIsNoSite_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("says");
    QTest::newRow("nothing") << QByteArray() << u"site.json: line 1"_s;
    QTest::newRow("no JSON") << QByteArray("{\n \"pages\": [}") << u"site.json: line 2, column 1"_s;
    QTest::newRow("a list") << QByteArray("[]") << u"site.json: is no JSON object"_s;
    QTest::newRow("no pages") << QByteArray("{}") << u"site.json: pages should be a list"_s;
    QTest::newRow("pages by name") << json("{'pages': {}}") << u"site.json: pages should be a list"_s;
    QTest::newRow("a deep nest") << QByteArray(100000, '[') << u"site.json: line 1"_s;
}

void SiteReaderTest::refusesWhatIsNoSite()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, says);
    maker.write(u"site/site.json"_s, text);
    QString error;
    QVERIFY(!readSite(error));
    QVERIFY2(error.contains(says), qPrintable(error));
}

void SiteReaderTest::passesOverWrongTypes_data()
{
    QTest::addColumn<QByteArray>("ofSite");
    QTest::addColumn<QByteArray>("ofPage");
    QTest::addColumn<QString>("says");
    const auto row = [](const char *key, bool isPage, const char *wrong, const char *expected) {
        const QByteArray entry = ", \"" + QByteArray(key) + "\": " + wrong;
        QTest::newRow(key) << (isPage ? QByteArray() : entry) << (isPage ? entry : QByteArray())
                           << u"site.json: "_s + (isPage ? u"pages[1]."_s : QString()) +
                                  QString::fromLatin1(key) + u" should be "_s + QString::fromLatin1(expected);
    };
    for (const char *key : {"title", "language", "baseURL", "theme", "style", "assets", "index", "footer"})
        row(key, false, "[1]", "a string");
    row("normaliseImages", false, "\"yes\"", "true or false");
    row("variations", false, "\"Wide\"", "a list");
    for (const char *key : {"title", "external", "settingsFrom", "folder", "filename", "extension", "css",
                            "script", "header", "imageFormat", "imageQuality"})
        row(key, true, "{}", "a string");
    for (const char *key : {"settings", "themeOptions"})
        row(key, true, "[]", "an object");
    row("hidden", true, "1", "true or false");
    row("children", true, "{}", "a list");
}

void SiteReaderTest::passesOverWrongTypes()
{
    QFETCH(QByteArray, ofSite);
    QFETCH(QByteArray, ofPage);
    QFETCH(QString, says);
    maker.write(u"site/site.json"_s,
                json("{'pages': [{'id': 'home', 'plugin': 'p'}, {'id': 'x', 'plugin': 'p'") + ofPage + "}]" +
                    ofSite + "}");
    QString error;
    const std::optional<Site> site = readSite(error);
    QVERIFY2(site, qPrintable(error));
    QVERIFY2(complaints.contains(says), qPrintable(complaints));
    QCOMPARE(site->pages.size(), 2);
    QCOMPARE(site->pages.at(1).path(), u"x/index.html"_s);
}

/// A page that is wrong between two good ones, which stay.
void SiteReaderTest::leavesBadPagesOut_data()
{
    QTest::addColumn<QByteArray>("pages");
    QTest::addColumn<QString>("says");
    QTest::addColumn<QString>("left");
    const auto row = [](const char *name, const QByteArray &pages, const char *says, const char *left = "") {
        QTest::newRow(name) << pages << QString::fromUtf8(says) << QString::fromUtf8(left);
    };
    row("no object", json("7"), "pages[1] should be an object");
    row("no ID", json("{'plugin': 'p'}"), "pages[1].id should be");
    row("an ID that is a number", json("{'id': 3, 'plugin': 'p'}"), "pages[1].id should be a string");
    row("an ID with a slash", json("{'id': 'a/b', 'plugin': 'p'}"), "pages[1].id should be");
    row("an ID with NUL", json("{'id': 'a\\u0000', 'plugin': 'p'}"), "pages[1].id should be");
    row("the ID of another", json("{'id': 'home', 'plugin': 'p', 'folder': 'x'}"),
        "pages[1].id is another page's");
    row("a page that is left out has no place",
        json("{'id': 'home', 'plugin': 'p', 'title': 'x'}, {'id': 'x', 'plugin': 'p'}"), "pages[1].id",
        "x:x/index.html ");
    row("no plug-in", json("{'id': 'x'}"), "pages[1].plugin is needed");
    row("unknown key", json("{'id': 'x', 'plugin': 'p', 'colour': 1}"), "pages[1].colour is no key",
        "x:x/index.html ");
    const auto folder = [&](const char *name, const QByteArray &value,
                            const char *says = "pages[1].folder is no safe name") {
        row(name, json("{'id': 'x', 'plugin': 'p', 'folder': '") + value + "\"}", says);
    };
    folder("folder ..", "..");
    folder("folder with a way out", "../x");
    folder("folder in a folder", "a/b");
    folder("hidden folder", ".qf");
    folder("folder with NUL", "a\\u0000b");
    folder("folder of 300", QByteArray(300, 'a'));
    folder("folder of the theme", "theme", "pages[1].folder puts the page where");
    folder("folder of assets in capitals", "ASSETS", "pages[1].folder puts the page where");
    folder("folder of the home page's files", "index_files", "pages[1].folder puts the page where");
    folder("folder of the home page", "", "(\"index.html\")");
    row("filename", json("{'id': 'x', 'plugin': 'p', 'filename': ''}"), "pages[1].filename is no safe name");
    row("extension", json("{'id': 'x', 'plugin': 'p', 'extension': '/etc'}"),
        "pages[1].extension is no safe name");
    row("capitals only", json("{'id': 'x', 'plugin': 'p'}, {'id': 'y', 'plugin': 'p', 'folder': 'X'}"),
        "pages[2].folder puts the page where", "x:x/index.html ");
    row("files folder over a folder",
        json("{'id': 'x', 'plugin': 'p', 'folder': 'a_files'}, {'id': 'y', 'plugin': 'p', 'folder': '', "
             "'filename': 'a'}"),
        "pages[2].folder puts", "x:a_files/index.html ");
    row("file where a folder is",
        json("{'id': 'x', 'plugin': 'p'}, {'id': 'y', 'plugin': 'p', 'folder': '', 'filename': 'x', "
             "'extension': ''}"),
        "pages[2].folder puts", "x:x/index.html ");
    row("children of a page left out",
        json("{'title': 'x', 'plugin': 'p', 'children': [{'id': 'y', 'plugin': 'p'}]}"), "pages[1].id",
        "y:x/y/index.html ");
    row("a title that is no name", json("{'id': 'x', 'title': '...', 'plugin': 'p'}"), "", "x:x/index.html ");
    row("a hidden title", json("{'id': 'x', 'title': '.NET', 'plugin': 'p'}"), "", "x:net/index.html ");
    row("settings of nobody", json("{'id': 'x', 'plugin': 'p', 'settingsFrom': 'z'}"),
        "pages[1].settingsFrom should name", "x:x/index.html ");
    row("settings of another plug-in", json("{'id': 'x', 'plugin': 'q', 'settingsFrom': 'home'}"),
        "pages[1].settingsFrom should name", "x:x/index.html ");
    row("settings in a circle",
        json("{'id': 'x', 'plugin': 'p', 'settingsFrom': 'y'}, {'id': 'y', 'plugin': 'p', 'settingsFrom': "
             "'x'}"),
        "pages[1].settingsFrom goes round", "x:x/index.html y<x:y/index.html ");
    row("settings of a page whose own are of nobody",
        json("{'id': 'x', 'plugin': 'p', 'settingsFrom': 'y'}, {'id': 'y', 'plugin': 'p', 'settingsFrom': "
             "'z'}"),
        "pages[2].settingsFrom should name", "x<y:x/index.html y:y/index.html ");
    row("css outside", json("{'id': 'x', 'plugin': 'p', 'css': '../secret.css'}"),
        "pages[1].css names no file", "x:x/index.html ");
    row("script by a link that leads out", json("{'id': 'x', 'plugin': 'p', 'script': 'way-out.css'}"),
        "pages[1].script names no file", "x:x/index.html ");
    row("header that is a folder", json("{'id': 'x', 'plugin': 'p', 'header': 'theme'}"),
        "pages[1].header names no file", "x:x/index.html ");
    row("image format", json("{'id': 'x', 'plugin': 'p', 'imageFormat': 'BMP'}"),
        "pages[1].imageFormat should be JPEG", "x:x/index.html ");
    QByteArray deep;
    for (int i = 0; i < 40; ++i)
        deep += "{\"id\": \"d" + QByteArray::number(i) + "\", \"external\": \"e:\", \"children\": [";
    row("40 levels", deep.chopped(1) + "[]" + QByteArray("}]").repeated(39) + '}',
        "children[0].children are nested too deeply");
}

void SiteReaderTest::leavesBadPagesOut()
{
    QFETCH(QByteArray, pages);
    QFETCH(QString, says);
    QFETCH(QString, left);
    maker.write(u"secret.css"_s, "b{}");
    maker.write(u"site/theme/theme.json"_s, "{}");
    QFile::link(maker.path(u"secret.css"_s), maker.site() + u"/way-out.css"_s);
    maker.writePages(json("{'id': 'home', 'plugin': 'p'}, ") + pages +
                     json(", {'id': 'last', 'plugin': 'p'}"));
    QString error;
    const std::optional<Site> site = readSite(error);
    QVERIFY2(site, qPrintable(error));
    QVERIFY2(complaints.contains(says), qPrintable(complaints));
    QVERIFY2(complaints.count(u'\n') <= 1, qPrintable(complaints));
    QString found;
    for (const SitePage &page : site->pages) {
        if (!page.isExternal())
            found += page.id + (page.settingsFrom.isNull() ? QString() : u'<' + page.settingsFrom) + u':' +
                     page.path() + u' ';
    }
    QCOMPARE(found, u"home:index.html "_s + left + u"last:last/index.html "_s);
}

void SiteReaderTest::readsThemes_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("says");
    const auto row = [](const char *name, const char *text, const QString &says) {
        QTest::newRow(name) << json(text) << says;
    };
    row("all",
        "{'name': 'N', 'styles': ['A', 'B'], 'variations': [{'Name': 'V', 'Type': 'Stylesheet', 'Files': "
        "['v']}]}",
        {});
    row("styles by name", "{'styles': {}}", u"theme.json: styles should be a list"_s);
    row("numbers for names", "{'colourTagFiles': [1]}",
        u"theme.json: colourTagFiles should hold strings only"_s);
    row("mode", "{'styleVariationMode': '1'}", u"theme.json: styleVariationMode should be a number"_s);
    row("huge mode", "{'styleVariationMode': 1e300}", u"theme.json: styleVariationMode is too large"_s);
    row("variation", "{'variations': [3]}", u"theme.json: variations[0].Type should be Stylesheet"_s);
    row("template outside", "{'template': '../../secret.css'}", u"ERROR template names no file"_s);
    row("template that is a folder", "{'template': '.'}", u"ERROR template names no file"_s);
    row("template that is binary", "{'template': 'binary'}", u"ERROR is not UTF-8"_s);
    row("no theme", "[]", u"ERROR is no JSON object"_s);
}

void SiteReaderTest::readsThemes()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, says);
    maker.write(u"site/theme/theme.json"_s, text);
    maker.write(u"site/theme/template.html"_s, "%content%");
    maker.write(u"site/theme/binary"_s, "\xff\xfe\x80");
    QFReport report;
    const QFReport::Installed collecting(report);
    QString error;
    const std::optional<SiteTheme> theme = SiteTheme::read(maker.site() + u"/theme"_s, error);
    if (says.startsWith(u"ERROR ")) {
        QVERIFY(!theme);
        QVERIFY2(error.contains(says.mid(6)), qPrintable(error));
        return;
    }
    QVERIFY2(theme, qPrintable(error));
    QCOMPARE(theme->pageTemplate, u"%content%"_s);
    QVERIFY2(messagesOf(report.records()).contains(says), qPrintable(messagesOf(report.records())));
    QCOMPARE(report.records().isEmpty(), says.isEmpty());
}

QTEST_APPLESS_MAIN(SiteReaderTest)
#include "SiteReaderTest.moc"
