#include "host/site/HostDocument.h"
#include "export/CVHTML.h"
#include "host/ReadFiles.h"
#include "host/plugins/PluginModules.h"
#include "host/site/AttachmentNames.h"
#include "host/site/HostPage.h"
#include "media/QFTextAttachment.h"
#include "platform/DynamicMessages.h"
#include "platform/KeyValueCoding.h"
#include "platform/NSMenu.h"
#include "platform/QFHost.h"
#include "platform/Values.h"
#include "plugin/QFAbstractPlugin.h"
#include "tests/export/Styled.h"
#include "tests/host/SiteMaker.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using NSKeyValueCoding::valueForKey;
using NSKeyValueCoding::valueForKeyPath;

class HostDocumentTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { report.emplace(); }
    void leadsFromPageToPage_data();
    void leadsFromPageToPage();
    void answersTheLibrary();
    void resolvesLinksOfDocuments();
    void readsDocumentsOfTheSiteOnly();
    void transfersSettings();
    void knowsWhoWasAsked();
    void survivesBadPlugins_data();
    void survivesBadPlugins();
    void namesAttachments_data();
    void namesAttachments();

private:
    [[nodiscard]] QString complaints() const { return messagesOf(report->records()); }

    SiteMaker maker;
    Site site;
    std::unique_ptr<PluginModules> modules;
    std::unique_ptr<HostDocument> document;
    std::optional<QFReport> report;
};

void HostDocumentTest::initTestCase()
{
    maker.write(u"secret.md"_s, "secret");
    maker.write(u"site/assets/plan one.pdf"_s, "%PDF");
    maker.writePages(uR"(
        {'id': 'home', *, 'settings': {'text': 'hello', 'asks': 'x'}},
        {'id': 'a', 'title': 'A & B', *, 'settingsFrom': 'home', 'extension': 'php', 'imageFormat': 'GIF',
         'children': [{'id': 'deep', *, 'settingsFrom': 'a', 'settings': {'text': 'own'}}]},
        {'id': 'far', 'external': 'https://f/?a=1&b'},
        {'id': 'dies', *, 'settings': {'deadly': '1', 'text': 'x'}},
        {'id': 'odd', *, 'settings': {'nosuch': 1, 'does': [], 'text': {}, 'source': 'ok'}},
        {'id': 'throws', *, 'themeOptions': {'throw': 1, 'x': 'kept'}},
        {'id': 'nobody', 'plugin': 'com.example.missing'},
        {'id': 'robbed', *, 'settingsFrom': 'dies'})"_s);
    QString error;
    site = SiteReader::read(maker.site(), error).value_or(Site());
    QVERIFY2(site.pages.size() == 9, qPrintable(error));
    modules = std::make_unique<PluginModules>(QStringList(QStringLiteral(QF_TEST_PLUGINS)));
    document = std::make_unique<HostDocument>(site, *modules);
}

void HostDocumentTest::leadsFromPageToPage_data()
{
    addRows({"from", "to", "correction", "address"}, uR"(
itself        | home | home   | 0  | index.html
down          | home | deep   | 0  | a-0026-b/deep/index.html
up            | deep | home   | 0  | ../../index.html
up, deeper    | deep | home   | 1  | ../../../index.html
external      | deep | far    | 2  | https://f/?a=1&b
to nobody     | home | ghost  | 0  |
from nobody   |      | home   | 0  |
)"_s);
}

void HostDocumentTest::leadsFromPageToPage()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QString, correction);
    QTEST(QFHost::pathFromPage(document.get(), from, to, correction.toLongLong()), "address");
}

void HostDocumentTest::answersTheLibrary()
{
    const QPointer<QObject> page = QFHost::pageFromUniqueID(document.get(), u"a"_s);
    QCOMPARE(QFHost::uniqueID(page), u"a"_s);
    QCOMPARE(QFHost::document(page), document.get());
    QCOMPARE(QFHost::filenameExt(page), u"php"_s);
    QCOMPARE(QFHost::imageFormat(page), u"GIF"_s);
    QVERIFY(QFHost::imageQuality(page).isNull());
    QVERIFY(!QFHost::isExternalPage(page));
    QCOMPARE(QFHost::pageFilesFolderName(document.get(), u"a"_s), u"index_files"_s);
    QVERIFY(QFHost::pageFilesFolderName(document.get(), u"far"_s).isNull());
    QCOMPARE(QFHost::fileNameOrSaveToFileName(document.get()), site.file());
    const QPointer<QObject> far = QFHost::pageFromUniqueID(document.get(), u"far"_s);
    QVERIFY(QFHost::isExternalPage(far) && !QFHost::plugin(far));
    QCOMPARE(QFHost::externalPageURL(far), u"https://f/?a=1&b"_s);
    QVERIFY(!QFHost::pageFromUniqueID(document.get(), u"x"_s));
    const QVariantMap attributes = QFHost::pageAttributes(page).toMap();
    const QVariantList assets = attributes.value(u"externalPageAssets"_s).toList();
    QCOMPARE(assets.size(), 1);
    QCOMPARE(valueForKey(assets.at(0), u"name"_s).toString(), u"plan one.pdf"_s);
    QVERIFY(valueForKey(assets.at(0), u"url"_s).toString().endsWith(u"/site/assets/plan%20one.pdf"));

    // Through a plug-in's window, as a link panel asks.
    auto *plugin = qobject_cast<QFAbstractPlugin *>(QFHost::plugin(page));
    QVERIFY(plugin);
    const QVariant delegate = valueForKey(plugin->documentWindow(), u"delegate"_s);
    QCOMPARE(objectValue(delegate), document.get());
    const auto menu = valueForKeyPath(delegate, u"tree.pageMenu"_s).value<NSMenu>();
    QCOMPARE(menu.items.size(), 8);
    QCOMPARE(menu.items.at(1).title, u"A & B"_s);
    QCOMPARE(objectValue(menu.items.at(1).representedObject), page.data());
    QCOMPARE(menu.items.at(1).submenu->items.at(0).title, u"deep"_s);
    QVERIFY(!menu.items.at(0).submenu);
}

