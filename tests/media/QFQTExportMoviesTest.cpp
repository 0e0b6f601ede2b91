#include "media/QFQTExport.h"

#include "tests/Files.h"
#include "tests/Rows.h"
#include "tests/media/MovieMaker.h"

#include <QDir>
#include <QImage>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtEndian>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

void expectFailure(const QString &reason)
{
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(u"^Exception while flattening movie: "_s + reason + u"$"_s));
}

} // namespace

class QFQTExportMoviesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void init();
    void tellsSizes_data();
    void tellsSizes();
    void takesNothingElseForMovies_data();
    void takesNothingElseForMovies();
    void followsNoReferences();
    void survivesCutMovies();
    void refusesIndexesThatClaimTooMuch_data();
    void refusesIndexesThatClaimTooMuch();
    void refusesTablesInDescriptions();
    void readsCompressedIndexes();
    void flattens_data();
    void flattens();
    void replacesWhateverIsAtTheTarget();
    void keepsAMovieThatIsItsOwnTarget();
    void saysWhyItDoesNotFlatten();
    void embeds();

private:
    [[nodiscard]] QString path(const QString &name) const { return _folder->filePath(name); }

    std::unique_ptr<QTemporaryDir> _folder;
};

void QFQTExportMoviesTest::init()
{
    _folder = std::make_unique<QTemporaryDir>();
}

void QFQTExportMoviesTest::tellsSizes_data()
{
    const Rows<MovieMaker, QSize> row({"movie", "size"});
    row("QuickTime", {}, {96, 64});
    row("MPEG-4", {.container = "mp4"}, {96, 64});
    row("in fragments", {.movflags = "frag_keyframe+empty_moov"}, {96, 64});
    row("AVI", {.container = "avi", .codec = AV_CODEC_ID_MJPEG}, {96, 64});
    row("MPEG programme stream", {.container = "mpeg", .codec = AV_CODEC_ID_MPEG1VIDEO}, {96, 64});
    row("MPEG transport stream", {.container = "mpegts", .codec = AV_CODEC_ID_MPEG2VIDEO}, {96, 64});
    row("turned to the left", {.turn = 90}, {64, 96});
    row("turned to the right", {.turn = -90}, {64, 96});
    row("upside down", {.turn = 180}, {96, 64});
    row("wide pixels", {.aspect = {4, 3}}, {128, 64});
    row("narrow pixels", {.aspect = {1, 2}}, {48, 64});
    row("wide pixels, turned", {.aspect = {4, 3}, .turn = 90}, {64, 128});
    row("with a cover before the film", {.container = "mp4", .hasCover = true}, {96, 64});
}

void QFQTExportMoviesTest::tellsSizes()
{
    QFETCH(MovieMaker, movie);
    QFETCH(QSize, size);
    const QString file = path(u"a film.txt"_s); // told by content
    QVERIFY(movie.write(file));
    const NSSize expected{float(size.width()), float(size.height())};
    QVERIFY(QFQTExport::getPotentialQuickTimeMovie(file));
    QCOMPARE(QFQTExport::getMovieDimensions(file), expected);
    QCOMPARE(QFQTExport::getMovieDimensionsFromData(contents(file)), expected);
}

void QFQTExportMoviesTest::takesNothingElseForMovies_data()
{
    const Rows<QByteArray> row({"bytes"});
    row("nothing", "");
    row("text", QByteArray("The bees came back this morning.\n").repeated(1000));
    row("one box without end", QByteArray("\0\0\0\0moov", 8));
    row("a box in itself", QByteArray("\0\0\0\x08moov\0\0\0\x08trak", 16).repeated(5000));
    row("a box of a wrong size", QByteArray("\0\0\0\x01moov\x7f\xff\xff\xff\xff\xff\xff\xff", 16));
    row("a list of files", "ffconcat version 1.0\nfile 'real.mov'\n");
    row("a playlist", "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\nreal.mov\n"
                      "#EXT-X-ENDLIST\n");
    row("a description of a session", "v=0\nm=video 5004 RTP/AVP 96\n");
}

