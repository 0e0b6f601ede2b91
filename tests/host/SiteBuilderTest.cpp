#include "host/build/SiteBuilder.h"
#include "host/build/FileStamp.h"
#include "host/plugins/PluginModules.h"
#include "tests/host/SiteMaker.h"

#include <QLockFile>
#include <QTest>
#include <QThread>

#include <functional>
#include <optional>

using namespace Qt::StringLiterals;

class SiteBuilderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void fillsTheTemplate();
    void givesAllParameters_data();
    void givesAllParameters();
    void linksThemeFilesAtEachDepth();
    void survivesBadPlugins_data();
    void survivesBadPlugins();
    void publishesExtraFiles_data();
    void publishesExtraFiles();
    void sharesPathsInOrder();
    void publishesFilesOfKinds();
    void leavesTheUnchangedAlone();
    void makesAnewWhatHasChanged_data();
    void makesAnewWhatHasChanged();
    void dependsOnNoOrder();
    void keepsFilesOfPagesThatFail();
    void findsAndPrunesOrphans();
    void refusesOutputFolders_data();
    void refusesOutputFolders();
    void followsNoLinksInTheOutput();
    void reportsWhatStandsInTheWay();
    void keepsWhatACancelledBuildDidNotReach();

private:
    BuildResult build(
        const std::function<void(BuildRequest &)> &change = [](auto &) {}, const BuildEvents &events = {});
    /// The pages that were made anew, told by their files' being there again.
    [[nodiscard]] QByteArray page(const QString &name) const { return maker->read(u"out/"_s + name); }

    std::optional<SiteMaker> maker;
    PluginModules modules{QStringList(QStringLiteral(QF_TEST_PLUGINS))};
};

void SiteBuilderTest::init()
{
    qunsetenv("QF_TEST_SHARED_FILES");
    maker.emplace();
    maker->write(u"site/theme/theme.json"_s,
                 json("{'styles': ['Dawn', 'Dusk'], 'colourTagFiles': ['c.css'],"
                      "'variations': [{'Name': 'Wide', 'Type': 'Stylesheet', 'Files': ['w.css']}]}"));
    maker->write(u"site/theme/template.html"_s, "%title%|%content%|%dump%");
    maker->write(u"site/theme/styles.css"_s, "body {}");
}

BuildResult SiteBuilderTest::build(const std::function<void(BuildRequest &)> &change,
                                   const BuildEvents &events)
{
    BuildRequest request;
    request.site = maker->site();
    request.output = maker->output();
    request.jobs = 0;
    change(request);
    return SiteBuilder::build(request, modules, events);
}

void SiteBuilderTest::fillsTheTemplate()
{
    maker->write(u"site/theme/template.html"_s,
                 "%title%;%site_title%;%content%;%sidebar%;%plugin_header%;%navigation%;%breadcrumb%;%"
                 "previous%;%next%;%home%;"
                 "%theme_path%;%style%;%page_id%;%option:o%;%option:none%;%footer%;%unknown%;100%");
    maker->write(u"site/site.json"_s, json(R"({'title': 'S<', 'footer': '<f>', 'pages': [
        {'id': 'home', 'title': 'H&', 'plugin': 'com.example.test-page'},
        {'id': 'far', 'title': 'F', 'external': 'https://f/?a&b'},
        {'id': 'a', 'title': 'A', 'plugin': 'com.example.test-page', 'style': 'Dusk', 'themeOptions': {'o': '<o>'}, 'children': [
            {'id': 'b', 'title': 'B', 'plugin': 'com.example.test-page', 'style': 'Dusk', 'themeOptions': {'o': 7},
             'settings': {'text': '%title%', 'does': {'sidebarHTML': '%content%', 'pageContentHeaders': '<meta>', 'pageContentPrefix': 'first;'}}}]},
        {'id': 'h', 'title': 'Hidden', 'plugin': 'com.example.test-page', 'hidden': true}]})"));
    const BuildResult result = build();
    QCOMPARE(messagesOf(result.records), QString());
    QCOMPARE(page(u"a/b/index.html"_s),
             QByteArray(
                 "first;B;S&lt;;%title%;%content%;<meta>;<ul><li><a href=\"../../index.html\">H&amp;</a></li>"
                 "<li class=\"external\"><a href=\"https://f/?a&amp;b\">F</a></li>"
                 "<li class=\"open\"><a href=\"../index.html\">A</a><ul><li class=\"current\">"
                 "<a aria-current=\"page\" href=\"index.html\">B</a></li></ul></li></ul>;"
                 "<span><a href=\"../../index.html\">H&amp;</a></span><span><a "
                 "href=\"../index.html\">A</a></span>;"
                 "<a rel=\"prev\" "
                 "href=\"../index.html\">A</a>;;../../index.html;../../theme/;dusk;b;7;;<f>;%unknown%;100%"));
}

