#include "media/QFImageIO.h"
#include "platform/NSNotificationCenter.h"
#include "platform/QFHost.h"
#include "tests/plugins/SmallSite.h"

#include <QImage>
#include <QRegularExpression>

/// Albums: the pictures and pages that are written, their names and links, and folders of all sorts.
class PhotoAlbumPluginTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writesPicturesOfTheSizesThatTheirTagsSay();
    void namesFilesSafelyAndApart();
    void reportsWhatIsNoPhotograph();
    void albumsWithoutPhotographs();
    void linksThePhotographsInTheirOrder();
    void tellsWhatTheCameraNoted();
    void makesWholePagesWhereThemesWantThem();
    void offersOriginals();
    void stopsWhenItIsCancelled();
    void seesThatAPhotographHasChanged();
    void keepsSettingsWithinTheirRanges();
};

namespace {

/// A JPEG of that size; odd colours, so that no two are the same.
QByteArray photograph(QSize size)
{
    QTemporaryDir folder;
    QImage image(size, QImage::Format_RGB32);
    image.fill(QColor::fromHsv(size.width() % 360, 200, 200));
    const QString path = folder.path() + u"/x.jpg"_s;
    image.save(path, "JPEG");
    return contents(path);
}

QByteArray sample(const QString &name)
{
    return contents(QStringLiteral(QF_PHOTOGRAPHS) + u'/' + name);
}

struct Album : SmallSite, ModulePage
{
    explicit Album(const QStringList &names = {}, const QVariantMap &settings = {})
        : ModulePage(*static_cast<SmallSite *>(this))
    {
        QDir().mkpath(path(u"photos"_s));
        int width = 30;
        for (const QString &name : names)
            SmallSite::write(u"photos/"_s + name, photograph({width++, 20}));
        set({{u"source"_s, u"photos"_s}});
        set(settings);
    }
    QVariantList extraFiles(const QVariantMap &others = {})
    {
        return plugin->extraFilesNeededInExportFolder(params(others)).toList();
    }
    QStringList fileNames(const QString &filter)
    {
        return QDir(written({})).entryList({filter}, QDir::Files, QDir::Name);
    }
};

QStringList captures(const QString &text, const QString &expression)
{
    QStringList found;
    const QRegularExpression wanted(expression);
    for (auto match = wanted.globalMatch(text); match.hasNext();)
        found.append(match.next().captured(1));
    return found;
}

QString contentOf(const QVariant &record)
{
    return record.toMap().value(u"substitutions"_s).toMap().value(u"content"_s).toString();
}

} // namespace

void PhotoAlbumPluginTest::writesPicturesOfTheSizesThatTheirTagsSay()
{
    Album album({}, {{u"thumbnailSize"_s, 50}, {u"photoSize"_s, 90}});
    album.SmallSite::write(u"photos/wide.jpg"_s, photograph({200, 100}));
    album.SmallSite::write(u"photos/high.jpg"_s, photograph({61, 122}));
    album.SmallSite::write(u"photos/tiny.jpg"_s, photograph({20, 16}));
    QCOMPARE(album.problemsWhileMaking(album.params()), QStringList());

    QString markup = album.content;
    for (const QVariant &page : album.extraFiles())
        markup += contentOf(page).replace(u"src=\""_s, u"src=\"page_files/"_s);
    const QStringList images = captures(markup, u"(<img [^>]*>)"_s);
    QCOMPARE(images.size(), 6);
    for (const QString &image : images) {
        const QString file = captures(image, u"src=\"page_files/([^\"]+)\""_s).value(0);
        const QSize size(captures(image, u" width=\"(\\d+)\""_s).value(0).toInt(),
                         captures(image, u" height=\"(\\d+)\""_s).value(0).toInt());
        QCOMPARE(QImage(album.written(file)).size(), size);
        QCOMPARE(qMax(size.width(), size.height()), file.contains(u"tiny")    ? 20
                                                    : file.contains(u"small") ? 50
                                                                              : 90);
        QVERIFY(captures(image, u" alt=\"([^\"]+)\""_s).size() == 1);
    }
}