void QFQTExportMoviesTest::takesNothingElseForMovies()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(MovieMaker().write(path(u"real.mov"_s)));
    QVERIFY(write(path(u"a.mov"_s), bytes));
    QVERIFY(!QFQTExport::getPotentialQuickTimeMovie(path(u"a.mov"_s)));
    QCOMPARE(QFQTExport::getMovieDimensions(path(u"a.mov"_s)), NSSize());
    QCOMPARE(QFQTExport::getMovieDimensionsFromData(bytes), NSSize());
}

void QFQTExportMoviesTest::followsNoReferences()
{
    QVERIFY(MovieMaker().write(path(u"real.mov"_s)));
    QVERIFY(QFile::link(path(u"gone.mov"_s), path(u"link.mov"_s)));
    QVERIFY(QImage(8, 8, QImage::Format_RGB32).save(path(u"picture.mov"_s), "PNG"));
    QVERIFY(QImage(8, 8, QImage::Format_RGB32).save(path(u"photo.mov"_s), "JPEG"));
    for (const QString &other : {_folder->path(), path(u"none.mov"_s), path(u"link.mov"_s),
                                 path(u"picture.mov"_s), path(u"photo.mov"_s), u"/dev/zero"_s, QString(),
                                 u"concat:"_s + path(u"real.mov"_s), u"file:"_s + path(u"real.mov"_s)})
        QVERIFY2(!QFQTExport::getPotentialQuickTimeMovie(other), qPrintable(other));
}

void QFQTExportMoviesTest::survivesCutMovies()
{
    for (const char *container : {"mov", "avi", "mpeg"}) {
        const MovieMaker movie{.container = container,
                               .codec = *container == 'm' && container[1] == 'p' ? AV_CODEC_ID_MPEG1VIDEO
                                                                                 : AV_CODEC_ID_MPEG4,
                               .movflags = "faststart"};
        QVERIFY(movie.write(path(u"a"_s)));
        const QByteArray whole = contents(path(u"a"_s));
        for (qsizetype length = 0; length < whole.size(); length += 1 + length / 8) {
            const NSSize size = QFQTExport::getMovieDimensionsFromData(whole.first(length));
            QVERIFY(size == NSSize() || size == (NSSize{96, 64}));
        }
    }
}

void QFQTExportMoviesTest::refusesIndexesThatClaimTooMuch_data()
{
    const Rows<QByteArray, QList<quint32>, bool> row({"atom", "numbers", "isMovie"});
    row("as it is", "stsz", {}, true);
    row("samples of one byte", "stsz", {1, 100'000'000}, false);
    row("samples of all sizes", "stsz", {0, 0xFFFFFFFF}, false);
    row("samples of great size", "stsz", {0xFFFFFFFF, 0xFFFFFFFF}, false);
    row("samples in a chunk", "stsc", {1, 1, 0xFFFFFFFF}, false);
    row("chunks", "stco", {0xFFFFFFFF}, false);
    row("edits", "elst", {0xFFFFFFFF}, false);
}

void QFQTExportMoviesTest::refusesIndexesThatClaimTooMuch()
{
    QFETCH(QByteArray, atom);
    QFETCH(QList<quint32>, numbers);
    QVERIFY(MovieMaker().write(path(u"a.mov"_s)));
    QByteArray bytes = contents(path(u"a.mov"_s));
    qsizetype at = bytes.indexOf(atom) + 8;
    QVERIFY(at > 8);
    for (const quint32 number : numbers) { // behind version and flags
        qToBigEndian(number, bytes.data() + at);
        at += 4;
    }
    QTEST(QFQTExport::getMovieDimensionsFromData(bytes) == (NSSize{96, 64}), "isMovie");
}

void QFQTExportMoviesTest::refusesTablesInDescriptions()
{
    QVERIFY(MovieMaker().write(path(u"a.mov"_s)));
    QByteArray bytes = contents(path(u"a.mov"_s));
    constexpr qsizetype kCompressor = 63; // its name, any text
    for (const auto &[name, size] : {std::pair("text", NSSize{96, 64}), std::pair("stsz", NSSize())}) {
        bytes.replace(bytes.indexOf("stsd") + kCompressor, 4, name);
        QCOMPARE(QFQTExport::getMovieDimensionsFromData(bytes), size);
    }
}

