#include "tests/host/SiteMaker.h"

#include <QProcess>
#include <QTest>

#include <csignal>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

struct Ended
{
    int code = -1;
    QByteArray output;
    QString errors;
};

Ended ended(QProcess &process)
{
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit)
        return {-1, {}, QString::fromUtf8(process.readAllStandardError())};
    return {process.exitCode(), process.readAllStandardOutput(),
            QString::fromUtf8(process.readAllStandardError())};
}

void start(QProcess &process, const QString &program, const QStringList &arguments)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QF_PLUGIN_PATH"_s, QStringLiteral(QF_TEST_PLUGINS));
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
}

Ended qf(const QStringList &arguments)
{
    QProcess process;
    start(process, QStringLiteral(QF_PROGRAM), arguments);
    return ended(process);
}

/// As a shell runs it; "$0" is the program.
Ended inShell(const QString &script, const QStringList &arguments)
{
    QProcess process;
    start(process, u"bash"_s, QStringList{u"-c"_s, script, QStringLiteral(QF_PROGRAM)} + arguments);
    return ended(process);
}

} // namespace

class QfSitesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void exitsAsTold_data();
    void exitsAsTold();
    void buildsTheSameInAnyNumberOfProcesses();
    void losesOnlyPagesOfBadPlugins_data();
    void losesOnlyPagesOfBadPlugins();
    void saysWhatItDid();
    void leavesWholeFilesOnAFullDisk();
    void endsWhenInterrupted();
    void checksSites_data();
    void checksSites();

private:
    [[nodiscard]] QStringList build(const QStringList &options = {}) const
    {
        return QStringList{u"build"_s, maker->site(), u"-o"_s, maker->output()} + options;
    }
    void writePages(int count) const;

    std::optional<SiteMaker> maker;
};

void QfSitesTest::init()
{
    maker.emplace();
    maker->write(u"site/theme/theme.json"_s, "{}");
    maker->write(u"site/theme/template.html"_s, "%content%");
    maker->write(u"site/theme/styles.css"_s, "body {}");
}

/// Pages with files, links from each to the next, and a path that all want.
void QfSitesTest::writePages(int count) const
{
    QByteArray pages;
    for (int i = 0; i < count; ++i) {
        const QByteArray number = QByteArray::number(i);
        pages += json(i == 0 ? "" : ", ") + json("{'id': 'p") + number +
                 json("', 'plugin': 'com.example.test-page', 'settings': {'text': '") + number +
                 json("', 'asks': 'p") + QByteArray::number((i + 1) % count) + json("', 'files': {'f': '") +
                 number + json("'}, 'extras': [{'name': 'shared', 'data': '") + number +
                 json("', 'destination': '/shared.txt'}]}}");
    }
    maker->writePages(pages);
}

void QfSitesTest::exitsAsTold_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("says");
    const auto row = [](const QStringList &arguments, int code, const QString &says) {
        QTest::newRow(qPrintable(arguments.join(u' '))) << arguments << code << says;
    };
    const QString none = u"/none"_s;
    row({u"build"_s}, 2, u"qf: one site and an output folder are needed"_s);
    row({u"build"_s, none}, 2, u"qf: one site and an output folder are needed"_s);
    row({u"build"_s, none, u"-o"_s, none, u"--mode"_s, u"draft"_s}, 2, u"qf: --mode must be"_s);
    row({u"build"_s, none, u"-o"_s, none, u"--jobs"_s, u"-1"_s}, 2, u"qf: --jobs must be"_s);
    row({u"build"_s, none, u"-o"_s, none, u"--page-seconds"_s, u"0"_s}, 2, u"qf: --page-seconds must be"_s);
    row({u"build"_s, none, u"-o"_s, none, u"--json"_s, u"--report"_s, u"-"_s}, 2,
        u"qf: --json and --report -"_s);
    row({u"build"_s, none, u"-o"_s, u"/tmp/none"_s}, 1, u"qf: /none: there is no such folder"_s);
    row({u"check"_s}, 2, u"qf: one site is needed"_s);
    row({u"check"_s, none}, 1, u"qf: /none: there is no such folder"_s);
    row({u"check"_s, u"-o"_s, none}, 1, u"qf: /none: there is no built site"_s);
}

