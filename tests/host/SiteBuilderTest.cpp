#include "host/build/SiteBuilder.h"
#include "host/build/FileStamp.h"
#include "host/build/PageErrors.h"
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
    void turnsRecordsIntoPageErrors();

private:
    BuildResult build(
        const std::function<void(BuildRequest &)> &change = [](auto &) {}, const BuildEvents &events = {})
    {
        BuildRequest request;
        request.site = maker->site();
        request.output = maker->output();
        request.jobs = 0;
        change(request);
        return SiteBuilder::build(request, modules, events);
    }
    BuildResult buildPages(const QString &pages)
    {
        maker->writePages(pages);
        return build();
    }
    [[nodiscard]] QByteArray page(const QString &name) const { return maker->read(u"out/"_s + name); }
    /// What lies in a folder, between blanks.
    [[nodiscard]] QString filesIn(const QString &folder) const
    {
        return maker->files(folder).keys().join(u' ');
    }

    std::optional<SiteMaker> maker;
    PluginModules modules{QStringList(QStringLiteral(QF_TEST_PLUGINS))};
};

void SiteBuilderTest::init()
{
    qunsetenv("QF_TEST_SHARED_FILES");
    maker.emplace();
    maker->write(u"site/theme/theme.json"_s,
                 json(uR"({'styles': ['Dawn', 'Dusk'], 'colourTagFiles': ['c.css'],
        'variations': [{'Name': 'Wide', 'Type': 'Stylesheet', 'Files': ['w.css']}]})"_s));
    maker->write(u"site/theme/template.html"_s, "%title%|%content%|%dump%");
    maker->write(u"site/theme/styles.css"_s, "body {}");
}

void SiteBuilderTest::fillsTheTemplate()
{
    maker->write(u"site/theme/template.html"_s, R"(%title%
%site_title% %page_id% %style% %option:o% %option:none% %footer% %unknown% 100%
%content%%sidebar%%plugin_header%
%navigation%
%breadcrumb%
%previous% %next% %home% %theme_path%)");
    maker->write(u"site/site.json"_s, json(uR"({'title': 'S<', 'footer': '<f>', 'pages': [
        {'id': 'home', 'title': 'H&', *},
        {'id': 'far', 'title': 'F', 'external': 'https://f/?a&b'},
        {'id': 'a', 'title': 'A', *, 'children': [
            {'id': 'b', 'title': 'B', *, 'style': 'Dusk', 'themeOptions': {'o': '<7>'}, 'settings': {'text': '%title%',
             'does': {'sidebarHTML': '%content%', 'pageContentHeaders': '<meta>', 'pageContentPrefix': 'first '}}}]},
        {'id': 'h', 'title': 'Hidden', *, 'hidden': true}]})"_s));
    QCOMPARE(messagesOf(build().records), QString());
    QCOMPARE(QString::fromUtf8(page(u"a/b/index.html"_s)), uR"(first B
S&lt; b dusk &lt;7&gt;  <f> %unknown% 100%
%title%%content%<meta>
<ul><li><a href="../../index.html">H&amp;</a></li><li class="external"><a href="https://f/?a&amp;b">F</a></li><li class="open"><a href="../index.html">A</a><ul><li class="current"><a aria-current="page" href="index.html">B</a></li></ul></li></ul>
<span><a href="../../index.html">H&amp;</a></span><span><a href="../index.html">A</a></span>
<a rel="prev" href="../index.html">A</a>  ../../index.html ../../theme/)"_s);
}

void SiteBuilderTest::givesAllParameters_data()
{
    addRows({"absolute", "root"}, uR"(
export  | false |
publish | true  | /g/
preview | true  | /
)"_s);
}