void SiteBuilderTest::givesAllParameters_data()
{
    QTest::addColumn<BuildMode>("mode");
    QTest::addColumn<QByteArray>("common");
    QTest::newRow("export") << BuildMode::Export
                            << json("'commonpathsabsolute':false,'commonpathsrelative':true,"
                                    "'mode':'export','plugincommonpath':'plugins/"
                                    "com.example.test-page','themecommonpath':'theme'");
    QTest::newRow("publish") << BuildMode::Publish
                             << json("'commonpathsabsolute':true,'commonpathsrelative':false,"
                                     "'mode':'publish','plugincommonpath':'/g/plugins/"
                                     "com.example.test-page','themecommonpath':'/g/theme'");
    QTest::newRow("preview") << BuildMode::Preview
                             << json("'commonpathsabsolute':true,'commonpathsrelative':false,"
                                     "'mode':'preview','plugincommonpath':'/plugins/"
                                     "com.example.test-page','themecommonpath':'/theme'");
}

void SiteBuilderTest::givesAllParameters()
{
    QFETCH(BuildMode, mode);
    QFETCH(QByteArray, common);
    maker->write(u"site/a.js"_s, "f()");
    maker->write(u"site/site.json"_s, json(R"({'baseURL': 'https://h/g', 'index': 'start.html', 'pages': [
        {'id': 'home', 'plugin': 'com.example.test-page'},
        {'id': 'a', 'title': 'A', 'plugin': 'com.example.test-page', 'filename': 'x', 'imageQuality': 'Low', 'script': 'a.js',
         'style': 'Dusk', 'variations': ['Wide'], 'settings': {'extras': [{'name': 's', 'substitutions': {'content': 'sub'}}]}}]})"));
    const BuildResult result = build([&](BuildRequest &request) { request.mode = mode; });
    QCOMPARE(messagesOf(result.records), QString());
    const auto paramsOf = [&](const QString &name) {
        return QJsonDocument::fromJson(page(name).split('|').value(2)).object();
    };
    QJsonObject params = paramsOf(u"a/x.html"_s);
    QVERIFY(params.take(u"location"_s).toString().startsWith(maker->output() + u"/.qf/"_s));
    QJsonObject expected =
        QJsonDocument::fromJson(json(R"({'FilenameExt': 'html', 'assetsfoldername': '../assets',
        'attributes': {'externalPageAssets': [], 'filenameExt': 'html', 'imageQuality': 'Low'}, 'base': 'https://h/g',
        'contentonlysubpages': true, 'customcss': '', 'customheader': '', 'customjavascript': 'f()', 'depth': 1,
        'filesfoldername': 'x_files', 'imagesfoldername': 'x_files', 'index': 'start.html', 'name': 'x.html',
        'path': 'a/x.html', 'stylename': 'Dusk', 'stylevariationmode': 0, 'subpage': false, 'theme': 'HostTheme',
        'title': 'A', 'variations': [{'Files': ['w.css'], 'Name': 'Wide', 'Type': 'Stylesheet'}], )") +
                                common + '}')
            .object();
    QCOMPARE(QJsonDocument(params).toJson(), QJsonDocument(expected).toJson());
    const QJsonObject ofSubpage = paramsOf(u"a/x_files/s.html"_s);
    QCOMPARE(ofSubpage.value(u"subpage"_s), QJsonValue(true));
    QCOMPARE(ofSubpage.value(u"depth"_s), QJsonValue(2));
}

