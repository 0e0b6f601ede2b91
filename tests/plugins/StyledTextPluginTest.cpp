#include "media/QFImageIO.h"
#include "media/QFQTExport.h"
#include "media/QFTextAttachment.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSUserDefaults.h"
#include "tests/Rows.h"
#include "tests/plugins/SmallSite.h"

#include <QImage>

/// Pages of styled text: who reads the documents, where pictures go, what stands in the head.
class StyledTextPluginTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsArchivesWhereTheHostReadsNothing();
    void letsTheHostRead();
    void describesThePageByHowItBegins();
    void linksItsStyleSheetFromAnyDepth_data();
    void linksItsStyleSheetFromAnyDepth();
    void writesShownSizesWhenAskedTo();
    void readsNothingOutsideTheSite_data() { addForbiddenSources(); }
    void readsNothingOutsideTheSite();
    void settingsAndDefaults();
};

namespace {

QByteArray archive(const NSAttributedString &text)
{
    return NSKeyedArchiver::archivedDataWithRootObject(QVariant::fromValue(text));
}

QFTextAttachmentPtr picture()
{
    QImage image(40, 20, QImage::Format_RGB32);
    image.fill(Qt::darkGreen);
    QTemporaryDir folder;
    const auto exporter = QFQTExport::exporterWithImage(QFImageIO::imageFromCGImage(image));
    exporter->setDestination(folder.path() + u"/p.jpg"_s);
    (void)exporter->exportImage();
    const NSFileWrapperPtr file = NSFileWrapper::regularFileWithContents(exporter->exportedBytes());
    file->setPreferredFilename(u"pond.jpg"_s);
    return std::make_shared<QFTextAttachment>(file);
}

NSAttributedString withPicture(const QString &words)
{
    NSMutableAttributedString text(words);
    text.append(u"\ufffc"_s,
                {{NSAttachmentAttributeName, QVariant::fromValue<NSTextAttachmentPtr>(picture())}});
    return text.copy();
}

/// A host that reads documents itself.
class ReadingSite : public SmallSite
{
    Q_OBJECT

public:
    Q_INVOKABLE QVariant styledTextFromFile(const QString &path)
    {
        asked.append(u"read "_s + path);
        return answer;
    }
    QVariant answer;
};

QStringList filesRead(const ModulePage &page)
{
    QStringList files;
    QMetaObject::invokeMethod(page.plugin.get(), "filesReadForExport", Q_RETURN_ARG(QStringList, files));
    return files;
}

} // namespace

void StyledTextPluginTest::readsArchivesWhereTheHostReadsNothing()
{
    SmallSite site;
    site.write(u"a/text"_s, archive(withPicture(u"Words "_s)));
    site.write(u"a/side"_s, archive(withPicture(u"Beside "_s)));
    ModulePage page(site);
    page.set({{u"source"_s, u"a/text"_s}, {u"sidebar"_s, u"a/side"_s}, {u"imagePrefix"_s, u"pic"_s}});
    QCOMPARE(page.problemsWhileMaking(site.params()), QStringList());
    QVERIFY(page.content.contains(u"Words "));
    QVERIFY(page.content.contains(u"src=\"page_files/pic_1.jpg\" width=\"40\" height=\"20\""));
    QVERIFY(page.plugin->sidebarHTML(site.params()).toString().contains(u"page_files/pic-sidebar_1.jpg"));
    QCOMPARE(QImage(site.written(u"pic_1.jpg"_s)).size(), QSize(40, 20));
    QVERIFY(QFile::exists(site.written(u"pic-sidebar_1.jpg"_s)));
    QCOMPARE(filesRead(page).size(), 2);

    // Nowhere to write the picture to: not to the root of the file system either.
    QCOMPARE(page.problemsWhileMaking({}), QStringList(u"export"_s));

    site.write(u"a/text"_s, "# Markdown");
    QCOMPARE(page.problemsWhileMaking(site.params()), QStringList(u"source"_s));
    QCOMPARE(page.content, QString());
}

void StyledTextPluginTest::letsTheHostRead()
{
    ReadingSite site;
    site.write(u"text.md"_s, "anything");
    ModulePage page(site, u"text.md"_s);
    site.answer = QVariant::fromValue(NSAttributedString(u"From the host"_s));
    (void)page.problemsWhileMaking(site.params());
    QCOMPARE(page.content, u"From the host");
    QVERIFY(site.asked.contains(u"read "_s + QFileInfo(site.path(u"text.md"_s)).canonicalFilePath()));
    QCOMPARE(filesRead(page), QStringList(site.path(u"text.md"_s)));

    site.answer = 42;
    (void)page.problemsWhileMaking(site.params());
    QCOMPARE(page.content, QString());
}