void SiteBuilderTest::givesAllParameters()
{
    QFETCH(QString, absolute);
    QFETCH(QString, root);
    const QString name = QString::fromLatin1(QTest::currentDataTag());
    const BuildMode mode = name == u"export"    ? BuildMode::Export
                           : name == u"publish" ? BuildMode::Publish
                                                : BuildMode::Preview;
    maker->write(u"site/a.js"_s, "f()");
    maker->write(u"site/site.json"_s, json(uR"({'baseURL': 'https://h/g', 'index': 'start.html', 'pages': [
        {'id': 'home', *},
        {'id': 'a', 'title': 'A', *, 'filename': 'x', 'imageQuality': 'Low', 'script': 'a.js',
         'style': 'Dusk', 'variations': ['Wide'], 'settings': {'extras': [{'name': 's', 'substitutions': {'content': 'sub'}}]}}]})"_s));
    const BuildResult result = build([&](BuildRequest &request) { request.mode = mode; });
    QCOMPARE(messagesOf(result.records), QString());
    const auto paramsOf = [&](const QString &file) {
        return QJsonDocument::fromJson(page(file).split('|').value(2)).object();
    };
    QJsonObject params = paramsOf(u"a/x.html"_s);
    QVERIFY(params.take(u"location"_s).toString().startsWith(maker->output() + u"/.qf/"_s));
    QJsonObject expected =
        QJsonDocument::fromJson(json(uR"({'FilenameExt': 'html', 'assetsfoldername': '../assets',
        'attributes': {'externalPageAssets': [], 'filenameExt': 'html', 'imageQuality': 'Low'}, 'base': 'https://h/g',
        'contentonlysubpages': true, 'customcss': '', 'customheader': '', 'customjavascript': 'f()', 'depth': 1,
        'filesfoldername': 'x_files', 'imagesfoldername': 'x_files', 'index': 'start.html', 'name': 'x.html',
        'path': 'a/x.html', 'stylename': 'Dusk', 'stylevariationmode': 0, 'subpage': false, 'theme': 'HostTheme',
        'title': 'A', 'variations': [{'Files': ['w.css'], 'Name': 'Wide', 'Type': 'Stylesheet'}],
        'mode': '%1', 'commonpathsabsolute': %2, 'commonpathsrelative': %3, 'themecommonpath': '%4theme',
        'plugincommonpath': '%4plugins/com.example.test-page'})"_s.arg(
                                    name, absolute, absolute == u"true" ? u"false"_s : u"true"_s, root)))
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
    maker->write(u"site/site.json"_s,
                 json(uR"({'baseURL': 'https://h/g/', 'style': 'Dusk', 'variations': ['Wide', 'None'],
        'pages': [{'id': 'home', *, 'css': 'a.css', 'children': [{'id': 'a', *, 'children': [{'id': 'b', *}]}]}]})"_s));
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
    addRows({"settings", "made", "says"}, uR"(
throws in content     | 'does': {'contentHTML': 'throw'}            | 2 | exception in contentHTML (out of order)
throws in sidebar     | 'does': {'sidebarHTML': 'throw int'}        | 3 | exception in sidebarHTML
throws in prefix      | 'does': {'pageContentPrefix': 'throw int'}  | 3 | The answer to 'pageContentPrefix' threw
throws in extra files | 'does': {'extraFilesNeededInExportFolder': 'throw int'} | 3 | exception in extraFilesNeededInExportFolder
throws in template    | 'does': {'updatePageTemplate': 'throw int'} | 3 | exception in updatePageTemplate
dies in a setter      | 'deadly': 'x'                               | 2 | the plug-in destroyed itself
dies in content       | 'does': {'contentHTML': 'die'}              | 2 | the plug-in destroyed itself
dies in sidebar       | 'does': {'sidebarHTML': 'die'}              | 2 | the plug-in destroyed itself
dies in template      | 'does': {'updatePageTemplate': 'die'}       | 2 | the plug-in destroyed itself
number for content    | 'does': {'contentHTML': 7}                  | 2 | something that is no text for contentHTML
map for prefix        | 'does': {'pageContentPrefix': {}}           | 3 | something that is no text for pageContentPrefix
text for files        | 'does': {'extraFilesNeededInExportFolder': 'x'} | 3 | the plug-in's list of extra files is no list
number for reads      | 'does': {'filesReadForExport': 7}           | 3 |
wrong settings        | 'does': 7                                   | 3 | Error applying plugin settings
links for files       | 'links': {'l': '../../../../../outside/kept', 'd': '../../../../../outside'} | 3 | is not published
link for the folder   | 'links': {'.': '../../../../outside'}       | 3 | is not published
link for its folder   | 'links': {'..': '../../../outside'}         | 3 | is not published
)"_s);
}

