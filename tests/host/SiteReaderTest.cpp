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
    maker.write(u"site/site.json"_s, json(uR"({
        'title': 'T', 'language': 'de', 'baseURL': 'https://h/g', 'style': 'Dusk', 'variations': ['Wide'],
        'index': 'index.htm', 'footer': '<p>', 'normaliseImages': true, 'pages': [
            {'id': 'home', 'plugin': 'p'},
            {'id': 'a', 'title': 'Über uns', 'plugin': 'p', 'css': 'pages/look.css', 'style': 'Dawn', 'variations': [],
             'hidden': true, 'imageFormat': 'PNG', 'children': [
                {'id': 'far', 'external': 'https://f/', 'children': [{'id': 'b', 'plugin': 'p', 'settingsFrom': 'a'}]},
                {'id': 'c', 'plugin': 'p', 'folder': '', 'filename': 'c', 'extension': ''}]}]})"_s));
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
    addRows({"text", "says"}, uR"(
nothing       |                | site.json: line 1
no JSON       | {'pages': [}   | site.json: line 1, column 1
a list        | []             | site.json: is no JSON object
no pages      | {}             | site.json: pages should be a list
pages by name | {'pages': {}}  | site.json: pages should be a list
)"_s);
    QTest::newRow("a deep nest") << QString(100000, u'[') << u"site.json: line 1"_s;
}

void SiteReaderTest::refusesWhatIsNoSite()
{
    QFETCH(QString, text);
    QFETCH(QString, says);
    maker.write(u"site/site.json"_s, json(text));
    QString error;
    QVERIFY(!readSite(error));
    QVERIFY2(error.contains(says), qPrintable(error));
}

void SiteReaderTest::passesOverWrongTypes_data()
{
    addRows({"site", "page", "says"}, uR"(
title           | 'title': [1]            | | title should be a string
theme           | 'theme': {}             | | theme should be a string
theme outside   | 'theme': '..'           | | theme names no folder of the site
normaliseImages | 'normaliseImages': 'x'  | | normaliseImages should be true or false
variations      | 'variations': 'Wide'    | | variations should be a list
css             | | 'css': 1              | pages[1].css should be a string
settings        | | 'settings': []        | pages[1].settings should be an object
hidden          | | 'hidden': 1           | pages[1].hidden should be true or false
children        | | 'children': {}        | pages[1].children should be a list
unknown key     | | 'colour': 1           | pages[1].colour is no key
)"_s);
}

void SiteReaderTest::passesOverWrongTypes()
{
    QFETCH(QString, site);
    QFETCH(QString, page);
    QFETCH(QString, says);
    const auto entry = [](const QString &text) { return text.isEmpty() ? text : u", "_s + text; };
    maker.write(u"site/site.json"_s, json(u"{'pages': [{'id': 'home', *}, {'id': 'x', *"_s + entry(page) +
                                          u"}]"_s + entry(site) + u'}'));
    QString error;
    const std::optional<Site> read = readSite(error);
    QVERIFY2(read, qPrintable(error));
    QVERIFY2(complaints.contains(u"site.json: "_s + says), qPrintable(complaints));
    QCOMPARE(read->pages.size(), 2);
    QCOMPARE(read->pages.at(1).path(), u"x/index.html"_s);
}

QString nested(int levels)
{
    return levels == 0 ? QString()
                       : u"{'id': 'd%d', 'external': 'e:', 'children': ["_s.replace(u"%d"_s,
                                                                                    QString::number(levels)) +
                             nested(levels - 1) + u"]}"_s;
}

