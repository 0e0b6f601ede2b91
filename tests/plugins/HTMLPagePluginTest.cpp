#include "tests/Rows.h"
#include "tests/plugins/SmallSite.h"

/// Pages from HTML files: what is taken over, and where its links lead.
class HTMLPagePluginTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void addressesInMarkup_data();
    void addressesInMarkup();
    void reportsWhatIsNotThere();
    void takesTheBodyAndTheStylesOfADocument();
    void readsOtherEncodings();
    void readsNothingOutsideTheSite_data() { addForbiddenSources(); }
    void readsNothingOutsideTheSite();
    void survivesSettingsOfAnyType();
    void isQuickForHostileMarkup();
};

namespace {

void addTargets(SmallSite &site)
{
    SmallPage *const album = site.addPage(u"album"_s);
    album->attributes = QVariantMap{{u"filenameExt"_s, u"html"_s}};
    SmallSite::mappingPlugin(album)->mapper = [](const QString &ID) {
        return ID == u"pond" ? u"pond"_s : QString();
    };
    SmallPage *const elsewhere = site.addPage(u"elsewhere"_s);
    elsewhere->external = true;
    elsewhere->externalURL = u"https://example.org/?a=1&b=2"_s;
}

QString made(const QByteArray &HTML)
{
    SmallSite site;
    addTargets(site);
    site.write(u"page.html"_s, HTML);
    ModulePage page(site, u"page.html"_s);
    page.problemsWhileMaking(site.params());
    return page.content;
}

} // namespace

void HTMLPagePluginTest::addressesInMarkup_data()
{
    const Rows<QByteArray, QString> row({"HTML", "content"});
    row("page", "<a href=\"page:album\">x</a>", u"<a href=\"album.html\">x</a>"_s);
    row("anchor", "<a href='page:album#end' id=b>x</a>", u"<a href=\"album.html#end\" id=b>x</a>"_s);
    row("subpage", "<A HREF = page:album/pond>x</A>", u"<A HREF = \"album_files/pond.html\">x</A>"_s);
    row("external", "<a href=\"page:elsewhere\">x</a>",
        u"<a href=\"https://example.org/?a=1&amp;b=2\">x</a>"_s);
    row("asset", "<img src=\"asset:plan of the house.pdf\"/>",
        u"<img src=\"../assets/plan%20of%20the%20house.pdf\"/>"_s);
    row("asset, escaped", "<img src=\"asset:plan%20of%20the%20house.pdf\"/>",
        u"<img src=\"../assets/plan%20of%20the%20house.pdf\"/>"_s);
    row("unknown", "<a href=\"page:nowhere\">x</a>", u"<a href=\"#\">x</a>"_s);
    row("others stay", "<a href=\"a.html?b&amp;c\" title='>'>page:album</a>",
        u"<a href=\"a.html?b&amp;c\" title='>'>page:album</a>"_s);
    row("other attributes", "<a data-href=\"page:album\" hrefx=page:album>",
        u"<a data-href=\"page:album\" hrefx=page:album>"_s);
    row("comments and scripts",
        "<!-- <a href=\"page:album\"> --><script>'<a href=\"page:album\">'</SCRIPT><a href=page:album>",
        u"<!-- <a href=\"page:album\"> --><script>'<a href=\"page:album\">'</SCRIPT><a href=\"album.html\">"_s);
    row("unclosed", "1 < 2 <a href=\"page:album", u"1 < 2 <a href=\"album.html\""_s);
}

void HTMLPagePluginTest::addressesInMarkup()
{
    QFETCH(const QByteArray, HTML);
    QTEST(made(HTML), "content");
}

void HTMLPagePluginTest::reportsWhatIsNotThere()
{
    SmallSite site;
    addTargets(site);
    site.write(u"page.html"_s, "<a href=page:no><a href=page:album/no><img src=asset:no><a href=page:album>");
    ModulePage page(site, u"page.html"_s);
    QCOMPARE(page.problemsWhileMaking(site.params()), QStringList({u"link"_s, u"link"_s, u"link"_s}));
}