void QfSitesTest::exitsAsTold()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, says);
    const Ended result = qf(arguments);
    QTEST(result.code, "code");
    QVERIFY2(result.errors.startsWith(says), qPrintable(result.errors));
    QCOMPARE(result.output, QByteArray());
}

void QfSitesTest::buildsTheSameInAnyNumberOfProcesses()
{
    writePages(12);
    QMap<QString, QByteArray> first;
    QByteArray report;
    for (const QString &jobs : {u"1"_s, u"2"_s, u"7"_s, u"0"_s}) {
        QDir(maker->output()).removeRecursively();
        const Ended result = qf(build({u"--jobs"_s, jobs, u"--report"_s, maker->path(u"report"_s)}));
        QVERIFY2(result.code == 0, qPrintable(result.errors));
        const QMap<QString, QByteArray> files = maker->files(u"out"_s);
        if (first.isEmpty()) {
            first = files;
            report = maker->read(u"report"_s);
        }
        QCOMPARE(files, first);
        QCOMPARE(maker->read(u"report"_s), report);
    }
    QCOMPARE(first.size(), 12 * 2 + 2);
    QCOMPARE(first.value(u"shared.txt"_s), QByteArray("0"));
    QCOMPARE(QDir(maker->path(u"out/.qf"_s)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList(u"manifest.json"_s));
}

void QfSitesTest::losesOnlyPagesOfBadPlugins_data()
{
    QTest::addColumn<QByteArray>("does");
    QTest::addColumn<QString>("says");
    QTest::newRow("aborts") << QByteArray("abort")
                            << u"the plug-in crashed (Aborted) while it made the page"_s;
    QTest::newRow("hangs") << QByteArray("hang") << u"the plug-in took more than 1 seconds and was ended"_s;
    QTest::newRow("tells of progress without end")
        << QByteArray("chatter") << u"the plug-in took more than 1 seconds and was ended"_s;
}

void QfSitesTest::losesOnlyPagesOfBadPlugins()
{
    QFETCH(QByteArray, does);
    QFETCH(QString, says);
    maker->writePages(json("{'id': 'home', 'plugin': 'com.example.test-page'}, {'id': 'bad', 'plugin': "
                           "'com.example.test-page',"
                           "'settings': {'does': {'contentHTML': '") +
                      does + json("'}}}, {'id': 'last', 'plugin': 'com.example.test-page'}"));
    for (const QString &jobs : {u"1"_s, u"2"_s}) {
        const Ended result = qf(build({u"--jobs"_s, jobs, u"--page-seconds"_s, u"1"_s, u"--all"_s}));
        QCOMPARE(result.code, 1);
        QVERIFY2(result.errors.contains(u"qf: page bad:\nqf:     "_s + says), qPrintable(result.errors));
        QCOMPARE(maker->files(u"out"_s).keys(),
                 QStringList({u"index.html"_s, u"last/index.html"_s, u"theme/styles.css"_s}));
    }
}

void QfSitesTest::saysWhatItDid()
{
    writePages(2);
    Ended result = qf(build({u"--json"_s}));
    QCOMPARE(result.code, 0);
    const QJsonObject summary = QJsonDocument::fromJson(result.output).object();
    QCOMPARE(summary.value(u"pages"_s).toInt(), 2);
    QCOMPARE(summary.value(u"made"_s).toInt(), 2);
    QCOMPARE(summary.value(u"files"_s).toInt(), 6);
    QCOMPARE(summary.value(u"written"_s).toInt(), 6);
    const QJsonObject record = summary.value(u"records"_s).toArray().at(0).toObject();
    QCOMPARE(record.value(u"page"_s).toString(), u"p1"_s);
    QCOMPARE(record.value(u"message"_s).toString(), u"another page's file lies there already: shared.txt"_s);
    result = qf(build({u"--report"_s, u"-"_s}));
    QCOMPARE(QJsonDocument::fromJson(result.output).array().at(0), QJsonValue(record));
    QCOMPARE(qf(build({u"--strict"_s})).code, 1);
    result = qf(build());
    QVERIFY2(result.output.startsWith("2 pages (2 made, 0 failed), 6 files (0 changed), "),
             result.output.constData());
    QCOMPARE(qf(build({u"--quiet"_s})).output, QByteArray());
}

void QfSitesTest::leavesWholeFilesOnAFullDisk()
{
    const QByteArray large(200000, 'x');
    const auto page = [](const char *id, const QByteArray &text) {
        return json("{'id': '") + id +
               json("', 'plugin': 'com.example.test-telling-page', 'settings': {'text': '") + text + "\"}}";
    };
    maker->writePages(page("home", "old") + ',' + page("a", "old"));
    maker->write(u"site/assets/large"_s, "old");
    QCOMPARE(qf(build()).code, 0);
    const QMap<QString, QByteArray> before = maker->files(u"out"_s);
    maker->writePages(page("home", large) + ',' + page("a", "new"));
    maker->write(u"site/assets/large"_s, large);
    // A file may have 100 KB.
    const Ended result = inShell(u"ulimit -f 100; trap '' XFSZ; \"$0\" \"$@\""_s, build());
    QCOMPARE(result.code, 1);
    QVERIFY2(result.errors.contains(u"index.html: File too large"), qPrintable(result.errors));
    QVERIFY2(result.errors.contains(u"assets/large: File too large"), qPrintable(result.errors));
    QMap<QString, QByteArray> after = maker->files(u"out"_s);
    QCOMPARE(after.take(u"a/index.html"_s), QByteArray("new"));
    QCOMPARE(after.value(u"index.html"_s), QByteArray("old"));
    QCOMPARE(after.keys().size(), before.keys().size() - 1);
    QCOMPARE(qf(build()).code, 0);
    QCOMPARE(maker->read(u"out/index.html"_s), large);
    QCOMPARE(maker->read(u"out/assets/large"_s), large);
}

void QfSitesTest::endsWhenInterrupted()
{
    maker->writePages(
        json("{'id': 'home', 'plugin': 'com.example.test-page'}, {'id': 'a', 'plugin': "
             "'com.example.test-page', 'settings':"
             "{'does': {'contentHTML': 'hang'}}}, {'id': 'last', 'plugin': 'com.example.test-page'}"));
    QProcess process;
    start(process, QStringLiteral(QF_PROGRAM), build({u"--jobs"_s, u"1"_s, u"--page-seconds"_s, u"2"_s}));
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(maker->path(u"out/index.html"_s)), 30000);
    ::kill(static_cast<pid_t>(process.processId()), SIGINT);
    const Ended result = ended(process);
    QCOMPARE(result.code, 1);
    QVERIFY2(result.errors.contains(u"qf: interrupted; the pages that were not reached are as they were"),
             qPrintable(result.errors));
    QVERIFY(!QFileInfo::exists(maker->path(u"out/last/index.html"_s)));
    QVERIFY(!QFileInfo::exists(maker->path(u"out/.qf/staging"_s)));
}

