#include "tests/codecs/ExifMaker.h"
#include "tests/media/MovieMaker.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <array>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

struct Ended
{
    int code = -1;
    QByteArray output;
    QByteArray errors;
};

Ended qf(const QStringList &arguments, const QByteArray &input = {}, const QString &folder = {})
{
    QProcess process;
    if (!folder.isEmpty())
        process.setWorkingDirectory(folder);
    process.start(QStringLiteral(QF_PROGRAM), arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no such file)");
}

bool write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

class QfTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void exitsAsTold_data();
    void exitsAsTold();
    void changesText_data();
    void changesText();
    void exportsWithOptions_data();
    void exportsWithOptions();
    void exportsFilesBesideThePage();
    void reportsWhatIsLost();
    void keepsHalvesOfPairs();
    void writesToPipesWithoutReplacingThem();
    void convertsThereAndBack();
    void readsLongPipes();
    void transformsPictures();
    void tellsMetadata();
    void tellsAndFlattensMovies();
    void matchesGoldenFiles_data();
    void matchesGoldenFiles();
};

void QfTest::exitsAsTold_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("says");
    const auto row = [](const QStringList &arguments, int code, const char *says) {
        QTest::newRow(qPrintable(u"qf "_s + arguments.join(u' '))) << arguments << code << QByteArray(says);
    };
    row({}, 2, "qf: a command is needed");
    row({u"--version"_s}, 0, "qf ");
    row({u"--help"_s}, 0, "Usage: qf COMMAND");
    row({u"nothing"_s}, 2, "qf: there is no command \"nothing\"");
    for (const QString &command :
         {u"export"_s, u"convert"_s, u"image"_s, u"metadata"_s, u"movie"_s, u"text"_s})
        row({command, u"--help"_s}, 0, "Usage: qf ");
    row({u"export"_s}, 2, "qf: one document is needed");
    row({u"export"_s, u"--nonsense"_s, u"-"_s}, 2, "qf: Unknown option 'nonsense'.");
    row({u"export"_s, u"/none.json"_s}, 1, "qf: /none.json: No such file");
    row({u"export"_s, u"-"_s, u"--template"_s, u"/none.html"_s}, 1, "qf: /none.html: cannot be read");
    row({u"export"_s, u"-"_s, u"--depth"_s, u"x"_s}, 2, "qf: --depth must be");
    row({u"export"_s, u"-"_s, u"--default-font"_s, u"Arial"_s}, 2, "qf: --default-font must be");
    row({u"export"_s, u"-"_s, u"--image-format"_s, u"BMP"_s}, 2, "qf: --image-format must be");
    row({u"export"_s, u"-"_s, u"--json"_s}, 2, "qf: --json needs an output");
    row({u"export"_s, u"-"_s, u"--report"_s, u"-"_s}, 2, "qf: --report - needs an output");
    row({u"convert"_s, u"-"_s, u"-"_s, u"--report"_s, u"-"_s}, 2, "qf: --report - needs an output");
    row({u"convert"_s, u"-"_s, u"o"_s, u"--json"_s, u"--report"_s, u"-"_s}, 2, "qf: --json and --report");
    row({u"convert"_s, u"-"_s}, 2, "qf: a document and an output are needed");
    row({u"image"_s, u"-"_s}, 2, "qf: two files are needed");
    row({u"image"_s, u"-"_s, u"o"_s, u"--width"_s, u"wide"_s}, 2, "qf: --width, --height and --quality");
    row({u"image"_s, u"-"_s, u"o"_s, u"--quality"_s, u"1e30"_s}, 2, "qf: --width, --height and --quality");
    row({u"image"_s, u"-"_s, u"o"_s, u"--format"_s, u"PNG"_s}, 2, "qf: --format is one of");
    row({u"image"_s, u"-"_s, u"o"_s, u"--attributes"_s, u"[]"_s}, 2, "qf: --attributes is neither");
    row({u"metadata"_s}, 2, "qf: one file is needed; see qf metadata");
    row({u"metadata"_s, u"/none.jpg"_s}, 1, "qf: /none.jpg: No such file");
    row({u"metadata"_s, u"/"_s}, 1, "qf: /: is no picture");
    row({u"movie"_s, u"-"_s}, 1, "qf: -: is no movie");
    row({u"movie"_s, u"-"_s, u"--flatten"_s, u"x"_s}, 2, "qf: --flatten needs a named file");
    row({u"text"_s, u"shout"_s}, 2, "qf: that is no operation");
    row({u"text"_s, u"escape-xml"_s, u"--all"_s}, 2, "qf: that is no operation");
    row({u"text"_s, u"encode"_s, u"x"_s}, 2, "qf: encode needs the number");
    row({u"text"_s, u"md5"_s, u"--recursive"_s}, 2, "qf: --recursive belongs to replace");
    row({u"text"_s, u"replace"_s, u"none.json"_s}, 1, "qf: none.json");
    row({u"text"_s, u"encode"_s, u"0"_s}, 1, "qf: there is no character set 0");
}