void SiteBuilderTest::linksThemeFilesAtEachDepth()
{
    maker->write(u"site/theme/template.html"_s, "%plugin_page_style_sheets%");
    maker->write(u"site/a.css"_s, "b{}");
    maker->write(
        u"site/site.json"_s,
        json(R"({'baseURL': 'https://h/g/', 'style': 'Dusk', 'variations': ['Wide', 'None'], 'pages': [
        {'id': 'home', 'plugin': 'com.example.test-page', 'css': 'a.css', 'children': [{'id': 'a', 'plugin': 'com.example.test-page',
         'children': [{'id': 'b', 'plugin': 'com.example.test-page'}]}]}]})"));
    const BuildResult result = build();
    QVERIFY2(messagesOf(result.records).contains(u"home|the theme has no variation None"),
             qPrintable(messagesOf(result.records)));
    QString css = u"<link rel=\"stylesheet\" type=\"text/css\" href=\"%1\" />"_s;
    for (const auto &[file, up] : {std::pair(u"index.html"_s, u""_s),
                                   {u"a/index.html"_s, u"../"_s},
                                   {u"a/b/index.html"_s, u"../../"_s}}) {
        const QString html = QString::fromUtf8(page(file));
        for (const QString &sheet : {u"styles.css"_s, u"c-dusk.css"_s, u"w.css"_s}) {
            QCOMPARE(html.count(css.arg(up + u"theme/"_s + sheet)), 1);
            QCOMPARE(html.count(sheet), 1);
        }
    }
    QVERIFY(page(u"index.html"_s).endsWith("<style type=\"text/css\" media=\"all\">b{}</style>"));
    static_cast<void>(build([](BuildRequest &request) { request.mode = BuildMode::Publish; }));
    for (const QString &sheet : {u"styles.css"_s, u"c-dusk.css"_s, u"w.css"_s})
        QCOMPARE(QString::fromUtf8(page(u"a/b/index.html"_s)).count(css.arg(u"/g/theme/"_s + sheet)), 1);
}

void SiteBuilderTest::survivesBadPlugins_data()
{
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<QString>("says");
    QTest::addColumn<bool>("isMade");
    const auto row = [](const char *settings, const char *says, bool isMade) {
        QTest::newRow(settings) << json(settings) << u"bad|"_s + QString::fromLatin1(says) << isMade;
    };
    for (const char *what : {"throw", "throw int"}) {
        for (const char *operation : {"contentHTML", "sidebarHTML", "pageContentHeaders",
                                      "extraFilesNeededInExportFolder", "updatePageTemplate"}) {
            const QByteArray settings = QByteArray("'does': {'") + operation + "': '" + what + "'}";
            const QByteArray says = QByteArray("the plug-in threw an exception in ") + operation;
            row(settings.constData(), says.constData(), operation != QByteArray("contentHTML"));
        }
    }
    row("'does': {'pageContentPrefix': 'throw'}", "The answer to 'pageContentPrefix' threw", true);
    for (const char *operation :
         {"contentHTML", "sidebarHTML", "pageContentHeaders", "pageContentPrefix", "updatePageTemplate"}) {
        const QByteArray settings = QByteArray("'does': {'") + operation + "': 'die'}";
        row(settings.constData(), "the plug-in destroyed itself", false);
    }
    row("'does': {'contentHTML': 7}", "the plug-in answered something that is no text for contentHTML",
        false);
    row("'does': {'sidebarHTML': []}", "the plug-in answered something that is no text for sidebarHTML",
        true);
    row("'does': {'pageContentPrefix': {}}",
        "the plug-in answered something that is no text for pageContentPrefix", true);
    row("'does': {'extraFilesNeededInExportFolder': 'x'}", "the plug-in's list of extra files is no list",
        true);
    row("'does': {'extraFilesNeededInExportFolder': {}}", "the plug-in's list of extra files is no list",
        true);
    row("'does': {'filesReadForExport': 7}", "", true);
    row("'deadly': 'x'", "the plug-in destroyed itself", false);
    row("'does': 7", "Error applying plugin settings", true);
    row("'links': {'l': '/etc/passwd', 'd': '/etc'}", "a link or device is not published|bad/index_files/d",
        true);
}

void SiteBuilderTest::survivesBadPlugins()
{
    QFETCH(QByteArray, settings);
    QFETCH(QString, says);
    QFETCH(bool, isMade);
    maker->writePages(
        json("{'id': 'home', 'plugin': 'com.example.test-page'}, {'id': 'bad', 'plugin': "
             "'com.example.test-telling-page', 'settings': {") +
        settings +
        json("}}, {'id': 'last', 'plugin': 'com.example.test-page', 'settings': {'text': 'last'}}"));
    const BuildResult result = build();
    QVERIFY2(result.error.isNull(), qPrintable(result.error));
    const QString messages = messagesOf(result.records);
    QVERIFY2(says == u"bad|" || messages.contains(says), qPrintable(messages));
    QCOMPARE(result.failed, isMade ? 0 : 1);
    QCOMPARE(result.made, isMade ? 3 : 2);
    QCOMPARE(maker->files(u"out"_s).keys(),
             QStringList(isMade ? QStringList(u"bad/index.html"_s) : QStringList()) +
                 QStringList({u"index.html"_s, u"last/index.html"_s, u"theme/styles.css"_s}));
    QVERIFY(page(u"last/index.html"_s).startsWith("last|last|"));
    QCOMPARE(QDir(maker->path({})).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList({u"out"_s, u"site"_s}));
}