void SiteBuilderTest::survivesBadPlugins()
{
    QFETCH(QString, settings);
    QFETCH(QString, says);
    maker->write(u"outside/kept"_s, "kept");
    const BuildResult result = buildPages(u"{'id': 'home', *}, {'id': 'bad', @, 'settings': {"_s + settings +
                                          u"}}, {'id': 'last', *}"_s);
    const QString messages = messagesOf(result.records);
    QVERIFY2(messages.contains(says) && (says.isEmpty() || messages.startsWith(u"bad|")),
             qPrintable(messages));
    QTEST(QString::number(result.made), "made");
    QCOMPARE(result.failed, 3 - result.made);
    QCOMPARE(filesIn(u"out"_s), (result.made == 3 ? u"bad/index.html "_s : QString()) +
                                    u"index.html last/index.html theme/styles.css"_s);
    QCOMPARE(QDir(maker->path({})).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList({u"out"_s, u"outside"_s, u"site"_s}));
    QCOMPARE(filesIn(u"outside"_s), u"kept"_s);
}

void SiteBuilderTest::publishesExtraFiles_data()
{
    addRows({"extras", "file", "bytes", "says"}, uR"(
page              | {'name': 's', 'entirehtml': 'h'}                       | a/index_files/s.html | h
data              | {'name': 's.xml', 'data': 'd'}                         | a/index_files/s.xml  | d
elsewhere         | {'name': 's', 'data': 'd', 'destination': 'deep/er/s'} | a/deep/er/s          | d
in a folder       | {'name': 's', 'data': 'd', 'destination': 'deep/'}     | a/deep/s             | d
up                | {'name': 's', 'data': 'd', 'destination': '../feed'}   | feed                 | d
in its own folder | {'name': 's', 'data': 'd', 'destination': 'index_files/s'} | a/index_files/s  | d
copy              | 'pages/copied.txt'                                     | a/index_files/copied.txt | copied
copy of nothing   | 'pages/none.txt'                                       | | | there is no such file to be copied
out of the site   | {'name': 's', 'data': 'd', 'destination': '../../s'}   | | | destination lies outside
builder's folder  | {'name': 's', 'data': 'd', 'destination': '/.QF/lock'} | | | destination lies outside
NUL               | {'name': 's', 'data': 'd', 'destination': 'a\u0000b'}  | | | destination lies outside
over a page       | {'name': 's', 'data': 'd', 'destination': '../INDEX.html'}  | | | another page's file lies there already
another's folder  | {'name': 's', 'data': 'd', 'destination': '/index_files/s'} | | | another page's file lies there already
over a folder     | {'name': 's', 'data': 'd', 'destination': '/a'}        | | | another page's file lies there already
no name           | {'data': 'd'}                                          | | | a subpage has no safe name
no content        | {'name': 's'}                                          | | | a subpage has no content
wrong content     | {'name': 's', 'substitutions': 7}                      | | | a subpage has no content
two of a name     | {'name': 's', 'entirehtml': 'h'}, {'name': 'S.html', 'entirehtml': 'i'} | a/index_files/s.html | h | left out
two ways to one   | {'name': 's', 'data': 'd'}, {'name': 't', 'data': 'e', 'destination': 'index_files/s'} | a/index_files/s | d | left out
a file's name     | {'name': 'w', 'data': 'd'}                             | | | has the name of an extra file
)"_s);
}

void SiteBuilderTest::publishesExtraFiles()
{
    QFETCH(QString, extras);
    QFETCH(QString, file);
    QFETCH(QString, bytes);
    QFETCH(QString, says);
    maker->write(u"site/pages/copied.txt"_s, "copied");
    const BuildResult result =
        buildPages(u"{'id': 'home', *}, {'id': 'a', *, 'settings': {'files': {'w': 'w'}, 'extras': ["_s +
                   extras + u"]}}"_s);
    QCOMPARE(result.failed, 0);
    QCOMPARE(result.records.size(), says.isEmpty() ? 0 : 1);
    QVERIFY2(messagesOf(result.records).contains(says), qPrintable(messagesOf(result.records)));
    QMap<QString, QByteArray> files = maker->files(u"out"_s);
    QCOMPARE(result.files, files.size());
    if (!file.isEmpty())
        QCOMPARE(files.take(file), bytes.toUtf8());
    QCOMPARE(files.keys().join(u' '), u"a/index.html a/index_files/w index.html theme/styles.css"_s);
}