void PhotoAlbumPluginTest::namesFilesSafelyAndApart()
{
    Album album({u"A b.jpg"_s, u"a-b.jpg"_s, u"a-b-small.jpg"_s, u"ünder.jpg"_s, u"日本.jpg"_s,
                 u"photo.jpg"_s, u"<script>.jpg"_s, u"A_B.JPG"_s});
    (void)album.problemsWhileMaking(album.params());
    const QStringList files = album.fileNames(u"*"_s);
    QCOMPARE(files.size(), 16);
    for (const QString &file : files)
        QVERIFY2(!file.contains(QRegularExpression(u"[^a-z0-9.-]"_s)), qPrintable(file));
    QVERIFY(!album.content.contains(u"<script>"));

    const QStringList linked = captures(album.content, u"href=\"page_files/([^\"]+)\""_s);
    QStringList written;
    for (const QVariant &page : album.extraFiles())
        written.append(page.toMap().value(u"name"_s).toString());
    QCOMPARE(linked, written);
    QCOMPARE(QSet<QString>(written.begin(), written.end()).size(), 8);
    // Links of other pages find them, by the file's name or the name made of it.
    QCOMPARE(QFHost::internalPageLinkFileMapper(album.plugin.get(), u"ünder.jpg"_s).value(), u"under");
    QCOMPARE(QFHost::internalPageLinkFileMapper(album.plugin.get(), u"日本.jpg"_s).value(), u"photo-2");
    QCOMPARE(QFHost::internalPageLinkFileMapper(album.plugin.get(), u"photo"_s).value(), u"photo");
    QCOMPARE(QFHost::internalPageLinkFileMapper(album.plugin.get(), u"../x"_s).value(), QString());
    // Another order of the album leaves them as they are.
    album.set({{u"order"_s, u"newest"_s}});
    QCOMPARE(QFHost::internalPageLinkFileMapper(album.plugin.get(), u"photo"_s).value(), u"photo");
}

void PhotoAlbumPluginTest::reportsWhatIsNoPhotograph()
{
    Album album({u"good.jpg"_s});
    album.SmallSite::write(u"photos/notes.txt"_s, "text");
    album.SmallSite::write(u"photos/broken.jpg"_s, "\xFF\xD8\xFF");
    album.SmallSite::write(u"photos/.hidden"_s, "text");
    album.SmallSite::write(u"photos/folder/inner.jpg"_s, photograph({20, 20}));
    album.linkOut(u"photos/link.jpg"_s);
    QVERIFY(QFile::link(u"/nowhere"_s, album.path(u"photos/dangling.jpg"_s)));
    album.SmallSite::write(u"photos/cut.jpg"_s, photograph({300, 300}).first(700));
    const QStringList problems = album.problemsWhileMaking(album.params());
    QVERIFY(problems.count(u"photograph"_s) >= 4);
    QVERIFY(captures(album.content, u"(<img)"_s).size() <= 2);
    QVERIFY(album.content.contains(u"good-small.jpg"));
    for (const QString &file : album.fileNames(u"*"_s))
        QVERIFY2(!QImage(album.written(file)).isNull(), qPrintable(file)); // nothing empty is left behind
}

void PhotoAlbumPluginTest::albumsWithoutPhotographs()
{
    for (const QString &source : {u"photos"_s, u"file"_s, u"nowhere"_s, u"../.."_s}) {
        const bool isFault = source != u"photos"; // which is an empty folder
        Album album;
        album.SmallSite::write(u"file"_s, "x");
        album.set({{u"source"_s, source}});
        QCOMPARE(album.problemsWhileMaking(album.params()),
                 isFault ? QStringList(u"source"_s) : QStringList());
        QCOMPARE(album.content.contains(u"no photographs"), !isFault);
        QCOMPARE(album.content.isEmpty(), isFault);
        QCOMPARE(album.extraFiles(), QVariantList());
    }
}

void PhotoAlbumPluginTest::linksThePhotographsInTheirOrder()
{
    Album album({u"a.jpg"_s, u"b.jpg"_s, u"c.jpg"_s});
    (void)album.problemsWhileMaking(album.params());
    const QVariantList pages = album.extraFiles();
    QCOMPARE(pages.size(), 3);
    const auto link = [&](int page, const QString &relation) {
        return captures(contentOf(pages[page]), u"rel=\"%1\" href=\"([^\"]+)\""_s.arg(relation)).value(0);
    };
    QCOMPARE(link(0, u"prev"_s), QString());
    QCOMPARE(link(0, u"next"_s), u"b.html");
    QCOMPARE(link(1, u"prev"_s), u"a.html");
    QCOMPARE(link(2, u"next"_s), QString());
    QCOMPARE(link(1, u"up"_s), u"page.html");
    QVERIFY(album.asked.contains(u"pathFromPage page page 1"_s)); // as seen from the files folder
}

void PhotoAlbumPluginTest::tellsWhatTheCameraNoted()
{
    Album album({}, {{u"order"_s, u"newest"_s}});
    album.SmallSite::write(u"photos/arnica.jpg"_s, sample(u"arnica.jpg"_s));
    album.SmallSite::write(u"photos/larches.jpg"_s, sample(u"larches.jpg"_s));
    album.SmallSite::write(u"photos/plain_one.jpg"_s, photograph({30, 20}));
    (void)album.problemsWhileMaking(album.params());
    const QString captions = u"<figcaption>([^<]*)</figcaption>"_s;
    QCOMPARE(captures(album.content, captions),
             QStringList({u"The larch wood on the way up from Tessen, second week of October"_s,
                          u"Arnica and ox-eye daisies on the alp behind the hut"_s, u"Plain one"_s}));
    const QString arnica = contentOf(album.extraFiles().value(1));
    QVERIFY2(arnica.contains(u"6 July 2024 · 1/500 s, f/8, ISO 100, 35 mm"), qPrintable(arnica));

    album.set({{u"captions"_s, u"name"_s}, {u"order"_s, u"date"_s}});
    (void)album.problemsWhileMaking(album.params());
    QCOMPARE(captures(album.content, captions), QStringList({u"Arnica"_s, u"Larches"_s, u"Plain one"_s}));
    album.set({{u"captions"_s, u"none"_s}});
    (void)album.problemsWhileMaking(album.params());
    QVERIFY(!album.content.contains(u"figcaption"));
}