void SiteBuilderTest::publishesExtraFiles_data()
{
    QTest::addColumn<QByteArray>("extras");
    QTest::addColumn<QString>("path"); ///< of the file that comes of it; nil for none
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("says");
    const auto row = [](const char *name, const char *extras, const QString &path, const char *bytes,
                        const char *says = "") {
        QTest::newRow(name) << json(extras) << path << QByteArray(bytes) << QString::fromLatin1(says);
    };
    row("page", "{'name': 's', 'entirehtml': 'h'}", u"a/index_files/s.html"_s, "h");
    row("data", "{'name': 's.xml', 'data': 'd'}", u"a/index_files/s.xml"_s, "d");
    row("elsewhere", "{'name': 's', 'data': 'd', 'destination': 'deep/er/s.xml'}", u"a/deep/er/s.xml"_s, "d");
    row("in a folder elsewhere", "{'name': 's.xml', 'data': 'd', 'destination': 'deep/'}", u"a/deep/s.xml"_s,
        "d");
    row("up", "{'name': 's', 'data': 'd', 'destination': '../feed.xml'}", u"feed.xml"_s, "d");
    row("from the root", "{'name': 's', 'data': 'd', 'destination': '/feed.xml'}", u"feed.xml"_s, "d");
    row("in the folder of files", "{'name': 's', 'data': 'd', 'destination': 'index_files/s.xml'}",
        u"a/index_files/s.xml"_s, "d");
    row("copy", "'pages/copied.txt'", u"a/index_files/copied.txt"_s, "copied");
    row("copy of nothing", "'pages/none.txt'", {}, "", "there is no such file to be copied");
    row("copy of a folder", "'pages'", {}, "", "there is no such file to be copied");
    row("out of the site", "{'name': 's', 'data': 'd', 'destination': '../../s.xml'}", {}, "",
        "destination lies outside");
    row("into the builder's folder", "{'name': 's', 'data': 'd', 'destination': '/.QF/lock'}", {}, "",
        "destination lies outside");
    row("NUL in a destination", "{'name': 's', 'data': 'd', 'destination': 'a\\u0000b'}", {}, "",
        "destination lies outside");
    row("over a page", "{'name': 's', 'data': 'd', 'destination': '../index.html'}", {}, "",
        "another page's file lies there already");
    row("over a page in capitals", "{'name': 's', 'data': 'd', 'destination': '../INDEX.html'}", {}, "",
        "another page's file lies there already");
    row("in another page's folder", "{'name': 's', 'data': 'd', 'destination': '/index_files/s'}", {}, "",
        "another page's file lies there already");
    row("among theme files", "{'name': 's', 'data': 'd', 'destination': '/theme/s.css'}", {}, "",
        "another page's file lies there already");
    row("where a folder is", "{'name': 's', 'data': 'd', 'destination': '/a'}", {}, "",
        "another page's file lies there already");
    row("name with a way out", "{'name': '../s', 'data': 'd'}", {}, "", "a subpage has no safe name");
    row("no name", "{'data': 'd'}", {}, "", "a subpage has no safe name");
    row("no content", "{'name': 's'}", {}, "", "a subpage has no content");
    row("content of another type", "{'name': 's', 'substitutions': 7}", {}, "", "a subpage has no content");
    row("data of another type", "{'name': 's', 'contentdata': 7}", {}, "", "a subpage has no content");
    row("number", "7", {}, "", "a subpage has no content");
    row("two of a name", "{'name': 's', 'entirehtml': 'h'}, {'name': 'S.html', 'entirehtml': 'i'}",
        u"a/index_files/s.html"_s, "h", "left out");
    row("two ways to a name",
        "{'name': 's.xml', 'data': 'd'}, {'name': 's', 'data': 'e', 'destination': 'index_files/s.xml'}",
        u"a/index_files/s.xml"_s, "d", "left out");
    row("name of a file of the page", "{'name': 'w.txt', 'data': 'd'}", {}, "",
        "has the name of an extra file");
}

void SiteBuilderTest::publishesExtraFiles()
{
    QFETCH(QByteArray, extras);
    QFETCH(QString, path);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, says);
    maker->write(u"site/pages/copied.txt"_s, "copied");
    maker->writePages(json("{'id': 'home', 'plugin': 'com.example.test-page'}, {'id': 'a', 'plugin': "
                           "'com.example.test-page',"
                           "'settings': {'files': {'w.txt': 'w'}, 'extras': [") +
                      extras + "]}}");
    const BuildResult result = build();
    QCOMPARE(result.failed, 0);
    QCOMPARE(result.records.size(), says.isEmpty() ? 0 : 1);
    QVERIFY2(messagesOf(result.records).contains(says), qPrintable(messagesOf(result.records)));
    QMap<QString, QByteArray> files = maker->files(u"out"_s);
    if (!path.isNull())
        QCOMPARE(files.take(path), bytes);
    QCOMPARE(files.keys(), QStringList({u"a/index.html"_s, u"a/index_files/w.txt"_s, u"index.html"_s,
                                        u"theme/styles.css"_s}));
    QCOMPARE(result.files, files.size() + (path.isNull() ? 0 : 1));
}

