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
    /// Pages with files, links from each to the next, and a path that all want.
    void writePages(int count) const
    {
        QStringList pages;
        for (int i = 0; i < count; ++i)
            pages.append(uR"({'id': 'p%1', *, 'settings': {'text': '%1', 'asks': 'p%2', 'files': {'f': '%1'},
                'extras': [{'name': 'shared', 'data': '%1', 'destination': '/shared.txt'}]}})"_s.arg(i)
                             .arg((i + 1) % count));
        maker->writePages(pages.join(u','));
    }

    std::optional<SiteMaker> maker;
};

void QfSitesTest::init()
{
    maker.emplace();
    maker->write(u"site/theme/theme.json"_s, "{}");
    maker->write(u"site/theme/template.html"_s, "%content%");
    maker->write(u"site/theme/styles.css"_s, "body {}");
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
    addRows({"does", "says"}, uR"(
aborts                          | abort   | crashed (Aborted) while it made the page
hangs                           | hang    | took more than 1 seconds and was ended
tells of progress without end   | chatter | took more than 1 seconds and was ended
)"_s);
}

void QfSitesTest::losesOnlyPagesOfBadPlugins()
{
    QFETCH(QString, does);
    QFETCH(QString, says);
    maker->writePages(
        u"{'id': 'home', *}, {'id': 'bad', *, 'settings': {'does': {'contentHTML': '%1'}}}, {'id': 'last', *}"_s
            .arg(does));
    for (const QString &jobs : {u"1"_s, u"2"_s}) {
        const Ended result = qf(build({u"--jobs"_s, jobs, u"--page-seconds"_s, u"1"_s, u"--all"_s}));
        QCOMPARE(result.code, 1);
        QVERIFY2(result.errors.contains(u"qf: page bad:\nqf:     the plug-in "_s + says),
                 qPrintable(result.errors));
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
    const QString pages =
        u"{'id': 'home', @, 'settings': {'text': '%1'}}, {'id': 'a', @, 'settings': {'text': '%2'}}"_s;
    maker->writePages(pages.arg(u"old"_s, u"old"_s));
    maker->write(u"site/assets/large"_s, "old");
    QCOMPARE(qf(build()).code, 0);
    const QMap<QString, QByteArray> before = maker->files(u"out"_s);
    maker->writePages(pages.arg(QString::fromLatin1(large), u"new"_s));
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
        u"{'id': 'home', *}, {'id': 'a', *, 'settings': {'does': {'contentHTML': 'hang'}}}, {'id': 'last', *}"_s);
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
    addRows({"html", "finding"}, uR"(
good addresses    | <a href="../index.html#top">a</a><a href="./">a</a><a href="../">a</a><a href="mailto:x">a</a><a href="//else/x">a</a>
good anchors      | <h2 id="h">h</h2><a href="#h">a</a><a href="?q#h">a</a><a href="index.html#h">a</a>
good assets       | <a href="../assets/a%20b.txt">a</a><img srcset="../assets/p.png 1x, data:image/png;base64,AA== 2x" alt="p">
no tags           | <!-- <a href="none.html"> --><script>"<a href=none.html>"</script>
no page           | <a href="none.html">a</a>           | broken-link the a leads to nothing: "none.html"
capitals          | <a href="../INDEX.html">a</a>       | broken-link the a leads to nothing: "../INDEX.html"
out of the site   | <a href="../../secret">a</a>        | broken-link the address "../../secret" leads out of the site
absolute          | <a href="/index.html">a</a>         | broken-link the address "/index.html" leads out of the site
NUL               | <a href="%00">a</a>                 | broken-link the a leads to nothing: "%00"
no asset          | <a href="../assets/none">a</a>      | missing-asset the a leads to nothing: "../assets/none"
no anchor         | <a href="#none">a</a>               | missing-anchor there is no place "#none" in a/index.html
no poster         | <video poster="x.png"></video>      | broken-link the video leads to nothing: "x.png"
one of a set      | <img srcset="../assets/p.png 1x, q.png 2x" alt="p"> | broken-link the img leads to nothing: "q.png"
no text           | <img src="../assets/p.png">         | missing-alt the picture "../assets/p.png" has no alternative text
)"_s);
}

void QfSitesTest::checksSites()
{
    QFETCH(QString, html);
    QFETCH(QString, finding);
    maker->write(u"site/assets/a b.txt"_s, "a");
    maker->write(u"site/assets/p.png"_s, "p");
    maker->write(u"site/theme/styles.css"_s,
                 "a { background: url(none.png) } b { background: url('styles.css') }");
    const QString pages =
        u"{'id': 'home', *}, {'id': 'gone', *}, {'id': 'a', *, 'settings': {'source': 'a.html'}}"_s;
    maker->write(u"site/a.html"_s, html.toUtf8());
    maker->writePages(pages + u", {'id': 'old', *}"_s);
    QCOMPARE(qf(build()).code, 0);
    maker->writePages(pages);
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
    if (!finding.isEmpty())
        expected.prepend(u"a/index.html: "_s + finding);
    QCOMPARE(findings, expected);
    // A build of its own has none of the last one's.
    const Ended fresh = qf({u"check"_s, maker->site()});
    QCOMPARE(fresh.code, 0);
    QCOMPARE(fresh.output.count("\n    "), finding.isEmpty() ? 1 : 2);
}

QTEST_GUILESS_MAIN(QfSitesTest)
#include "QfSitesTest.moc"