void HTMLPagePluginTest::takesTheBodyAndTheStylesOfADocument()
{
    SmallSite site;
    addTargets(site);
    site.write(u"page.html"_s,
               "<!DOCTYPE html><html><head><title>T</title><meta charset=utf-8><style>p > a {}</style>"
               "<link rel=stylesheet href=\"page:album\"><script>1</script></head>"
               "<body class=\"x\">\n<p>Text</p></body></html>");
    site.write(u"side.html"_s, "<body>Beside</body>");
    ModulePage page(site);
    page.set({{u"source"_s, u"page.html"_s},
              {u"sidebar"_s, u"side.html"_s},
              {u"contentPrefix"_s, u"<?php a(); ?>"_s}});
    QCOMPARE(page.problemsWhileMaking(site.params()), QStringList());
    QCOMPARE(page.content, u"\n<p>Text</p>");
    QCOMPARE(page.plugin->pageContentHeaders({}).toString(),
             u"<style>p > a {}</style><link rel=stylesheet href=\"album.html\"><script>1</script>");
    QCOMPARE(page.plugin->sidebarHTML(site.params()).toString(), u"Beside");
    QVariant prefix;
    QVERIFY(QMetaObject::invokeMethod(page.plugin.get(), "pageContentPrefix", Q_RETURN_ARG(QVariant, prefix),
                                      Q_ARG(QVariantMap, {})));
    QCOMPARE(prefix.toString(), u"<?php a(); ?>");
    const QVariantMap settings = page.plugin->pluginSettings().toMap().value(u"settings"_s).toMap();
    QCOMPARE(settings.keys(),
             QStringList({u"contentPrefix"_s, u"sidebar"_s})); // the source is the page's own
}

void HTMLPagePluginTest::readsOtherEncodings()
{
    QCOMPARE(made("\xEF\xBB\xBFé"), u"é");
    QCOMPARE(made(QByteArray("\xFF\xFE\xE9\0", 4)), u"é");
    SmallSite site;
    site.write(u"page.html"_s, "caf\xE9");
    ModulePage page(site, u"page.html"_s);
    QCOMPARE(page.problemsWhileMaking(site.params()), QStringList(u"source"_s));
    QCOMPARE(page.content, u"caf\uFFFD");
}

void HTMLPagePluginTest::readsNothingOutsideTheSite()
{
    QFETCH(const QString, source);
    SmallSite site;
    site.linkOut(u"way-out"_s);
    ModulePage page(site, source);
    QCOMPARE(page.problemsWhileMaking(site.params()), QStringList(u"source"_s));
    QCOMPARE(page.content, QString());
    QStringList files;
    QVERIFY(
        QMetaObject::invokeMethod(page.plugin.get(), "filesReadForExport", Q_RETURN_ARG(QStringList, files)));
    // What is not there yet may come; a link is watched, and what it leads to is not.
    for (const QString &file : files)
        QVERIFY2(file.startsWith(QFileInfo(site.folder.path()).canonicalFilePath() + u'/'), qPrintable(file));
    QCOMPARE(files.isEmpty(), source != u"missing.html" && !source.startsWith(u"way-out"));
}

void HTMLPagePluginTest::survivesSettingsOfAnyType()
{
    SmallSite site;
    site.write(u"page.html"_s, "x");
    ModulePage page(site, u"page.html"_s);
    for (int setting = 0; setting < 2; ++setting)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Error applying plugin settings: "_s));
    page.set({{u"source"_s, QVariantList{1}}, {u"nonsense"_s, 1}});
    QCOMPARE(page.problemsWhileMaking(site.params()), QStringList());
    QCOMPARE(page.content, u"x");
}

void HTMLPagePluginTest::isQuickForHostileMarkup()
{
    for (const char *piece :
         {"<", "<a ", "<a href=\"", "<!--", "<script>", "<a href=page:x ", "<body", "<style "}) {
        QElapsedTimer timer;
        timer.start();
        (void)made(QByteArray(piece).repeated(100000));
        QVERIFY2(timer.elapsed() < 20000, piece);
    }
}

QTEST_GUILESS_MAIN(HTMLPagePluginTest)
#include "HTMLPagePluginTest.moc"