void QfTest::exitsAsTold()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, says);
    const Ended ended = qf(arguments);
    QTEST(ended.code, "code");
    QVERIFY2((ended.output + ended.errors).startsWith(says), (ended.output + ended.errors).constData());
    QCOMPARE(ended.output.isEmpty(), ended.code != 0);
}

void QfTest::changesText_data()
{
    QTest::addColumn<QStringList>("operation");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("output");
    const auto row = [](const QStringList &operation, const char *input, const QByteArray &output) {
        QTest::newRow(qPrintable(operation.join(u' '))) << operation << QByteArray(input) << output;
    };
    row({u"escape-xml"_s}, "\xEF\xBB\xBF<&'\n", "\xEF\xBB\xBF&lt;&amp;&apos;\n");
    row({u"escape-html-attribute"_s}, "\"é\"", "&quot;é&quot;");
    row({u"escape-php"_s}, "it's \\", "it\\'s \\\\");
    row({u"numeric"_s}, "a é", "a &#xe9;");
    row({u"numeric"_s, u"--all"_s}, "ab", "&#x61;&#x62;");
    row({u"entities"_s}, "<é>", "<&eacute;>");
    row({u"entities"_s, u"--all"_s}, "<é>", "&lt;&eacute;&gt;");
    row({u"encode"_s, u"0x0201"_s}, "é€", "\xE9&#8364;");
    row({u"filename"_s}, "Café Menu", "caf00e9-menu");
    row({u"valid-filename"_s}, "x?/a b.html", "true");
    row({u"strip-separators"_s}, "a///b", "a/b");
    row({u"crc"_s}, "123456789", "181989fc");
    row({u"md5"_s}, "", "d41d8cd98f00b204e9800998ecf8427e");
    row({u"encode"_s, u"1536"_s}, "é", "&#233;");
}

void QfTest::changesText()
{
    QFETCH(QStringList, operation);
    QFETCH(QByteArray, input);
    const Ended ended = qf(QStringList{u"text"_s} + operation, input);
    QTEST(ended.output, "output");
    QCOMPARE(ended.code, 0);
    QCOMPARE(qf(QStringList{u"text"_s} + operation, "\xED\xA0\x80").code, 1); // no UTF-8
    const QTemporaryDir folder;
    QVERIFY(write(folder.filePath(u"map.json"_s), R"({"aa": "a"})"));
    QCOMPARE(qf({u"text"_s, u"replace"_s, u"map.json"_s}, "xaaaa", folder.path()).output, QByteArray("xaaa"));
    QCOMPARE(qf({u"text"_s, u"replace"_s, u"map.json"_s, u"--recursive"_s}, "xaaaa", folder.path()).output,
             QByteArray("xaa"));
    const Ended denied = qf({u"text"_s, u"valid-filename"_s}, "a+b");
    QVERIFY(denied.output == "false" && denied.code == 0);
}