void SiteBuilderTest::sharesPathsInOrder()
{
    const auto pageWith = [](const char *id, const char *data) {
        return json("{'id': '") + id +
               json("', 'plugin': 'com.example.test-telling-page', 'settings': {'extras': [{'name': 'f', "
                    "'data': '") +
               data + json("', 'destination': '/feed.xml'}]}}");
    };
    maker->writePages(pageWith("home", "1") + ',' + pageWith("b", "2"));
    BuildResult result = build();
    QCOMPARE(page(u"feed.xml"_s), QByteArray("1"));
    QVERIFY2(messagesOf(result.records).startsWith(u"b|another page's file lies there already: feed.xml"),
             qPrintable(messagesOf(result.records)));
    result = build();
    QCOMPARE(page(u"feed.xml"_s), QByteArray("1"));
    QCOMPARE(result.records.size(), 1);
    maker->writePages(json("{'id': 'home', 'plugin': 'com.example.test-telling-page'},") +
                      pageWith("b", "2"));
    result = build();
    QCOMPARE(page(u"feed.xml"_s), QByteArray("2"));
    QCOMPARE(result.records.size() + result.orphans.size(), 0);
}

void SiteBuilderTest::publishesFilesOfKinds()
{
    maker->writePages(json("{'id': 'home', 'plugin': 'com.example.test-page'}"));
    qputenv(
        "QF_TEST_SHARED_FILES",
        json("[{'name': 'k.css', 'data': 'k'}, {'name': 'r', 'data': 'r', 'destination': '../../robots.txt'},"
             "{'name': 'x', 'data': 'x', 'destination': '../other/x'}]"));
    BuildResult result = build();
    QCOMPARE(page(u"plugins/com.example.test-page/k.css"_s), QByteArray("k"));
    QCOMPARE(page(u"robots.txt"_s), QByteArray("r"));
    QCOMPARE(messagesOf(result.records), u"|another page's file lies there already: plugins/other/x|"_s);
    qputenv("QF_TEST_SHARED_FILES", "throw");
    result = build([](BuildRequest &request) { request.prune = true; });
    QVERIFY(!result.isWhole);
    QVERIFY(messagesOf(result.records).contains(u"exception in extraFilesNeededInExportFolder"));
    QCOMPARE(page(u"plugins/com.example.test-page/k.css"_s), QByteArray("k"));
    QCOMPARE(page(u"robots.txt"_s), QByteArray("r"));
}