void SiteBuilderTest::sharesPathsInOrder()
{
    const QString feed = u"'settings': {'extras': [{'name': 'f', 'data': '%1', 'destination': '/feed'}]}}"_s;
    const QString pages = u"{'id': 'home', @, "_s + feed.arg(1) + u", {'id': 'b', @, "_s + feed.arg(2);
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(messagesOf(buildPages(pages).records), u"b|another page's file lies there already: feed|"_s);
        QCOMPARE(page(u"feed"_s), QByteArray("1"));
    }
    const BuildResult result = buildPages(u"{'id': 'home', @}, {'id': 'b', @, "_s + feed.arg(2));
    QCOMPARE(page(u"feed"_s), QByteArray("2"));
    QCOMPARE(result.records.size() + result.orphans.size(), 0);
}

void SiteBuilderTest::publishesFilesOfKinds()
{
    qputenv(
        "QF_TEST_SHARED_FILES",
        json(
            uR"([{'name': 'k.css', 'data': 'k'}, {'name': 'r', 'data': 'r', 'destination': '../../robots.txt'},
        {'name': 'x', 'data': 'x', 'destination': '../other/x'}])"_s));
    QCOMPARE(messagesOf(buildPages(u"{'id': 'home', *}"_s).records),
             u"|another page's file lies there already: plugins/other/x|"_s);
    const QString files = u"index.html plugins/com.example.test-page/k.css robots.txt theme/styles.css"_s;
    QCOMPARE(filesIn(u"out"_s), files);
    qputenv("QF_TEST_SHARED_FILES", "throw");
    const BuildResult result =
        build([](BuildRequest &request) { request.prune = request.everything = true; });
    QVERIFY(!result.isWhole &&
            messagesOf(result.records).contains(u"exception in extraFilesNeededInExportFolder"));
    QCOMPARE(filesIn(u"out"_s), files);
}

/// A site whose pages all tell what they read.
static void writeTellingSite(const SiteMaker &maker)
{
    maker.write(u"site/pages/a.txt"_s, "of a");
    maker.write(u"site/pages/a.css"_s, "b{}");
    maker.write(u"site/preferences/com.example.plist"_s, "<plist><dict/></plist>");
    maker.write(u"site/assets/x.pdf"_s, "%PDF");
    maker.writePages(uR"({'id': 'home', @, 'settings': {'asks': 'a'}},
        {'id': 'a', @, 'css': 'pages/a.css', 'settings': {'source': 'pages/a.txt', 'files': {'w': 'w'},
         'extras': [{'name': 's', 'substitutions': {'content': 's'}}]}},
        {'id': 'b', @, 'settingsFrom': 'c'}, {'id': 'c', @, 'settings': {'text': 'of c'}})"_s);
    QThread::msleep(30); // what is younger than a clock's step is not trusted
}

