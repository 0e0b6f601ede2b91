#include "export/CVHTML.h"
#include "platform/QFReport.h"
#include "tests/Rows.h"
#include "tests/export/Styled.h"
#include "tests/host/SmallHost.h"

#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

QFLinkPtr makeLink(const char16_t *href, bool internal, qint64 asset = 0)
{
    auto link = std::make_shared<QFLink>(QString::fromUtf16(href), internal);
    link->setAsset(asset);
    return link;
}

/// A small site: pages "home" and "about", and "out", which stands for an address elsewhere.
struct Site
{
    SmallDocument document;
    SmallPage *home = document.addPage(u"home"_s);
    SmallPage *about = document.addPage(u"about"_s);
    SmallPage *out = document.addPage(u"out"_s);

    Site()
    {
        out->external = true;
        out->externalURL = u"http://else.example/"_s;
        about->attributes = QVariantMap{{u"filenameExt"_s, u"php"_s}};
    }

    QString exported(const QFLinkPtr &link, qint64 depth = 0)
    {
        return CVHTML().exportAttributedString(styled({{u"x", {linked(link)}}}), u"/nowhere"_s, u"f"_s,
                                               u"p"_s, u"%c%"_s, u"c"_s, home, depth);
    }
};

} // namespace

class CVHTMLLinksTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void resolvesWithoutAHost_data()
    {
        const Rows<QVariant, qint64, QString> addRow({"link", "depth", "html"});
        const auto row = [&](const char *name, const QFLinkPtr &link, qint64 depth, const char16_t *html) {
            addRow(name, QVariant::fromValue(link), depth, QString::fromUtf16(html));
        };
        const auto dressed = makeLink(u"a\nb.html?x=\"1\"&y=é", false);
        dressed->setTitle(u"it's <\"new\">\né"_s);
        dressed->setRel(u"nofollow"_s);
        row("the target stands in for rel", makeLink(u"a.html", false), 3,
            u"<a href=\"a.html\" rel=\"self\">x</a>");
        row("only the title is escaped", dressed, 0,
            u"<a href=\"a<br />b.html?x=\"1\"&y=&eacute;\" rel=\"nofollow\" "
            u"title=\"it&apos;s &lt;&quot;new&quot;&gt;<br />é\">x</a>");
        row("asset", makeLink(u"FILE:///a%20b/my%20logo.pdf#top", false, 1), 2,
            u"<a href=\"../../assets/my logo.pdf\" rel=\"self\">x</a>");
        row("asset that is no file", makeLink(u"http://a/b.pdf", false, 1), 2,
            u"<a href=\"http://a/b.pdf\" rel=\"self\">x</a>");
        row("unknown kind of asset", makeLink(u"file:///a.pdf", false, 2), 0, u"x</a>");
        row("page link without a page", makeLink(u"about", true), 0, u"x</a>");
        row("nil address", std::make_shared<QFLink>(), 0, u"x</a>");
        const auto bare = std::make_shared<QFLink>();
        bare->setHREF(u""_s);
        row("empty address, no target", bare, 0, u"<a href=\"\">x</a>");
        addRow("string", u"other.html"_s, 1, u"<a href=\"other.html\">x</a>"_s);
        addRow("URL object", QUrl(u"a.html"_s), 0, u"x</a>"_s);
    }
    void resolvesWithoutAHost()
    {
        QFETCH(QVariant, link);
        QFETCH(qint64, depth);
        QTEST(CVHTML().exportAttributedString(styled({{u"x", {{NSLinkAttributeName, link}}}}), u"/nowhere"_s,
                                              u"f"_s, u"p"_s, u"%c%"_s, u"c"_s, nullptr, depth),
              "html");
    }

    void asksTheHostForPages()
    {
        Site site;
        const auto link = makeLink(u"about", true);
        link->setAnchor(u"never written"_s);
        QCOMPARE(site.exported(link, 2), u"<a href=\"about.html\" rel=\"self\">x</a>"_s);
        QCOMPARE(site.document.asked,
                 (QStringList{u"pageFromUniqueID about"_s, u"pathFromPage home about 2"_s}));
    }
    void takesExternalPagesAsTheyAre()
    {
        Site site;
        const auto link = makeLink(u"out", true);
        link->setTarget({});
        link->setSubpageID(u"not asked"_s);
        QCOMPARE(site.exported(link), u"<a href=\"http://else.example/\" rel=\"self\">x</a>"_s);
        QCOMPARE(site.document.asked, QStringList{u"pageFromUniqueID out"_s});
        site.out->externalURL = QUrl(u"http://else.example/"_s); // a host's mistake counts as nil
        QCOMPARE(site.exported(link), u"x</a>"_s);
    }
    void placesSubpages()
    {
        Site site;
        site.document.path = [](const QVariantMap &) { return u"../us/about.html"_s; };
        const auto link = makeLink(u"about", true);
        link->setSubpageID(u"7"_s);
        SmallMappingPlugin *plugin = SmallDocument::mappingPlugin(site.about);
        plugin->mapper = [](const QString &id) { return u"photo"_s + id; };
        QCOMPARE(site.exported(link), u"<a href=\"../us/about_files/photo7.php\" rel=\"self\">x</a>"_s);
        plugin->mapper = [](const QString &) { return u"photo.html"_s; };
        QCOMPARE(site.exported(link), u"<a href=\"../us/about_files/photo.html\" rel=\"self\">x</a>"_s);
    }
    void logsSubpagesThatAreNotThere()
    {
        for (const bool throws : {false, true}) {
            Site site;
            SmallDocument::mappingPlugin(site.about)->mapper = [throws](const QString &) -> QString {
                if (throws)
                    throw std::runtime_error("no");
                return u""_s;
            };
            const auto link = makeLink(u"about", true);
            link->setSubpageID(u"%1"_s);
            QFReport report;
            const QFReport::Installed installed(report);
            QTest::ignoreMessage(QtWarningMsg, "Couldn't resolve subpage '%1'");
            QCOMPARE(site.exported(link), u"x</a>"_s);
            QCOMPARE(report.records().constFirst().page, u"home"_s);
        }
    }
    void goesOnWithoutAMapper()
    {
        Site site;
        site.about->pagePlugin = new SmallPlugin(site.about);
        const auto link = makeLink(u"about", true);
        link->setSubpageID(u"7"_s);
        QCOMPARE(site.exported(link), u"<a href=\"about.html\" rel=\"self\">x</a>"_s);
    }
    void exportsTheTextAsItWasAtTheStart()
    {
        Site site;
        auto text = styled({{u"x", {linked(makeLink(u"about", true))}}, {u"y", {raw()}}, {u"z", {}}});
        site.document.path = [&text](const QVariantMap &) {
            text = NSAttributedString();
            return u"a.html"_s;
        };
        QCOMPARE(CVHTML().exportAttributedString(text, u"/n"_s, u"f"_s, u"p"_s, u"%c%"_s, u"c"_s, site.home),
                 u"<a href=\"a.html\" rel=\"self\">x</a>yz"_s);
    }
    void outlivesThePageBeingDestroyed()
    {
        auto site = std::make_unique<Site>();
        site->document.path = [&site](const QVariantMap &) {
            delete std::exchange(site->home, nullptr);
            return u"a.html"_s;
        };
        const NSAttributedString text =
            styled({{u"x", {linked(makeLink(u"about", true))}}, {u"y", {linked(makeLink(u"about", true))}}});
        QCOMPARE(CVHTML().exportAttributedString(text, u"/n"_s, u"f"_s, u"p"_s, u"%c%"_s, u"c"_s, site->home),
                 u"<a href=\"a.html\" rel=\"self\">x</a>y</a>"_s);
    }
};

QTEST_GUILESS_MAIN(CVHTMLLinksTest)
#include "CVHTMLLinksTest.moc"