void QfSitesTest::checksSites_data()
{
    QTest::addColumn<QByteArray>("html");
    QTest::addColumn<QString>("finding"); ///< nil for none
    const auto row = [](const char *html, const QString &finding = {}) {
        QTest::newRow(html) << json(html) << finding;
    };
    row("<a href='../index.html#top'>a</a><a href='./'>a</a><a href='../'>a</a><a href='mailto:x'>a</a><a "
        "href='//else/x'>a</a>");
    row("<h2 id='h'>h</h2><a href='#h'>a</a><a href='?q#h'>a</a><a href='index.html#h'>a</a>");
    row("<a href='../assets/a%20b.txt'>a</a><img src='../assets/p.png' srcset='../assets/p.png 1x, "
        "data:image/png;base64,AA== 2x' alt='p'>");
    row("<!-- <a href='none.html'> --><script>'<a href=none.html>'</script>");
    row("<a href='none.html'>a</a>", u"broken-link the a leads to nothing: \"none.html\""_s);
    row("<a href=' &#110;one.html '>a</a>", u"broken-link the a leads to nothing: \"none.html\""_s);
    row("<a href='../INDEX.html'>a</a>", u"broken-link the a leads to nothing: \"../INDEX.html\""_s);
    row("<a href='../../secret'>a</a>", u"broken-link the address \"../../secret\" leads out of the site"_s);
    row("<a href='/index.html'>a</a>", u"broken-link the address \"/index.html\" leads out of the site"_s);
    row("<a href='%00'>a</a>", u"broken-link the a leads to nothing: \"%00\""_s);
    row("<a href='../assets/none'>a</a>", u"missing-asset the a leads to nothing: \"../assets/none\""_s);
    row("<a href='#none'>a</a>", u"missing-anchor there is no place \"#none\" in a/index.html"_s);
    row("<a href='../index.html#none'>a</a>", u"missing-anchor there is no place \"#none\" in index.html"_s);
    row("<script src='x.js'></script>", u"broken-link the script leads to nothing: \"x.js\""_s);
    row("<video poster='x.png'></video>", u"broken-link the video leads to nothing: \"x.png\""_s);
    row("<img srcset='../assets/p.png 1x, q.png 2x' alt='p'>",
        u"broken-link the img leads to nothing: \"q.png\""_s);
    row("<img src='../assets/p.png'>",
        u"missing-alt the picture \"../assets/p.png\" has no alternative text"_s);
}