/// A site whose pages all tell what they read.
static void writeTellingSite(const SiteMaker &maker)
{
    maker.write(u"site/pages/a.txt"_s, "of a");
    maker.write(u"site/pages/a.css"_s, "b{}");
    maker.write(u"site/preferences/com.example.plist"_s, "<plist><dict/></plist>");
    maker.write(u"site/assets/x.pdf"_s, "%PDF");
    maker.writePages(
        json(R"({'id': 'home', 'plugin': 'com.example.test-telling-page', 'settings': {'asks': 'a'}},
        {'id': 'a', 'plugin': 'com.example.test-telling-page', 'css': 'pages/a.css', 'settings': {'source': 'pages/a.txt', 'files': {'w': 'w'},
         'extras': [{'name': 's', 'substitutions': {'content': 's'}}]}},
        {'id': 'b', 'plugin': 'com.example.test-telling-page', 'settingsFrom': 'c'},
        {'id': 'c', 'plugin': 'com.example.test-telling-page', 'settings': {'text': 'of c'}})"));
    QThread::msleep(30); // what is younger than a clock's step is not trusted
}

void SiteBuilderTest::leavesTheUnchangedAlone()
{
    writeTellingSite(*maker);
    maker->write(u"other/nothing"_s, "");
    BuildResult result = build();
    QCOMPARE(messagesOf(result.records), QString());
    QCOMPARE(result.made, 4);
    QCOMPARE(result.written, result.files);
    const QMap<QString, QByteArray> files = maker->files(u"out"_s);
    QMap<QString, FileStamp> stamps;
    for (const QString &name : files.keys())
        stamps.insert(name, FileStamp::ofFile(maker->path(u"out/"_s + name)));
    QThread::msleep(30);
    result = build();
    QCOMPARE(result.made + result.written, 0);
    result = build([](BuildRequest &request) { request.everything = true; });
    QCOMPARE(result.made, 4);
    QCOMPARE(result.written, 0);
    QCOMPARE(maker->files(u"out"_s), files);
    for (const QString &name : files.keys())
        QVERIFY2(FileStamp::ofFile(maker->path(u"out/"_s + name)) == stamps.value(name), qPrintable(name));
    static_cast<void>(build([&](BuildRequest &request) { request.output = maker->path(u"again"_s); }));
    QMap<QString, QByteArray> again = maker->files(u"again"_s);
    for (const QString &name :
         files.keys()) // but for the place where they are made, which the pages show here
        QCOMPARE(again.value(name).replace("/again/", "/out/"), files.value(name));
}

void SiteBuilderTest::makesAnewWhatHasChanged_data()
{
    QTest::addColumn<QString>("file");    ///< that changes
    QTest::addColumn<QByteArray>("from"); ///< empty to delete the file
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<int>("made");
    const auto row = [](const char *name, const QString &file, const char *from, const char *to, int made) {
        QTest::newRow(name) << file << json(from) << json(to) << made;
    };
    row("what a page is made of, which another asked", u"site/pages/a.txt"_s, "of a", "a's", 2);
    row("gone", u"site/pages/a.txt"_s, "", "", 2);
    row("page's style sheet", u"site/pages/a.css"_s, "b{}", "i{}", 1);
    row("settings that another takes over", u"site/site.json"_s, "'of c'", "'c'", 2);
    row("settings of a page that another asks", u"site/site.json"_s, "{'w': 'w'}", "{'w': 'v'}", 2);
    row("title", u"site/site.json"_s, "'Site'", "'Place'", 4);
    row("template", u"site/theme/template.html"_s, "%title%", "%title%!", 4);
    row("styles", u"site/theme/theme.json"_s, "'Dusk'", "'Dust'", 4);
    row("preferences", u"site/preferences/com.example.plist"_s, "<dict/>", "<dict></dict>", 4);
    row("theme's style sheet", u"site/theme/styles.css"_s, "{}", "{ }", 0);
    row("asset gone", u"site/assets/x.pdf"_s, "", "", 4);
    row("page's output edited", u"out/a/index.html"_s, "a|", "b|", 1);
    row("page's output gone", u"out/a/index.html"_s, "", "", 1);
    row("file of a page gone", u"out/a/index_files/w"_s, "", "", 1);
    row("subpage edited", u"out/a/index_files/s.html"_s, "s", "t", 1);
    row("style sheet gone", u"out/theme/styles.css"_s, "", "", 0);
    row("manifest broken", u"out/.qf/manifest.json"_s, "{", "[", 4);
}

void SiteBuilderTest::makesAnewWhatHasChanged()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(int, made);
    writeTellingSite(*maker);
    static_cast<void>(build());
    if (from.isEmpty())
        QVERIFY(QFile::remove(maker->path(file)));
    else
        maker->write(file, maker->read(file).replace(from, to));
    const BuildResult result = build();
    QCOMPARE(result.made, made);
    QCOMPARE(result.failed, 0);
    // The same as from nothing.
    const QMap<QString, QByteArray> files = maker->files(u"out"_s);
    QDir(maker->output()).removeRecursively();
    static_cast<void>(build());
    QMap<QString, QByteArray> fresh = maker->files(u"out"_s);
    if (file.startsWith(u"site/assets"))
        fresh.insert(u"assets/x.pdf"_s, "%PDF"); // an orphan
    QCOMPARE(files, fresh);
}

/// Of two pages that ask one, each depends on all that goes into it, whoever asked first.
void SiteBuilderTest::dependsOnNoOrder()
{
    const QByteArray pages =
        json(R"({'id': 'home', 'plugin': 'com.example.test-telling-page', 'settings': {'asks': 'b'}},
        {'id': 'x', 'plugin': 'com.example.test-telling-page', 'settings': {'asks': 'b'}},
        {'id': 'b', 'plugin': 'com.example.test-telling-page', 'settingsFrom': 'c'},
        {'id': 'c', 'plugin': 'com.example.test-telling-page', 'settings': {'text': 'first'}})");
    maker->writePages(pages);
    QThread::msleep(30);
    static_cast<void>(build());
    maker->writePages(QByteArray(pages).replace("first", "second"));
    QCOMPARE(build().made, 4);
    QVERIFY(page(u"index.html"_s).contains("sub-second.html"));
    QVERIFY(page(u"x/index.html"_s).contains("sub-second.html"));
}