void PhotoAlbumPluginTest::makesWholePagesWhereThemesWantThem()
{
    Album album({u"a.jpg"_s});
    (void)album.problemsWhileMaking(album.params());
    const QVariantMap page = album.extraFiles({{u"contentonlysubpages"_s, false}}).value(0).toMap();
    const QString HTML = page.value(u"entirehtml"_s).toString();
    QVERIFY(HTML.startsWith(u"<!DOCTYPE html>\n<html lang=\"en\">"));
    QVERIFY(HTML.contains(u"href=\"../../plugins/x/album.css\"")); // the page itself lies one folder deep
    QVERIFY(!page.contains(u"substitutions"_s));
}

void PhotoAlbumPluginTest::offersOriginals()
{
    Album album({u"a.jpg"_s, u"a-original.jpg"_s, u"ü b.jpg"_s}, {{u"offerOriginals"_s, true}});
    QImage image(10, 10, QImage::Format_RGB32);
    image.fill(Qt::red);
    QVERIFY(image.save(album.path(u"photos/Safe_name.png"_s)));
    (void)album.problemsWhileMaking(album.params());
    QStringList offered, downloads;
    for (const QVariant &file : album.extraFiles()) {
        downloads += captures(contentOf(file), u"download href=\"([^\"]+)\""_s);
        if (file.typeId() == QMetaType::QString)
            offered.append(QFileInfo(file.toString()).fileName());
        else if (file.toMap().contains(u"contentdata"_s))
            offered.append(file.toMap().value(u"name"_s).toString());
    }
    QCOMPARE(downloads, offered);
    QCOMPARE(offered.size(), 4);
    QVERIFY(offered.contains(u"Safe_name.png"_s));
    for (const QString &file : offered)
        QVERIFY2(!QFile::exists(album.written(file)),
                 qPrintable(file)); // no picture of the album has its name
}

void PhotoAlbumPluginTest::stopsWhenItIsCancelled()
{
    Album album({u"a.jpg"_s, u"b.jpg"_s, u"c.jpg"_s});
    QStringList heard;
    QObject observer;
    NSNotificationCenter::defaultCenter().addObserver(
        &observer, u"com.corvale.quillfern.plugin.exportstatus"_s, {}, [&](const NSNotification &status) {
            heard.append(status.object.toMap().value(u"message"_s).toString());
            if (heard.size() == 2)
                QMetaObject::invokeMethod(album.plugin.get(), "cancelExport");
        });
    (void)album.problemsWhileMaking(album.params());
    QCOMPARE(heard, QStringList({u"Photograph 1 of 3"_s, u"Photograph 2 of 3"_s, u"Album written"_s}));
    QCOMPARE(album.fileNames(u"*"_s).size(), 4);
    QCOMPARE(album.extraFiles(), QVariantList());
    heard = {u"again"_s, u"and again"_s};
    (void)album.problemsWhileMaking(album.params());
    QCOMPARE(album.extraFiles().size(), 3);
}

void PhotoAlbumPluginTest::seesThatAPhotographHasChanged()
{
    Album album({u"a.jpg"_s});
    (void)album.problemsWhileMaking(album.params());
    album.SmallSite::write(u"photos/a.jpg"_s, sample(u"arnica.jpg"_s));
    (void)album.problemsWhileMaking(album.params());
    QVERIFY(album.content.contains(u"Arnica and ox-eye daisies"));
}

void PhotoAlbumPluginTest::keepsSettingsWithinTheirRanges()
{
    Album album;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Error applying plugin settings: "_s));
    album.set({{u"thumbnailSize"_s, -5},
               {u"photoSize"_s, 1000000},
               {u"columns"_s, QVariantList()},
               {u"captions"_s, u"loud"_s},
               {u"order"_s, QString()}});
    QCOMPARE(album.plugin->property("thumbnailSize").toInt(), 16);
    QCOMPARE(album.plugin->property("photoSize").toInt(), 8000);
    QCOMPARE(album.plugin->property("columns").toInt(), 0);
    QCOMPARE(album.plugin->property("captions").toString(), u"metadata");
    QCOMPARE(album.plugin->property("order").toString(), u"name");
}

QTEST_MAIN(PhotoAlbumPluginTest)
#include "PhotoAlbumPluginTest.moc"