void QfSitesTest::checksSites()
{
    QFETCH(QByteArray, html);
    QFETCH(QString, finding);
    maker->write(u"site/assets/a b.txt"_s, "a");
    maker->write(u"site/assets/p.png"_s, "p");
    maker->write(u"site/theme/styles.css"_s,
                 "a { background: url(none.png) } b { background: url('styles.css') }");
    const QByteArray text =
        QJsonDocument(QJsonObject{{u"text"_s, QString::fromUtf8(html)}}).toJson(QJsonDocument::Compact);
    const QByteArray pages = json("{'id': 'home', 'plugin': 'com.example.test-page'}, {'id': 'a', 'plugin': "
                                  "'com.example.test-page', 'settings': ") +
                             text + '}';
    maker->writePages(pages + json(", {'id': 'old', 'plugin': 'com.example.test-page'}, {'id': 'gone', "
                                   "'plugin': 'com.example.test-page'}"));
    QCOMPARE(qf(build()).code, 0);
    maker->writePages(pages + json(", {'id': 'gone', 'plugin': 'com.example.test-page'}"));
    QCOMPARE(qf(build()).code, 0);
    maker->write(u"out/stray.txt"_s, "stray");
    QVERIFY(QFile::remove(maker->path(u"out/gone/index.html"_s)));
    const Ended result = qf({u"check"_s, u"-o"_s, maker->output(), u"--json"_s, u"--strict"_s});
    QCOMPARE(result.code, 1);
    QStringList findings;
    for (const QJsonValue &found : QJsonDocument::fromJson(result.output).array())
        findings.append(found[u"file"_s].toString() + u": "_s + found[u"kind"_s].toString() + u' ' +
                        found[u"message"_s].toString());
    QStringList expected{u"gone/index.html: missing-file the file of the last build is not there any more"_s,
                         u"old/index.html: orphan an earlier build made it, and no page has it any more"_s,
                         u"stray.txt: stray-file no build has made it"_s,
                         u"theme/styles.css: broken-link the style sheet leads to nothing: \"none.png\""_s};
    if (!finding.isNull())
        expected.prepend(u"a/index.html: "_s + finding);
    QCOMPARE(findings, expected);
    // A build of its own has none of the last one's.
    const Ended fresh = qf({u"check"_s, maker->site()});
    QCOMPARE(fresh.code, 0);
    QCOMPARE(fresh.output.count("\n    "), finding.isNull() ? 1 : 2);
}

QTEST_GUILESS_MAIN(QfSitesTest)
#include "QfSitesTest.moc"