void SiteBuilderTest::keepsFilesOfPagesThatFail()
{
    const QByteArray good =
        json("{'id': 'home', 'plugin': 'com.example.test-page', 'settings': {'files': {'w': 'w'}}}");
    maker->writePages(good);
    static_cast<void>(build());
    const QMap<QString, QByteArray> files = maker->files(u"out"_s);
    maker->writePages(
        QByteArray(good).replace("\"files\"", json("'does': {'contentHTML': 'throw'}, 'files'")));
    const BuildResult result = build([](BuildRequest &request) { request.prune = true; });
    QCOMPARE(result.failed, 1);
    QCOMPARE(result.orphans + result.pruned, QStringList());
    QCOMPARE(maker->files(u"out"_s), files);
}

void SiteBuilderTest::findsAndPrunesOrphans()
{
    const QByteArray home = json("{'id': 'home', 'plugin': 'com.example.test-page'}");
    maker->writePages(
        home + json(", {'id': 'a', 'plugin': 'com.example.test-page', 'settings': {'files': {'w': 'w'}}}"));
    static_cast<void>(build());
    maker->write(u"out/foreign.txt"_s, "mine");
    maker->write(u"outside/index.html"_s, "outside");
    maker->write(u"outside/index_files/w"_s, "outside");
    maker->writePages(home);
    const QStringList orphans{u"a/index.html"_s, u"a/index_files/w"_s};
    QCOMPARE(build().orphans, orphans);
    QCOMPARE(build().orphans, orphans); // remembered
    // What lies behind a link is none of the builder's.
    QVERIFY(QDir().rename(maker->path(u"out/a"_s), maker->path(u"moved"_s)));
    QVERIFY(QFile::link(maker->path(u"outside"_s), maker->path(u"out/a"_s)));
    const auto prune = [](BuildRequest &request) { request.prune = true; };
    QCOMPARE(build(prune).pruned, QStringList());
    QCOMPARE(maker->read(u"outside/index.html"_s), QByteArray("outside"));
    QVERIFY(QFile::remove(maker->path(u"out/a"_s)));
    QVERIFY(QDir().rename(maker->path(u"moved"_s), maker->path(u"out/a"_s)));
    maker->writePages(home + json(", {'id': 'a', 'plugin': 'com.example.test-page'}"));
    QCOMPARE(build(prune).pruned, QStringList(u"a/index_files/w"_s));
    QVERIFY(!QFileInfo::exists(maker->path(u"out/a/index_files"_s)));
    QCOMPARE(maker->read(u"out/foreign.txt"_s), QByteArray("mine"));
}

void SiteBuilderTest::refusesOutputFolders_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("says");
    QTest::newRow("in the site") << u"site/out"_s << u"must not lie in the site's folder"_s;
    QTest::newRow("the site") << u"site"_s << u"must not lie in the site's folder"_s;
    QTest::newRow("in the site by a link") << u"link/new/out"_s << u"must not lie in the site's folder"_s;
    QTest::newRow("around the site") << u""_s << u"must not lie in the output folder"_s;
    QTest::newRow("with files of others") << u"foreign"_s << u"holds files that no build has put there"_s;
    QTest::newRow("a file") << u"file"_s << u"cannot be made or written"_s;
    QTest::newRow("below a file") << u"file/out"_s << u"cannot be made or written"_s;
    QTest::newRow("where nobody may write") << u"/proc/out"_s << u"cannot be made or written"_s;
    QTest::newRow("builder's folder a link") << u"linked"_s << u"the builder's folder in it cannot be made"_s;
    QTest::newRow("staging folder a link") << u"staged"_s << u"the builder's folder in it cannot be made"_s;
    QTest::newRow("being built into") << u"locked"_s << u"another build is running there"_s;
}

void SiteBuilderTest::refusesOutputFolders()
{
    QFETCH(QString, output);
    QFETCH(QString, says);
    maker->writePages(json("{'id': 'home', 'plugin': 'com.example.test-page'}"));
    maker->write(u"foreign/.hidden"_s, "");
    maker->write(u"file"_s, "");
    maker->write(u"staged/.qf/x"_s, "");
    QDir().mkpath(maker->path(u"linked"_s));
    QDir().mkpath(maker->path(u"locked/.qf"_s));
    QVERIFY(QFile::link(maker->site(), maker->path(u"link"_s)));
    QVERIFY(QFile::link(maker->path(u"foreign"_s), maker->path(u"linked/.qf"_s)));
    QVERIFY(QFile::link(maker->path(u"foreign"_s), maker->path(u"staged/.qf/staging"_s)));
    QLockFile lock(maker->path(u"locked/.qf/lock"_s));
    QVERIFY(lock.tryLock(0));
    const QMap<QString, QByteArray> files = maker->files(u""_s);
    const BuildResult result = build([&](BuildRequest &request) {
        request.output = output.startsWith(u'/') ? output : maker->path(output);
    });
    QVERIFY2(result.error.contains(says), qPrintable(result.error));
    QCOMPARE(maker->files(u""_s).keys(), files.keys());
}