void QfTest::exportsWithOptions_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("html");
    const QByteArray colour = "<span style=\"font:14px Georgia, serif; color:#ff0000; \">a</span>";
    QTest::newRow("none") << QStringList{} << colour;
    QTest::newRow("upper case") << QStringList{u"--uppercase-colors"_s}
                                << QByteArray(colour).replace("#ff0000", "#FF0000");
    QTest::newRow("default font") << QStringList{u"--default-font"_s, u"Georgia,Georgia,14"_s}
                                  << QByteArray("<span style=\"color:#ff0000; \">a</span>");
    QTest::newRow("content tag") << QStringList{u"--content-tag"_s, u"x"_s} << colour;
}

void QfTest::exportsWithOptions()
{
    QFETCH(QStringList, options);
    const Ended ended = qf(
        QStringList{u"export"_s, u"-"_s} + options,
        R"({"runs":[{"text":"a","attributes":{"NSColor":[1,0,0],"NSFont":{"name":"Georgia","size":14}}}]})");
    QTEST(ended.output, "html");
    QCOMPARE(ended.errors, QByteArray());
    QCOMPARE(ended.code, 0);
}

void QfTest::exportsFilesBesideThePage()
{
    const QTemporaryDir folder;
    QVERIFY(write(folder.filePath(u"note.txt"_s), "bytes"));
    QVERIFY(write(folder.filePath(u"page.html"_s), "<a>%body%</a>"));
    QVERIFY(write(folder.filePath(u"d.json"_s),
                  R"({"runs":[{"text":"\ufffc","attributes":{"NSAttachment":{"file":"note.txt"}}}]})"));
    const QStringList options{u"export"_s,     u"d.json"_s,    u"--to"_s,           u"out/f"_s,
                              u"--prefix"_s,   u"p"_s,         u"--files-folder"_s, u"f"_s,
                              u"--template"_s, u"page.html"_s, u"--content-tag"_s,  u"body"_s,
                              u"-o"_s,         u"o.html"_s,    u"--json"_s};
    const Ended ended = qf(options, {}, folder.path());
    QCOMPARE(ended.code, 0);
    QCOMPARE(contents(folder.filePath(u"o.html"_s)), QByteArray("<a><a href=\"f/p_1.txt\">note</a></a>"));
    QCOMPARE(contents(folder.filePath(u"out/f/p_1.txt"_s)), QByteArray("bytes"));
    const QJsonObject summary = QJsonDocument::fromJson(ended.output).object();
    QCOMPARE(summary.value(u"output"_s).toString(), u"o.html"_s);
    QCOMPARE(summary.value(u"problems"_s).toInt(-1), 0);
}

void QfTest::reportsWhatIsLost()
{
    const QTemporaryDir folder;
    const QStringList options{u"export"_s, u"-"_s, u"--report"_s, folder.filePath(u"r.json"_s)};
    const QByteArray input = "# a\n\n![b](gone.png)\n";
    const Ended ended = qf(options, input);
    QCOMPARE(ended.code, 0);
    QCOMPARE(ended.errors,
             QByteArray("qf: note: left out: not in the document's folder, or cannot be read (gone.png)\n"));
    const QJsonArray records = QJsonDocument::fromJson(contents(folder.filePath(u"r.json"_s))).array();
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.at(0).toObject().value(u"file"_s).toString(), u"gone.png"_s);

    const Ended strict = qf(options + QStringList{u"--strict"_s}, input);
    QCOMPARE(strict.code, 1);
    QCOMPARE(strict.output, ended.output);

    QCOMPARE(qf(options, QByteArray("\0", 1)).code, 1); // a document that cannot be read replaces the report
    const QByteArray unread = contents(options.constLast());
    QVERIFY2(unread.contains("\"document\"") && !unread.contains("gone.png"), unread.constData());
}