void HostDocumentTest::resolvesLinksOfDocuments()
{
    maker.write(u"site/pages/links.md"_s,
                "[1](page:deep) [2](page:a/sub) [3](page:far) [4](asset:plan%20one.pdf) [5](page:home#part) "
                "[6](page:ghost) [7](asset:none.pdf) [8](asset:../site.json) [9](https://else/)");
    const QFReport::Installed collecting(*report);
    const QVariant answer = send(document.get(), "styledTextFromFile", {u"pages/links.md"_s});
    CVHTML exporter;
    exporter.setFilesFolderName(u"index_files"_s);
    exporter.setAssetsFolderName(u"assets"_s);
    const QString html = exporter.exportAttributedString(
        answer.value<NSAttributedString>(), maker.path(u"."_s), u"index_files"_s, u"i"_s, u"%c%"_s, u"c"_s,
        QFHost::pageFromUniqueID(document.get(), u"home"_s));
    QStringList addresses;
    const QRegularExpression link(u"(?:href=\"([^\"]*)\"[^>]*)?>(\\d)<"_s);
    for (auto match = link.globalMatch(html); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        addresses.append(found.captured(2) + u' ' + found.captured(1));
    }
    // The exporter writes no anchors, and addresses as they are; a link to nothing is none.
    QCOMPARE(addresses.join(u'\n'),
             u"1 a-0026-b/deep/index.html\n2 a-0026-b/index_files/sub-hello.html\n"
             "3 https://f/?a=1&b\n4 assets/plan one.pdf\n5 index.html\n9 https://else/"_s);
    QVERIFY2(complaints().contains(u"leads to no page of the site: ghost"), qPrintable(complaints()));
    QVERIFY(complaints().contains(u"leads to no asset of the site: none.pdf"));
    QVERIFY(complaints().contains(u"leads to no asset of the site: ../site.json"));
}

void HostDocumentTest::readsDocumentsOfTheSiteOnly()
{
    maker.write(u"site/pages/good.md"_s, "good");
    maker.write(u"site/pages/bad.json"_s, "{\"runs\": 7}");
    QFile::link(maker.path(u"secret.md"_s), maker.site() + u"/pages/link.md"_s);
    const QFReport::Installed collecting(*report);
    const ReadFiles reads;
    QVERIFY(!isNil(document->styledTextFromFile(site.folder + u"/pages/good.md"_s)));
    const QStringList refused{u"../secret.md"_s,     maker.path(u"secret.md"_s),
                              u"pages/link.md"_s,    u"pages/none.md"_s,
                              u"pages/bad.json"_s,   u"pages"_s,
                              u"pages/good.md\0x"_s, u""_s};
    for (const QString &path : refused) {
        const qsizetype before = report->records().size();
        QVERIFY2(isNil(document->styledTextFromFile(path)), qPrintable(path));
        QCOMPARE(report->records().size(), before + 1);
    }
    // What was looked for and not found counts: a page made without it must be made again once it is there.
    QVERIFY(reads.paths().contains(site.folder + u"/pages/good.md"_s));
    QVERIFY(reads.paths().contains(site.folder + u"/pages/none.md"_s));
}

void HostDocumentTest::transfersSettings()
{
    const QFReport::Installed collecting(*report);
    QFAbstractPlugin *const a = document->pluginOfPage(site.indexOfID.value(u"a"_s));
    QFAbstractPlugin *const deep = document->pluginOfPage(site.indexOfID.value(u"deep"_s));
    QVERIFY(a && deep);
    QCOMPARE(a->property("text").toString(), u"hello"_s); // from home, which offers only this one
    QVERIFY(a->property("asks").toString().isNull());
    QCOMPARE(deep->property("text").toString(), u"own"_s);
    QCOMPARE(a->uniqueID(), u"a"_s);
    deep->broadcastPluginSettingsRequest();
    QCOMPARE(deep->property("text").toString(), u"hello"_s); // as a has it
    QVERIFY(!document->takeChange());
    deep->broadcastMediaChanged();
    QVERIFY(document->takeChange() && !document->takeChange());
    QCOMPARE(complaints(), QString());
    document->pluginOfPage(0)->broadcastPluginSettingsRequest();
    QVERIFY(complaints().contains(u"settingsFrom names no page"));
}