void SiteBuilderTest::followsNoLinksInTheOutput()
{
    maker->writePages(json(
        "{'id': 'home', 'plugin': 'com.example.test-page'}, {'id': 'a', 'plugin': 'com.example.test-page'},"
        "{'id': 'b', 'plugin': 'com.example.test-page', 'settings': {'files': {'w': 'w'}}}"));
    maker->write(u"outside/index.html"_s, "outside");
    static_cast<void>(build());
    for (const QString &name : {u"index.html"_s, u"a/index.html"_s})
        QVERIFY(QFile::remove(maker->path(u"out/"_s + name)));
    QVERIFY(QFile::link(maker->path(u"outside/index.html"_s), maker->path(u"out/index.html"_s)));
    QVERIFY(QDir().rmdir(maker->path(u"out/a"_s)));
    QVERIFY(QFile::link(maker->path(u"outside"_s), maker->path(u"out/a"_s)));
    QDir(maker->path(u"out/b/index_files"_s)).removeRecursively();
    QVERIFY(QFile::link(maker->path(u"outside"_s), maker->path(u"out/b/index_files"_s)));
    const BuildResult result = build();
    QCOMPARE(result.failed, 2);
    QVERIFY2(messagesOf(result.records).contains(u"a|a: is no folder but something else"),
             qPrintable(messagesOf(result.records)));
    QVERIFY(!QFileInfo(maker->path(u"out/index.html"_s)).isSymLink());
    QCOMPARE(maker->files(u"outside"_s), (QMap<QString, QByteArray>{{u"index.html"_s, "outside"}}));
}

void SiteBuilderTest::reportsWhatStandsInTheWay()
{
    maker->writePages(
        json("{'id': 'home', 'plugin': 'com.example.test-telling-page'}, {'id': 'a', 'plugin': "
             "'com.example.test-telling-page'},"
             "{'id': 'b', 'plugin': 'com.example.test-telling-page', 'settings': {'files': {'w': 'w'}}}"));
    QThread::msleep(30);
    maker->write(u"out/.qf/x"_s, "");
    maker->write(u"out/a"_s, "a file");
    maker->write(u"out/b/index_files/w/folder"_s, "");
    maker->write(u"out/theme/styles.css/folder"_s, "");
    BuildResult result = build();
    QCOMPARE(result.failed, 2);
    QVERIFY(!result.isWhole);
    QCOMPARE(result.records.size(), 3);
    QCOMPARE(page(u"a"_s), QByteArray("a file"));
    QVERIFY(QFile::remove(maker->path(u"out/a"_s)));
    QVERIFY(QDir(maker->path(u"out/b/index_files/w"_s)).removeRecursively());
    QVERIFY(QDir(maker->path(u"out/theme/styles.css"_s)).removeRecursively());
    result = build(); // only what was wanting
    QCOMPARE(result.made, 2);
    QVERIFY(result.isWhole && result.records.isEmpty());
    QCOMPARE(page(u"b/index_files/w"_s), QByteArray("w"));
}

void SiteBuilderTest::keepsWhatACancelledBuildDidNotReach()
{
    maker->writePages(json(
        "{'id': 'home', 'plugin': 'com.example.test-page'}, {'id': 'a', 'plugin': 'com.example.test-page'}"));
    qputenv("QF_TEST_SHARED_FILES", json("[{'name': 'k.css', 'data': 'k'}]"));
    const BuildResult whole = build();
    BuildEvents events;
    qsizetype done = 0;
    events.progress = [&done](qsizetype finished, auto...) { done = finished; };
    events.isCancelled = [&done] { return done > 0; };
    const BuildResult result =
        build([](BuildRequest &request) { request.everything = request.prune = true; }, events);
    QVERIFY(result.isCancelled);
    QCOMPARE(result.made, 1);
    QCOMPARE(result.files, whole.files);
    QCOMPARE(result.pruned, QStringList());
    QCOMPARE(build().orphans, QStringList());
}

QTEST_GUILESS_MAIN(SiteBuilderTest)
#include "SiteBuilderTest.moc"