void QfTest::keepsHalvesOfPairs()
{
    QCOMPARE(qf({u"export"_s, u"-"_s}, "{\"runs\":[{\"text\":\"\\ud83da\\ud83d\\ude00\\ude00\"}]}").output,
             QByteArray("&#55357;a\xF0\x9F\x98\x80&#56832;"));
}

void QfTest::writesToPipesWithoutReplacingThem()
{
    const QTemporaryDir folder;
    const QByteArray path = QFile::encodeName(folder.filePath(u"pipe"_s));
    QCOMPARE(::mkfifo(path.constData(), 0600), 0);
    const int reader = ::open(path.constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    QVERIFY(reader >= 0);
    QCOMPARE(qf({u"export"_s, u"-"_s, u"-o"_s, QFile::decodeName(path)}, "hello").code, 0);
    std::array<char, 16> bytes{};
    QCOMPARE(::read(reader, bytes.data(), bytes.size()), 5);
    ::close(reader);
    struct stat status = {};
    QCOMPARE(::lstat(path.constData(), &status), 0);
    QVERIFY(S_ISFIFO(status.st_mode));
}

void QfTest::convertsThereAndBack()
{
    const QTemporaryDir folder;
    QVERIFY(write(folder.filePath(u"note.txt"_s), "bytes"));
    QVERIFY(write(
        folder.filePath(u"a.json"_s),
        R"({"runs":[{"text":"a"},{"text":"\ufffc","attributes":{"NSLink":{"href":"x"},"NSAttachment":{"file":"note.txt","plain":true}}}]})"));
    const auto convert = [&](const QString &from, const QString &to) {
        return qf({u"convert"_s, from, to}, {}, folder.path()).code;
    };
    QCOMPARE(convert(u"a.json"_s, u"b.archive"_s), 0);
    QCOMPARE(convert(u"b.archive"_s, u"c.json"_s), 0);
    QCOMPARE(convert(u"c.json"_s, u"d.json"_s), 0);
    QCOMPARE(contents(folder.filePath(u"c.json.files/note.txt"_s)), QByteArray("bytes"));
    QCOMPARE(contents(folder.filePath(u"d.json"_s)),
             contents(folder.filePath(u"c.json"_s)).replace("c.json", "d.json"));
    QCOMPARE(convert(u"c.json"_s, u"-"_s), 1); // embedded files need a name to stand beside
}

void QfTest::readsLongPipes()
{
    const QByteArray text(3000000, 'a');
    QCOMPARE(qf({u"export"_s, u"-"_s}, text).output, text);
    QCOMPARE(qf({u"text"_s, u"escape-xml"_s}, text).output, text);
}

void QfTest::transformsPictures()
{
    const QTemporaryDir folder;
    QVERIFY(QImage(400, 200, QImage::Format_RGB32).save(folder.filePath(u"a.png"_s)));
    const auto printed = [&](const QStringList &options) {
        return qf(QStringList{u"image"_s, u"-"_s, u"out.gif"_s} + options,
                  contents(folder.filePath(u"a.png"_s)), folder.path())
            .output;
    };
    QCOMPARE(printed({}), QByteArray("{\"height\":200,\"status\":0,\"width\":400}\n"));
    QCOMPARE(printed({u"--width"_s, u"100"_s}), QByteArray("{\"height\":50,\"status\":0,\"width\":100}\n"));
    QCOMPARE(printed({u"--square"_s}), QByteArray("{\"height\":200,\"status\":0,\"width\":200}\n"));
    QCOMPARE(printed({u"--attributes"_s, u"{\"rotation\": 90}"_s}),
             QByteArray("{\"height\":400,\"status\":0,\"width\":200}\n"));
    QCOMPARE(contents(folder.filePath(u"out.gif"_s)).left(4), QByteArray("GIF8"));
    QVERIFY(!printed({u"--format"_s, u"BMPf"_s}).isEmpty());
    QCOMPARE(contents(folder.filePath(u"out.gif"_s)).left(2), QByteArray("BM"));
    const Ended failed = qf({u"image"_s, u"-"_s, u"out.gif"_s}, "no picture", folder.path());
    QCOMPARE(failed.code, 1);
    QCOMPARE(failed.output, QByteArray("{\"height\":0,\"status\":-50,\"width\":0}\n"));
}

void QfTest::tellsMetadata()
{
    const QTemporaryDir folder;
    ExifMaker maker;
    maker.first = {{0x0112, ExifMaker::Short, 1, maker.number(6, 2)}};
    maker.exif = {{0x829A, ExifMaker::Rational, 1, maker.number(1, 4) + maker.number(250, 4)},
                  {0x9003, ExifMaker::Ascii, 5, QByteArray("2024\0", 5)},
                  {0x9209, ExifMaker::Short, 1, maker.number(0xFFFF, 2)}};
    QVERIFY(QImage(3, 2, QImage::Format_RGB32).save(folder.filePath(u"plain"_s), "JPEG"));
    const QByteArray photo = ExifMaker::inJPEG(contents(folder.filePath(u"plain"_s)), maker.made());
    const Ended ended = qf({u"metadata"_s, u"-"_s}, photo);
    QCOMPARE(ended.code, 0);
    QCOMPARE(ended.output.simplified(),
             QByteArray(R"({ "Orientation": 6, "PixelHeight": 2, "PixelWidth": 3, "{Exif}": )"
                        R"({ "kQTExifUserDataDateTimeOriginal": "2024\u0000", )"
                        R"("kQTExifUserDataExposureTime": 0.004, "kQTExifUserDataFlash": -1 } })"));
}

void QfTest::tellsAndFlattensMovies()
{
    const QTemporaryDir folder;
    QVERIFY(MovieMaker().write(folder.filePath(u"a.mov"_s)));
    const Ended told = qf({u"movie"_s, u"-"_s}, contents(folder.filePath(u"a.mov"_s)));
    QCOMPARE(told.output, QByteArray("{\"height\":64,\"width\":96}\n"));
    const QStringList flatten{u"movie"_s, u"a.mov"_s, u"--flatten"_s};
    const Ended flattened = qf(flatten + QStringList{u"out/f"_s}, {}, folder.path());
    QCOMPARE(flattened.output,
             QByteArray("{\"flattened\":\"out/f/flattened.mov\",\"height\":64,\"width\":96}\n"));
    QVERIFY(QFileInfo::exists(folder.filePath(u"out/f/flattened.mov"_s)));
    const Ended failed = qf(flatten + QStringList{u"a.mov"_s}, {}, folder.path());
    QCOMPARE(failed.code, 1);
    QCOMPARE(failed.errors, QByteArray("qf: a.mov: the folder cannot be made\n"));
}

void QfTest::matchesGoldenFiles_data()
{
    QTest::addColumn<QString>("document");
    const QDir folder(QStringLiteral(QF_GOLDEN));
    for (const QString &name : folder.entryList({u"*.md"_s, u"*.htm"_s, u"*.json"_s}, QDir::Files))
        QTest::newRow(qPrintable(name)) << name;
}

/// With QF_REFRESH_GOLDEN=1 in the environment a difference leaves a ".new" file beside the expected one, for
/// a person to read and rename.
void QfTest::matchesGoldenFiles()
{
    QFETCH(QString, document);
    const QTemporaryDir files;
    const QString expected = QStringLiteral(QF_GOLDEN "/") + document + u".html"_s;
    const Ended ended = qf({u"export"_s, QStringLiteral(QF_GOLDEN "/") + document, u"--to"_s, files.path()});
    QCOMPARE(ended.code, 0);
    if (ended.output != contents(expected) && qEnvironmentVariableIntValue("QF_REFRESH_GOLDEN") == 1)
        QVERIFY(write(expected + u".new"_s, ended.output));
    QCOMPARE(ended.output, contents(expected));
}

QTEST_GUILESS_MAIN(QfTest)
#include "QfTest.moc"