void StyledTextPluginTest::describesThePageByHowItBegins()
{
    ReadingSite site;
    site.write(u"text"_s, "");
    NSMutableAttributedString text;
    text.append(u"Title"_s, {{kQFTextViewMarkupDirectivesAttributeName, QVariantMap{{u"tag"_s, u"h2"_s}}}});
    text.append(u"<hr/>"_s, {{kQFTextViewIgnoreFormattingAttributeName, true}});
    text.append(u"Say \"yes\"\n\n\ufffcto "_s + u"longish "_s.repeated(40), {});
    site.answer = QVariant::fromValue(text.copy());
    ModulePage page(site, u"text"_s);
    (void)page.problemsWhileMaking(site.params());
    const QString headers = page.plugin->pageContentHeaders({}).toString();
    QVERIFY(
        headers.startsWith(u"<meta name=\"description\" content=\"Say &quot;yes&quot; to longish longish"));
    QVERIFY(headers.endsWith(u" longish…\" />"));
    QVERIFY(headers.size() < 230);

    site.answer = QVariant::fromValue(NSAttributedString());
    (void)page.problemsWhileMaking(site.params());
    QVERIFY(!page.plugin->pageContentHeaders({}).isValid());
}

void StyledTextPluginTest::linksItsStyleSheetFromAnyDepth_data()
{
    const Rows<QVariantMap, int, QString> row({"params", "depth", "address"});
    const QString common = u"plugincommonpath"_s;
    row("root", {{common, u"plugins/s"_s}}, 0, u"plugins/s/styled-text.css"_s);
    row("deeper", {{common, u"plugins/s/"_s}}, 2, u"../../plugins/s/styled-text.css"_s);
    row("absolute", {{common, u"/w/plugins/s"_s}, {u"commonpathsabsolute"_s, true}}, 2,
        u"/w/plugins/s/styled-text.css"_s);
}

void StyledTextPluginTest::linksItsStyleSheetFromAnyDepth()
{
    QFETCH(const QVariantMap, params);
    QFETCH(const int, depth);
    QFETCH(const QString, address);
    SmallSite site;
    const ModulePage page(site);
    QString filled = u"%PLUGIN_page_style_sheets%"_s;
    page.plugin->updatePageTemplate(filled, params, depth);
    const qsizetype own = filled.indexOf(u"href=\""_s + address + u'"');
    QVERIFY2(own >= 0, qPrintable(filled));
    QVERIFY(own < filled.indexOf(u"styles.css")); // the theme has the last word
    QStringList shared;
    for (const QVariant &record : page.kind->extraFilesNeededInExportFolder(params).toList()) {
        QVERIFY(record.toMap().value(u"contentdata"_s).toByteArray().size() > 100);
        shared.append(record.toMap().value(u"name"_s).toString());
    }
    QCOMPARE(shared, QStringList({u"styled-text.css"_s, u"movie.js"_s}));
}

void StyledTextPluginTest::writesShownSizesWhenAskedTo()
{
    SmallSite site;
    const QFTextAttachmentPtr shown = picture();
    (void)shown->mediaAttributes(); // those of a fresh one
    shown->setMediaAttribute(u"scale"_s, 0.5F);
    NSMutableAttributedString text;
    text.append(u"\ufffc"_s, {{NSAttachmentAttributeName, QVariant::fromValue<NSTextAttachmentPtr>(shown)}});
    site.write(u"text"_s, archive(text.copy()));
    ModulePage page(site, u"text"_s);
    QVariant done;
    QVERIFY(QMetaObject::invokeMethod(page.plugin.get(), "normaliseImages", Q_RETURN_ARG(QVariant, done)));
    (void)page.problemsWhileMaking(site.params());
    QCOMPARE(QImage(site.written(u"image_1.jpg"_s)).size(), QSize(20, 10));
}

void StyledTextPluginTest::readsNothingOutsideTheSite()
{
    QFETCH(const QString, source);
    ReadingSite site;
    site.answer = QVariant::fromValue(NSAttributedString(u"Secret"_s));
    site.linkOut(u"way-out"_s);
    ModulePage page(site, source);
    // The folder itself lies inside; it is the host that cannot read it.
    if (source.isEmpty())
        site.answer = {};
    (void)page.problemsWhileMaking(site.params());
    QCOMPARE(page.content, QString());
}

void StyledTextPluginTest::settingsAndDefaults()
{
    QTemporaryDir preferences;
    NSUserDefaults &defaults = NSUserDefaults::standardUserDefaults();
    defaults.setFolder(preferences.path());
    defaults.setObject(
        QVariantMap{{u"Styled Text"_s, QVariantMap{{u"imagePrefix"_s, u"house"_s},
                                                   {u"allowWebUnsafeFonts"_s, QVariantList()}}}},
        u"Plugins"_s);
    SmallSite site;
    ModulePage page(site);
    QCOMPARE(page.plugin->property("imagePrefix").toString(), u"house");
    QCOMPARE(page.plugin->property("allowWebUnsafeFonts").toBool(), false);

    page.set({{u"source"_s, u"mine"_s}, {u"imagePrefix"_s, u"../up"_s}, {u"sidebar"_s, u"side"_s}});
    QCOMPARE(page.plugin->property("imagePrefix").toString(), u"house");

    SmallSite otherSite;
    ModulePage other(otherSite);
    other.plugin->setUniqueID(u"other"_s);
    const QVariantMap record = page.plugin->pluginSettings().toMap();
    QVERIFY(other.plugin->acceptsPluginSettings(record));
    other.plugin->setPluginSettings(record);
    QCOMPARE(other.plugin->property("sidebar").toString(), u"side");
    QCOMPARE(other.plugin->property("source").toString(), QString());
}

QTEST_GUILESS_MAIN(StyledTextPluginTest)
#include "StyledTextPluginTest.moc"