/// A page that is wrong between two good ones, which stay.
void SiteReaderTest::leavesBadPagesOut_data()
{
    addRows({"pages", "says", "left"}, uR"(
no object             | 7                                         | pages[1] should be an object
no ID                 | {*}                                       | pages[1].id should be a text
an ID with a slash    | {'id': 'a/b', *}                          | pages[1].id should be a text
the ID of another     | {'id': 'home', *, 'folder': 'x'}          | pages[1].id is another page's
what is left out has no place | {'id': 'home', *, 'title': 'x'}, {'id': 'x', *} | pages[1].id | x:x/index.html
no plug-in            | {'id': 'x'}                               | pages[1].plugin is needed
folder ..             | {'id': 'x', *, 'folder': '..'}            | pages[1].folder is no safe name
folder with a way out | {'id': 'x', *, 'folder': '../x'}          | pages[1].folder is no safe name
hidden folder         | {'id': 'x', *, 'folder': '.qf'}           | pages[1].folder is no safe name
folder with NUL       | {'id': 'x', *, 'folder': 'a\u0000b'}      | pages[1].folder is no safe name
assets in capitals    | {'id': 'x', *, 'folder': 'ASSETS'}        | pages[1].folder puts the page where
folder of home's files| {'id': 'x', *, 'folder': 'index_files'}   | pages[1].folder puts the page where
folder of home        | {'id': 'x', *, 'folder': ''}              | ("index.html")
no filename           | {'id': 'x', *, 'filename': ''}            | pages[1].filename is no safe name
capitals only         | {'id': 'x', *}, {'id': 'y', *, 'folder': 'X'} | pages[2].folder puts | x:x/index.html
files over a folder   | {'id': 'x', *, 'folder': 'a_files'}, {'id': 'y', *, 'folder': '', 'filename': 'a'} | pages[2].folder puts | x:a_files/index.html
file over a folder    | {'id': 'x', *}, {'id': 'y', *, 'folder': '', 'filename': 'x', 'extension': ''} | pages[2].folder puts | x:x/index.html
children stay         | {'title': 'x', *, 'children': [{'id': 'y', *}]} | pages[1].id         | y:x/y/index.html
title that is no name | {'id': 'x', 'title': '...', *}            |                           | x:x/index.html
hidden title          | {'id': 'x', 'title': '.NET', *}           |                           | x:net/index.html
settings of nobody    | {'id': 'x', *, 'settingsFrom': 'z'}       | pages[1].settingsFrom should name | x:x/index.html
in a circle           | {'id': 'x', *, 'settingsFrom': 'y'}, {'id': 'y', *, 'settingsFrom': 'x'} | pages[1].settingsFrom goes round | x:x/index.html y<x:y/index.html
a source without one  | {'id': 'x', *, 'settingsFrom': 'y'}, {'id': 'y', *, 'settingsFrom': 'z'} | pages[2].settingsFrom should name | x<y:x/index.html y:y/index.html
css outside           | {'id': 'x', *, 'css': '../secret.css'}    | pages[1].css names no file | x:x/index.html
script by a link out  | {'id': 'x', *, 'script': 'way-out.css'}   | pages[1].script names no file | x:x/index.html
)"_s);
    QTest::newRow("folder of 300") << u"{'id': 'x', *, 'folder': '"_s + QString(300, u'a') + u"'}"_s
                                   << u"is no safe name"_s << u""_s;
    QTest::newRow("40 levels") << nested(40) << u"children[0].children are nested too deeply"_s << u""_s;
}

void SiteReaderTest::leavesBadPagesOut()
{
    QFETCH(QString, pages);
    QFETCH(QString, says);
    QFETCH(QString, left);
    maker.write(u"secret.css"_s, "b{}");
    maker.write(u"site/theme/theme.json"_s, "{}");
    QFile::link(maker.path(u"secret.css"_s), maker.site() + u"/way-out.css"_s);
    maker.writePages(u"{'id': 'home', *}, "_s + pages + u", {'id': 'last', *}"_s);
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
    QCOMPARE(found,
             u"home:index.html "_s + (left.isEmpty() ? left : left + u' ') + u"last:last/index.html "_s);
}

void SiteReaderTest::readsThemes_data()
{
    addRows({"text", "says"}, uR"(
all                   | {'name': 'N', 'styles': ['A'], 'variations': [{'Name': 'V', 'Type': 'Stylesheet', 'Files': ['v']}]} |
numbers for names     | {'colourTagFiles': [1]}        | theme.json: colourTagFiles should hold strings only
huge mode             | {'styleVariationMode': 1e300}  | theme.json: styleVariationMode is too large
variation             | {'variations': [3]}            | theme.json: variations[0].Type should be Stylesheet
template outside      | {'template': '../../secret.css'} | ERROR template names no file
template, binary      | {'template': 'binary'}         | ERROR is not UTF-8
no theme              | []                             | ERROR is no JSON object
)"_s);
}

void SiteReaderTest::readsThemes()
{
    QFETCH(QString, text);
    QFETCH(QString, says);
    maker.write(u"site/theme/theme.json"_s, json(text));
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