void HostDocumentTest::knowsWhoWasAsked()
{
    document->forgetPlugins();
    static_cast<void>(document->takeConsultedPages());
    QVERIFY(QFHost::plugin(QFHost::pageFromUniqueID(document.get(), u"deep"_s)));
    QVERIFY(!QFHost::plugin(QFHost::pageFromUniqueID(document.get(), u"far"_s)));
    QCOMPARE(document->takeConsultedPages(),
             QSet<qsizetype>({0, 1, 2})); // settings come from a, its from home
    QVERIFY(document->takeConsultedPages().isEmpty());
}

void HostDocumentTest::survivesBadPlugins_data()
{
    addRows({"page", "isThere", "says"}, uR"(
destroys itself in a setter     | dies   | no  | destroyed itself while it was given its settings
settings that it does not have  | odd    | yes | Error applying plugin settings
throws in a setter              | throws | yes | exception in setValueForThemeSpecificOptionKey (no options)
missing module                  | nobody | no  | com.example.missing
settings of one that died       | robbed | yes | the settings of the page dies were not taken over
)"_s);
}

void HostDocumentTest::survivesBadPlugins()
{
    QFETCH(QString, page);
    QFETCH(QString, says);
    const QFReport::Installed collecting(*report);
    QFAbstractPlugin *const plugin = document->pluginOfPage(site.indexOfID.value(page));
    QTEST(plugin ? u"yes"_s : u"no"_s, "isThere");
    QVERIFY2(complaints().contains(says), qPrintable(complaints()));
    QVERIFY2(complaints().contains(page + u'|'), qPrintable(complaints()));
    if (page == u"odd")
        QCOMPARE(plugin->property("source").toString(), u"ok"_s); // the other settings were set
    if (page == u"throws")
        QCOMPARE(plugin->valueForThemeSpecificOptionKey(u"x"_s).toString(), u"kept"_s);
}

/// Each attachment as "name", with "=" before a stored one and "*" before those in list items.
void HostDocumentTest::namesAttachments_data()
{
    addRows({"attachments", "stored"}, uR"(
numbers do                       | a.png a.png b.png       | - - -
stored names that are equal      | =a.png =a.png =a.png    | a.png a-2.png a-3.png
capitals only                    | =a.png =A.PNG           | a.png A-2.PNG
pictures of two formats          | =a.png =a.jpg           | a.png a-2.jpg
other files of two formats       | =a.pdf =a.doc           | a.pdf a.doc
the number is taken              | =a-2.png =a.png =a.png  | a-2.png a.png a-3.png
paths of stored names            | =x/a.png =y/a.png       | x/a.png a-2.png
items of a list                  | *a.png *a.png *b.png    | - a.png b.png
before and in a list             | a.png *a.png            | - a.png
without a name in a list         | *a.png *                | - file
unsafe names in a list           | *a.png *ä/ö.png         | - 00f6.png
)"_s);
}

void HostDocumentTest::namesAttachments()
{
    QFETCH(QString, attachments);
    NSMutableAttributedString text;
    QList<std::shared_ptr<QFTextAttachment>> made;
    const QStringList words = attachments.split(u' ');
    for (const QString &word : words) {
        const QString name = word.mid(word.startsWith(u'=') || word.startsWith(u'*') ? 1 : 0);
        const NSFileWrapperPtr file = NSFileWrapper::regularFileWithContents("bytes");
        file->setPreferredFilename(name);
        made.append(std::make_shared<QFTextAttachment>(
            file, word.startsWith(u'=') ? QVariantMap{{u"filename"_s, name}} : QVariantMap()));
        const auto style = word.startsWith(u'*') ? listed({u"disc"}) : listed({});
        text.append(
            u"\uFFFC"_s,
            {{NSAttachmentAttributeName, QVariant::fromValue<NSTextAttachmentPtr>(made.last())}, style});
        text.append(u"\n"_s, NSAttributeDictionary{style});
    }
    const QFReport::Installed collecting(*report);
    const qsizetype given = AttachmentNames::makeUnique(text.copy());
    QStringList stored;
    for (const auto &attachment : made) {
        const QString name = attachment->mediaAttributes().value(u"filename"_s).toString();
        stored.append(name.isEmpty() ? u"-"_s : name);
    }
    QTEST(stored.join(u' '), "stored");
    QCOMPARE(given, report->records().size());
    QCOMPARE(AttachmentNames::makeUnique(text.copy()), 0);
}

QTEST_GUILESS_MAIN(HostDocumentTest)
#include "HostDocumentTest.moc"