void SiteBuilderTest::leavesTheUnchangedAlone()
{
    writeTellingSite(*maker);
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
    addRows({"file", "from", "to", "made"}, uR"(
what a page is made of, which another asked | site/pages/a.txt | of a | a's | 2
page's style sheet             | site/pages/a.css              | b{}       | i{}       | 1
settings that are taken over   | site/site.json                | 'of c'    | 'c'       | 2
settings of one that is asked  | site/site.json                | {'w': 'w'} | {'w': 'v'} | 2
title                          | site/site.json                | 'Site'    | 'Place'   | 4
template                       | site/theme/template.html      | %title%   | !         | 4
styles                         | site/theme/theme.json         | 'Dusk'    | 'Dust'    | 4
preferences                    | site/preferences/com.example.plist | <dict/> | <dict></dict> | 4
theme's style sheet            | site/theme/styles.css         | {}        | { }       | 0
asset gone                     | site/assets/x.pdf             |           |           | 4
page edited                    | out/a/index.html              | html      | htm       | 1
page gone                      | out/a/index.html              |           |           | 1
subpage edited                 | out/a/index_files/s.html      | html      | htm       | 1
manifest broken                | out/.qf/manifest.json         | {         | [         | 4
)"_s);
}

void SiteBuilderTest::makesAnewWhatHasChanged()
{
    QFETCH(QString, file);
    QFETCH(QString, from);
    QFETCH(QString, to);
    writeTellingSite(*maker);
    static_cast<void>(build());
    if (from.isEmpty())
        QVERIFY(QFile::remove(maker->path(file)));
    else
        maker->write(file, maker->read(file).replace(json(from), json(to)));
    const BuildResult result = build();
    QTEST(QString::number(result.made), "made");
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
    const QString pages =
        uR"({'id': 'home', @, 'settings': {'asks': 'b'}}, {'id': 'x', @, 'settings': {'asks': 'b'}},
        {'id': 'b', @, 'settingsFrom': 'c'}, {'id': 'c', @, 'settings': {'text': '%1'}})"_s;
    static_cast<void>(buildPages(pages.arg(u"first"_s)));
    QCOMPARE(buildPages(pages.arg(u"second"_s)).made, 4);
    for (const QString &name : {u"index.html"_s, u"x/index.html"_s})
        QVERIFY2(page(name).contains("sub-second.html"), qPrintable(name));
}

void SiteBuilderTest::keepsFilesOfPagesThatFail()
{
    const QString page = u"{'id': 'home', *, 'settings': {'files': {'w': 'w'}, 'does': {%1}}}"_s;
    static_cast<void>(buildPages(page.arg(u""_s)));
    const QMap<QString, QByteArray> files = maker->files(u"out"_s);
    maker->writePages(page.arg(u"'contentHTML': 'throw'"_s));
    const BuildResult result = build([](BuildRequest &request) { request.prune = true; });
    QCOMPARE(result.failed, 1);
    QCOMPARE(result.orphans + result.pruned, QStringList());
    QCOMPARE(maker->files(u"out"_s), files);
}

void SiteBuilderTest::findsAndPrunesOrphans()
{
    static_cast<void>(buildPages(u"{'id': 'home', *}, {'id': 'a', *, 'settings': {'files': {'w': 'w'}}}"_s));
    maker->write(u"out/foreign.txt"_s, "mine");
    maker->write(u"outside/index.html"_s, "outside");
    maker->write(u"outside/index_files/w"_s, "outside");
    const QStringList orphans{u"a/index.html"_s, u"a/index_files/w"_s};
    QCOMPARE(buildPages(u"{'id': 'home', *}"_s).orphans, orphans);
    QCOMPARE(build().orphans, orphans); // remembered
    // What lies behind a link is none of the builder's.
    QVERIFY(QDir().rename(maker->path(u"out/a"_s), maker->path(u"moved"_s)));
    QVERIFY(QFile::link(maker->path(u"outside"_s), maker->path(u"out/a"_s)));
    const auto prune = [](BuildRequest &request) { request.prune = true; };
    QCOMPARE(build(prune).pruned, QStringList());
    QCOMPARE(filesIn(u"outside"_s), u"index.html index_files/w"_s);
    QVERIFY(QFile::remove(maker->path(u"out/a"_s)));
    QVERIFY(QDir().rename(maker->path(u"moved"_s), maker->path(u"out/a"_s)));
    maker->writePages(u"{'id': 'home', *}, {'id': 'a', *}"_s);
    QCOMPARE(build(prune).pruned, QStringList(u"a/index_files/w"_s));
    QVERIFY(!QFileInfo::exists(maker->path(u"out/a/index_files"_s)));
    QCOMPARE(filesIn(u"out"_s), u"a/index.html foreign.txt index.html theme/styles.css"_s);
}

void SiteBuilderTest::refusesOutputFolders_data()
{
    addRows({"output", "says"}, uR"(
in the site             | site/out     | must not lie in the site's folder
in the site by a link   | link/new/out | must not lie in the site's folder
around the site         |              | must not lie in the output folder
with files of others    | foreign      | holds files that no build has put there
below a file            | file/out     | cannot be made or written
where nobody may write  | /proc/out    | cannot be made or written
builder's folder a link | linked       | the builder's folder in it cannot be made
being built into        | locked       | another build is running there
)"_s);
}

void SiteBuilderTest::refusesOutputFolders()
{
    QFETCH(QString, output);
    QFETCH(QString, says);
    maker->writePages(u"{'id': 'home', *}"_s);
    maker->write(u"foreign/.hidden"_s, "");
    maker->write(u"file"_s, "");
    QDir().mkpath(maker->path(u"linked"_s));
    QDir().mkpath(maker->path(u"locked/.qf"_s));
    QVERIFY(QFile::link(maker->site(), maker->path(u"link"_s)));
    QVERIFY(QFile::link(maker->path(u"foreign"_s), maker->path(u"linked/.qf"_s)));
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
    maker->writePages(
        u"{'id': 'home', *}, {'id': 'a', *}, {'id': 'b', *, 'settings': {'files': {'w': 'w'}}}"_s);
    maker->write(u"outside/index.html"_s, "outside");
    static_cast<void>(build());
    for (const QString &name : {u"index.html"_s, u"a/index.html"_s})
        QVERIFY(QFile::remove(maker->path(u"out/"_s + name)));
    QVERIFY(QFile::link(maker->path(u"outside/index.html"_s), maker->path(u"out/index.html"_s)));
    QVERIFY(QDir().rmdir(maker->path(u"out/a"_s)));
    QVERIFY(QFile::link(maker->path(u"outside"_s), maker->path(u"out/a"_s)));
    QDir(maker->path(u"out/b/index_files"_s)).removeRecursively();
    QVERIFY(QFile::link(maker->path(u"outside"_s), maker->path(u"out/b/index_files"_s)));
    QVERIFY(QFile::link(maker->path(u"outside"_s), maker->path(u"out/.qf/staging"_s)));
    const BuildResult result = build();
    QCOMPARE(result.failed, 2);
    QVERIFY2(messagesOf(result.records).contains(u"a|a: is no folder but something else"),
             qPrintable(messagesOf(result.records)));
    QVERIFY(!QFileInfo(maker->path(u"out/index.html"_s)).isSymLink());
    QCOMPARE(filesIn(u"outside"_s), u"index.html"_s);
    QCOMPARE(maker->read(u"outside/index.html"_s), QByteArray("outside"));
}

void SiteBuilderTest::reportsWhatStandsInTheWay()
{
    maker->writePages(
        u"{'id': 'home', @}, {'id': 'a', @}, {'id': 'b', @, 'settings': {'files': {'w': 'w'}}}"_s);
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
    qputenv("QF_TEST_SHARED_FILES", json(u"[{'name': 'k.css', 'data': 'k'}]"_s));
    const BuildResult whole = buildPages(u"{'id': 'home', *}, {'id': 'a', *}"_s);
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

void SiteBuilderTest::turnsRecordsIntoPageErrors()
{
    BuildResult result = buildPages(u"{'id': 'a', @, 'settings': {'does': {'contentHTML': 'throw'}}}"_s);
    QFReportRecord loss;
    loss.page = u"b"_s;
    loss.message = u"written twice"_s;
    loss.file = u"p.png"_s;
    result.records.append(loss);
    const QList<PageErrors> pages = pageErrors(result.records, {});
    QCOMPARE(pages.size(), 2);
    QCOMPARE(pages[0].page, u"a"_s);
    QCOMPARE(pages[0].errors[0]->level(), kPageErrorFailure);
    QCOMPARE(pages[0].errors[0]->reason(), result.records[0].message);
    QCOMPARE(pages[1].errors[0]->level(), kPageErrorLoss);
    QCOMPARE(pages[1].errors[0]->reason(), u"written twice (p.png)"_s);
}

QTEST_GUILESS_MAIN(SiteBuilderTest)
#include "SiteBuilderTest.moc"
