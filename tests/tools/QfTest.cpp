#include "tests/Files.h"
#include "tests/Rows.h"
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

QStringList words(const char *text)
{
    return QString::fromUtf8(text).split(u' ', Qt::SkipEmptyParts);
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
    const Rows<int, QByteArray> row({"code", "says"}); // a row's name is what follows `qf`
    row("", 2, "qf: a command is needed");
    row("--version", 0, "qf ");
    row("--help", 0, "Usage: qf COMMAND");
    row("nothing", 2, "qf: there is no command \"nothing\"");
    for (const char *command : {"export", "convert", "image", "metadata", "movie", "text"})
        row(qPrintable(QString::fromLatin1(command) + u" --help"_s), 0, "Usage: qf ");
    row("export", 2, "qf: one document is needed");
    row("export --nonsense -", 2, "qf: Unknown option 'nonsense'.");
    row("export /none.json", 1, "qf: /none.json: No such file");
    row("export - --template /none.html", 1, "qf: /none.html: cannot be read");
    row("export - --depth x", 2, "qf: --depth must be");
    row("export - --default-font Arial", 2, "qf: --default-font must be");
    row("export - --image-format BMP", 2, "qf: --image-format must be");
    row("export - --json", 2, "qf: --json needs an output");
    row("export - --report -", 2, "qf: --report - needs an output");
    row("convert - - --report -", 2, "qf: --report - needs an output");
    row("convert - o --json --report -", 2, "qf: --json and --report");
    row("convert -", 2, "qf: a document and an output are needed");
    row("image -", 2, "qf: two files are needed");
    row("image - o --width wide", 2, "qf: --width, --height and --quality");
    row("image - o --quality 1e30", 2, "qf: --width, --height and --quality");
    row("image - o --format PNG", 2, "qf: --format is one of");
    row("image - o --attributes []", 2, "qf: --attributes is neither");
    row("metadata", 2, "qf: one file is needed; see qf metadata");
    row("metadata /none.jpg", 1, "qf: /none.jpg: No such file");
    row("metadata /", 1, "qf: /: is no picture");
    row("movie -", 1, "qf: -: is no movie");
    row("movie - --flatten x", 2, "qf: --flatten needs a named file");
    row("text shout", 2, "qf: that is no operation");
    row("text escape-xml --all", 2, "qf: that is no operation");
    row("text encode x", 2, "qf: encode needs the number");
    row("text md5 --recursive", 2, "qf: --recursive belongs to replace");
    row("text replace none.json", 1, "qf: none.json");
    row("build", 2, "qf: one site and an output folder are needed");
    row("build /none -o /none --mode draft", 2, "qf: --mode must be");
    row("build /none -o /none --page-seconds 0", 2, "qf: --page-seconds must be");
    row("build /none -o /none --json --report -", 2, "qf: --json and --report -");
    row("build /none -o /none", 1, "qf: /none: there is no such folder");
    row("check", 2, "qf: one site is needed");
    row("check -o /none", 1, "qf: /none: there is no built site");
    row("text encode 0", 1, "qf: there is no character set 0");
}

void QfTest::exitsAsTold()
{
    QFETCH(QByteArray, says);
    const Ended ended = qf(words(QTest::currentDataTag()));
    QTEST(ended.code, "code");
    QVERIFY2((ended.output + ended.errors).startsWith(says), (ended.output + ended.errors).constData());
    QCOMPARE(ended.output.isEmpty(), ended.code != 0);
}

void QfTest::changesText_data()
{
    const Rows<QByteArray, QByteArray> row({"input", "output"}); // a row's name is the operation
    row("escape-xml", "\xEF\xBB\xBF<&'\n", "\xEF\xBB\xBF&lt;&amp;&apos;\n");
    row("escape-html-attribute", "\"é\"", "&quot;é&quot;");
    row("escape-php", "it's \\", "it\\'s \\\\");
    row("numeric", "a é", "a &#xe9;");
    row("numeric --all", "ab", "&#x61;&#x62;");
    row("entities", "<é>", "<&eacute;>");
    row("entities --all", "<é>", "&lt;&eacute;&gt;");
    row("encode 0x0201", "é€", "\xE9&#8364;");
    row("filename", "Café Menu", "caf00e9-menu");
    row("valid-filename", "x?/a b.html", "true");
    row("strip-separators", "a///b", "a/b");
    row("crc", "123456789", "181989fc");
    row("md5", "", "d41d8cd98f00b204e9800998ecf8427e");
    row("encode 1536", "é", "&#233;");
}

void QfTest::changesText()
{
    const QStringList operation = words(QTest::currentDataTag());
    QFETCH(QByteArray, input);
    const Ended ended = qf(QStringList{u"text"_s} + operation, input);
    QTEST(ended.output, "output");
    QCOMPARE(ended.code, 0);
    QCOMPARE(qf(QStringList{u"text"_s} + operation, "\xED\xA0\x80").code, 1); // no UTF-8
    const QTemporaryDir folder;
    QVERIFY(write(folder.filePath(u"map.json"_s), R"({"aa": "a"})"));
    QCOMPARE(qf(words("text replace map.json"), "xaaaa", folder.path()).output, QByteArray("xaaa"));
    QCOMPARE(qf(words("text replace map.json --recursive"), "xaaaa", folder.path()).output,
             QByteArray("xaa"));
    const Ended denied = qf(words("text valid-filename"), "a+b");
    QVERIFY(denied.output == "false" && denied.code == 0);
}

void QfTest::exportsWithOptions_data()
{
    const Rows<QStringList, QByteArray> row({"options", "html"});
    const QByteArray colour = "<span style=\"font:14px Georgia, serif; color:#ff0000; \">a</span>";
    row("none", {}, colour);
    row("upper case", {u"--uppercase-colors"_s}, QByteArray(colour).replace("#ff0000", "#FF0000"));
    row("default font", {u"--default-font"_s, u"Georgia,Georgia,14"_s},
        "<span style=\"color:#ff0000; \">a</span>");
    row("content tag", {u"--content-tag"_s, u"x"_s}, colour);
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
    const Ended ended = qf(words("export d.json --to out/f --prefix p --files-folder f --template page.html "
                                 "--content-tag body -o o.html --json"),
                           {}, folder.path());
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
    QCOMPARE(qf(words("export -"), "{\"runs\":[{\"text\":\"\\ud83da\\ud83d\\ude00\\ude00\"}]}").output,
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
    QCOMPARE(qf(words("export -"), text).output, text);
    QCOMPARE(qf(words("text escape-xml"), text).output, text);
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
    const Ended failed = qf(words("image - out.gif"), "no picture", folder.path());
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
    const Ended ended = qf(words("metadata -"), photo);
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
    const Ended told = qf(words("movie -"), contents(folder.filePath(u"a.mov"_s)));
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
    const Rows<QString> row({"document"});
    const QDir folder(QStringLiteral(QF_GOLDEN));
    for (const QString &name : folder.entryList({u"*.md"_s, u"*.htm"_s, u"*.json"_s}, QDir::Files))
        row(qPrintable(name), name);
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