void QFQTExportMoviesTest::readsCompressedIndexes()
{
    QVERIFY(MovieMaker().write(path(u"a.mov"_s)));
    const QByteArray bytes = contents(path(u"a.mov"_s));
    const qsizetype at = bytes.indexOf("moov") - 4;
    const auto atom = [](const char *name, const QByteArray &content) {
        QByteArray size(4, '\0');
        qToBigEndian(static_cast<quint32>(content.size() + 8), size.data());
        return size + name + content;
    };
    const auto compressed = [&](const QByteArray &index) {
        return bytes.first(at) +
               atom("moov", atom("cmov", atom("dcom", "zlib") + atom("cmvd", qCompress(index))));
    };
    QCOMPARE(QFQTExport::getMovieDimensionsFromData(compressed(bytes.sliced(at))), (NSSize{96, 64}));
    QByteArray hostile = bytes.sliced(at);
    qToBigEndian<quint64>(0x00000001'7FFFFFFF, hostile.data() + hostile.indexOf("stsz") + 8);
    QCOMPARE(QFQTExport::getMovieDimensionsFromData(compressed(hostile)), NSSize());

    // More than an index needs, several of them, one in another.
    const QByteArray index = bytes.sliced(at);
    const QByteArray padded = index + atom("free", QByteArray(50 << 20, 'x'));
    QCOMPARE(QFQTExport::getMovieDimensionsFromData(compressed(padded)), NSSize());
    const QByteArray again = compressed(index).sliced(at);
    QCOMPARE(QFQTExport::getMovieDimensionsFromData(compressed(index) + again.sliced(8)), NSSize());
    QCOMPARE(QFQTExport::getMovieDimensionsFromData(compressed(again)), NSSize());
}

void QFQTExportMoviesTest::flattens_data()
{
    const Rows<MovieMaker> row({"movie"});
    row("index at the end", MovieMaker{.turn = 90});
    row("index in front", MovieMaker{.movflags = "faststart"});
    row("in fragments", MovieMaker{.movflags = "frag_keyframe+empty_moov"});
    row("MPEG-4 with a cover", MovieMaker{.container = "mp4", .hasCover = true});
    row("AVI", MovieMaker{.container = "avi", .codec = AV_CODEC_ID_MJPEG});
    row("with sound", MovieMaker{.hasSound = true});
    row("AVI with sound", MovieMaker{.container = "avi", .codec = AV_CODEC_ID_MJPEG, .hasSound = true});
    row("MPEG", MovieMaker{.container = "mpeg", .codec = AV_CODEC_ID_MPEG1VIDEO});
    row("wide pixels", MovieMaker{.aspect = {4, 3}});
}

void QFQTExportMoviesTest::flattens()
{
    QFETCH(MovieMaker, movie);
    const QString file = path(u"a.mov"_s);
    QVERIFY(movie.write(file));
    QVERIFY(QDir().mkpath(path(u"temp"_s)));
    const QString flattened = QFQTExport::flattenQuickTimeMovieForFastStart(file, path(u"temp"_s));
    QCOMPARE(flattened, path(u"temp/flattened.mov"_s));
    QCOMPARE(QDir(path(u"temp"_s)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList{u"flattened.mov"_s});
    const QByteArray bytes = contents(flattened);
    QVERIFY(bytes.indexOf("moov") > 0 && bytes.indexOf("moov") < bytes.indexOf("mdat"));
    QCOMPARE(bytes.contains("Field notes"), contents(file).contains("Field notes"));
    QVERIFY(!moviePackets(flattened).isEmpty());
    QCOMPARE(moviePackets(flattened), moviePackets(file));
    // Sound is cut into other pieces.
    const QByteArray sound = moviePackets(file, AVMEDIA_TYPE_AUDIO).join();
    QCOMPARE(sound.isEmpty(), !movie.hasSound);
    QCOMPARE(moviePackets(flattened, AVMEDIA_TYPE_AUDIO).join(), sound);
    QCOMPARE(QFQTExport::getMovieDimensions(flattened), QFQTExport::getMovieDimensions(file));
}

void QFQTExportMoviesTest::replacesWhateverIsAtTheTarget()
{
    QVERIFY(MovieMaker().write(path(u"a.mov"_s)));
    QVERIFY(write(path(u"precious"_s), "precious"));
    QVERIFY(QFile::link(path(u"precious"_s), path(u"flattened.mov"_s)));
    QCOMPARE(QFQTExport::flattenQuickTimeMovieForFastStart(path(u"a.mov"_s), _folder->path()),
             path(u"flattened.mov"_s));
    QCOMPARE(contents(path(u"precious"_s)), QByteArray("precious"));
    QVERIFY(!QFileInfo(path(u"flattened.mov"_s)).isSymLink());
    QCOMPARE(moviePackets(path(u"flattened.mov"_s)), moviePackets(path(u"a.mov"_s)));
}

void QFQTExportMoviesTest::keepsAMovieThatIsItsOwnTarget()
{
    const QString file = path(u"flattened.mov"_s);
    QVERIFY(MovieMaker().write(file));
    const QList<QByteArray> packets = moviePackets(file);
    QCOMPARE(QFQTExport::flattenQuickTimeMovieForFastStart(file, _folder->path()), file);
    QCOMPARE(moviePackets(file), packets);

    QVERIFY(write(file, "no movie"));
    expectFailure(u".* could not be read \\(-\\d+\\)"_s);
    QVERIFY(QFQTExport::flattenQuickTimeMovieForFastStart(file, _folder->path()).isNull());
    QCOMPARE(contents(file), QByteArray("no movie"));
}

void QFQTExportMoviesTest::saysWhyItDoesNotFlatten()
{
    const auto flattens = [this](const QString &file, const QString &folder) {
        return !QFQTExport::flattenQuickTimeMovieForFastStart(file, folder).isNull();
    };
    QVERIFY(MovieMaker().write(path(u"a.mov"_s)));
    const QString nowhere = path(u"none"_s);
    expectFailure(u"The movie file reference to '"_s + nowhere +
                  u"/flattened\\.mov' could not be created \\(2\\)"_s);
    QVERIFY(!flattens(path(u"a.mov"_s), nowhere));
    QVERIFY(!QFileInfo::exists(nowhere));

    expectFailure(u"The movie file at '"_s + nowhere + u"' cannot be read"_s);
    QVERIFY(!flattens(nowhere, _folder->path()));
    QCOMPARE(QFileInfo(path(u"flattened.mov"_s)).size(), 0); // created before the movie is looked at
    expectFailure(u"The movie file reference to '"_s + _folder->path() +
                  u"' could not be created \\(21\\)"_s);
    QVERIFY(!flattens(_folder->path(), _folder->path()));

    QVERIFY(write(path(u"cut.mov"_s), contents(path(u"a.mov"_s)).first(500)));
    expectFailure(u"The movie file at '"_s + path(u"cut.mov"_s) + u"' could not be read \\(-\\d+\\)"_s);
    QVERIFY(!flattens(path(u"cut.mov"_s), _folder->path()));

    QCOMPARE(QFileInfo(path(u"flattened.mov"_s)).size(), 0);
}

void QFQTExportMoviesTest::embeds()
{
    QCOMPARE(QFQTExport::quicktimeEmbedHTMLForSrc(u"it's %@.mov"_s, 320, -1, false),
             u"<!-- Movie code starts !--><div class=\"movie-frame\"><script type=\"text/javascript\">"
             "QT_WriteOBJECT_XHTML('it's %@.mov', '320', '-1', '', 'autoplay', 'false' );</script></div>"
             "<!-- Movie code ends !-->"_s);
    QVERIFY(QFQTExport::quicktimeEmbedHTMLForSrc(u"m"_s, 1, 1, true).contains(u"'autoplay', 'true' );"));
}

QTEST_GUILESS_MAIN(QFQTExportMoviesTest)
#include "QFQTExportMoviesTest.moc"
