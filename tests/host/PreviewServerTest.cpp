#include "host/preview/PreviewServer.h"

#include "tests/host/SiteMaker.h"

#include <QSignalSpy>
#include <QTcpSocket>

#include <optional>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kLarge = 20'000'000;

PreviewReport reportOf(const QString &message, const QString &page = {})
{
    PreviewReport report;
    report.outcome = PreviewReport::Outcome::Built;
    QFReportRecord record;
    record.message = message;
    record.page = page;
    report.problems.append(record);
    return report;
}

} // namespace

class PreviewServerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void answersPaths_data();
    void answersPaths();
    void refusesRequests_data();
    void refusesRequests();
    void answersRanges_data();
    void answersRanges();
    void answersHeadAsGetWithoutBody();
    void addsTheScriptOnlyToPagesThatPeopleSee();
    void sendsLargeFilesAsTheyAreTaken();
    void holdsOnlySoManyConnections();
    void showsWhatIsWrongAsText();
    void tellsBrowsersOfNewsOnly();

private:
    void serve(PreviewLimits limits)
    {
        server.emplace(maker->path(u"site"_s), limits);
        QVERIFY(server->listen(0));
        PreviewReport report;
        report.outcome = PreviewReport::Outcome::Built;
        server->show(report);
    }
    [[nodiscard]] std::unique_ptr<QTcpSocket> connected() const
    {
        auto socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(QHostAddress::LocalHost, server->port());
        return socket;
    }
    /// The whole answer to bytes; HOST stands for the right host.
    [[nodiscard]] QByteArray answerTo(QByteArray bytes) const
    {
        const auto socket = connected();
        socket->write(bytes.replace("HOST", "127.0.0.1:" + QByteArray::number(server->port())));
        QSignalSpy(socket.get(), &QTcpSocket::disconnected).wait(20000);
        return socket->readAll();
    }
    [[nodiscard]] QByteArray get(const QByteArray &target, const QByteArray &headers = {}) const
    {
        return answerTo("GET " + target + " HTTP/1.1\r\nHost: HOST\r\n" + headers + "\r\n");
    }

    std::optional<SiteMaker> maker;
    std::optional<PreviewServer> server;
};

void PreviewServerTest::init()
{
    server.reset();
    maker.emplace();
    maker->write(u"secret.txt"_s, "secret");
    maker->write(u"site/index.html"_s, "<body>home</body>");
    maker->write(u"site/a b.txt"_s, "0123456789");
    maker->write(u"site/folder/index.html"_s, "inner");
    maker->write(u"site/folder/%2e%2e"_s, "escaped name");
    maker->write(u"site/bare/file"_s, "");
    maker->write(u"site/.qf/manifest.json"_s, "secret");
    QVERIFY(QFile::link(u"../secret.txt"_s, maker->path(u"site/link"_s)));
    QVERIFY(QFile::link(u".."_s, maker->path(u"site/above"_s)));
    QCOMPARE(::mkfifo(QFile::encodeName(maker->path(u"site/fifo"_s)).constData(), 0600), 0);
    serve({5, {300, 300}});
}

void PreviewServerTest::answersPaths_data()
{
    addRows({"target", "status", "says"}, uR"(
root                | /                          | 200 | home
query               | /index.html?/../x           | 200 | home
escapes             | /a%20b.txt                 | 200 | 0123456789
folder              | /folder/                   | 200 | inner
folder, no slash    | /folder?a=%20              | 302 | Location: /folder/?a=%20
no index            | /bare/                     | 404 |
file as folder      | /index.html/               | 404 |
two slashes         | //folder                   | 404 |
slashes inside      | /folder//index.html        | 404 |
climbing            | /../secret.txt             | 400 |
climbing inside     | /folder/../../secret.txt   | 400 |
escaped dots        | /%2e%2E/secret.txt         | 400 |
half escaped        | /.%2e/secret.txt           | 400 |
escaped slash       | /..%2fsecret.txt           | 400 |
escaped twice       | /folder/%252e%252e         | 200 | escaped name
backslash           | /..\secret.txt             | 404 |
zero byte           | /index.html%00.txt         | 400 |
cut escape          | /index.html%2              | 400 |
no escape           | /%+1                       | 400 |
overlong dots       | /%c0%ae%c0%ae/secret.txt   | 404 |
link to a file      | /link                      | 404 |
link to a folder    | /above/secret.txt          | 404 |
absolute            | http://127.0.0.1/          | 400 |
pipe                | /fifo                      | 404 |
builder's folder    | /.qf/manifest.json         | 404 |
… in capitals       | /.QF/manifest.json         | 404 |
… escaped           | /%2eqf/manifest.json       | 404 |
… as such           | /.qf                       | 404 |
)"_s);
}

void PreviewServerTest::answersPaths()
{
    QFETCH(QString, target);
    QFETCH(QString, status);
    QFETCH(QString, says);
    const QByteArray answer = get(target.toUtf8());
    QVERIFY2(answer.startsWith("HTTP/1.1 " + status.toUtf8()), answer.constData());
    QVERIFY2(answer.contains(says.toUtf8()), answer.constData());
    QVERIFY(!answer.contains("\r\n\r\nsecret"));
    QVERIFY(answer.contains("\r\nCache-Control: no-store\r\n"));
}

void PreviewServerTest::refusesRequests_data()
{
    const Rows<QByteArray, QByteArray> row({"request", "status"});
    const QByteArray host = "\r\nHost: HOST\r\n";
    row("by name", "GET / HTTP/1.0\r\nhost: LOCALHOST\r\n\r\n"_ba, "200"_ba);
    row("another method", "POST / HTTP/1.1" + host + "\r\n", "405"_ba);
    row("another version", "GET / HTTP/2.0" + host + "\r\n", "400"_ba);
    row("no version", "GET /" + host + "\r\n", "400"_ba);
    row("a body", "GET / HTTP/1.1" + host + "Content-Length: 1\r\n\r\n", "413"_ba);
    row("a body in chunks", "GET / HTTP/1.1" + host + "Transfer-Encoding: chunked\r\n\r\n", "413"_ba);
    row("no host", "GET / HTTP/1.1\r\n\r\n"_ba, "403"_ba);
    row("somebody else's name", "GET / HTTP/1.1\r\nHost: evil.example:80\r\n\r\n"_ba, "403"_ba);
    row("another port", "GET / HTTP/1.1\r\nHost: 127.0.0.1:1\r\n\r\n"_ba, "403"_ba);
    row("two hosts", "GET / HTTP/1.1" + host + "Host: evil\r\n\r\n", "400"_ba);
    row("folded", "GET / HTTP/1.1" + host + "A: b\r\n c\r\n\r\n", "400"_ba);
    row("blank before colon", "GET / HTTP/1.1" + host + "A : b\r\n\r\n", "400"_ba);
    row("zero byte", "GET / HTTP/1.1" + host + QByteArray("A: \0\r\n\r\n", 8), "400"_ba);
    row("bytes in the path", "GET /\xC3\xA9 HTTP/1.1" + host + "\r\n", "400"_ba);
    row("long line", "GET /" + QByteArray(9000, 'a'), "414"_ba);
    row("long head", "GET / HTTP/1.1" + host + "A: " + QByteArray(30000, 'a'), "431"_ba);
    row("unfinished", "GET / HTTP/1.1\r\nHost"_ba, "408"_ba);
    row("nothing", ""_ba, "408"_ba);
}

void PreviewServerTest::refusesRequests()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, status);
    request.replace("LOCALHOST", "LocalHost:" + QByteArray::number(server->port()));
    const QByteArray answer = answerTo(request);
    QVERIFY2(answer.startsWith("HTTP/1.1 " + status), answer.constData());
}

void PreviewServerTest::answersRanges_data()
{
    addRows({"header", "status", "says"}, uR"(
from, to          | bytes=2-4                            | 206 | 2-4/10 234
one byte          | bytes=9-9                            | 206 | 9-9/10 9
from              | bytes=7-                             | 206 | 7-9/10 789
beyond the end    | bytes=7-99999999999                  | 206 | 7-9/10 789
the last          | bytes=-3                             | 206 | 7-9/10 789
more than all     | bytes=-30                            | 206 | 0-9/10 0123456789
behind the end    | bytes=10-                            | 416 | */10 416 Range Not Satisfiable
none of the last  | bytes=-0                             | 416 | */10 416 Range Not Satisfiable
backwards         | bytes=4-2                            | 200 | 0123456789
several           | bytes=0-1,3-4                        | 200 | 0123456789
signs             | bytes=+1-+2                          | 200 | 0123456789
too large         | bytes=99999999999999999999-          | 200 | 0123456789
no bytes          | bytes=-                              | 200 | 0123456789
)"_s);
}

void PreviewServerTest::answersRanges()
{
    QFETCH(QString, header);
    QFETCH(QString, status);
    const QByteArray answer = get("/a%20b.txt", "Range: " + header.toUtf8() + "\r\n");
    QVERIFY2(answer.startsWith("HTTP/1.1 " + status.toUtf8()), answer.constData());
    const QByteArray range = answer.mid(answer.indexOf("Content-Range: bytes ") + 21);
    const QByteArray body = answer.mid(answer.indexOf("\r\n\r\n") + 4).trimmed();
    const bool isPart = answer.contains("Content-Range");
    QTEST(QString::fromUtf8((isPart ? range.left(range.indexOf('\r')) + ' ' : "") + body), "says");
}

void PreviewServerTest::answersHeadAsGetWithoutBody()
{
    for (const QByteArray target : {"/a%20b.txt", "/index.html", "/none", "/folder"}) {
        const QByteArray whole = get(target, "Accept: text/html\r\n");
        const QByteArray head =
            answerTo("HEAD " + target + " HTTP/1.1\r\nHost: HOST\r\nAccept: text/html\r\n\r\n");
        QCOMPARE(head, whole.left(whole.indexOf("\r\n\r\n") + 4));
    }
}

void PreviewServerTest::addsTheScriptOnlyToPagesThatPeopleSee()
{
    maker->write(u"site/latin.html"_s, "<body>\xE9</BODY ><p>");
    maker->write(u"site/part.xhtml"_s, "<p xmlns=\"http://www.w3.org/1999/xhtml\"/>");
    const QByteArray sees = "Accept: text/html,*/*\r\nSec-Fetch-Dest: document\r\n";
    QVERIFY(get("/index.html", sees).contains("<body>home<script src=\"/.qf/preview.js\""));
    QVERIFY(get("/folder/", sees).contains("inner<script"));
    const QByteArray latin = get("/latin.html", sees);
    QVERIFY(latin.contains("\xE9<script") && latin.contains("Content-Type: text/html\r\n"));
    QVERIFY(!get("/part.xhtml", sees).contains("<script"));
    QVERIFY(!get("/index.html", "Accept: text/html\r\nSec-Fetch-Dest: iframe\r\n").contains("<script"));
    QVERIFY(!get("/index.html", "Accept: */*\r\n").contains("<script"));
}

void PreviewServerTest::sendsLargeFilesAsTheyAreTaken()
{
    QFile file(maker->path(u"site/film.mp4"_s));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(kLarge) && file.seek(kLarge - 3) &&
            file.write("end") == 3);
    file.close();
    const QByteArray whole = get("/film.mp4");
    QCOMPARE(whole.size() - whole.indexOf("\r\n\r\n") - 4, kLarge);
    QVERIFY(whole.contains("Content-Type: video/mp4\r\n") && whole.endsWith("end"));
    // One who asks and does not read is cut off.
    const auto socket = connected();
    socket->setReadBufferSize(1000);
    socket->write("GET /film.mp4 HTTP/1.1\r\nHost: localhost:" + QByteArray::number(server->port()) +
                  "\r\n\r\n");
    QTRY_VERIFY_WITH_TIMEOUT(server->findChildren<PreviewConnection *>().size() == 1, 5000);
    QTRY_VERIFY_WITH_TIMEOUT(server->findChildren<PreviewConnection *>().isEmpty(), 5000);
}

void PreviewServerTest::holdsOnlySoManyConnections()
{
    serve({5, {60000, 60000}});
    std::vector<std::unique_ptr<QTcpSocket>> sockets;
    for (int i = 0; i < 40; ++i)
        sockets.push_back(connected());
    const auto count = [&](auto state) {
        return std::count_if(sockets.begin(), sockets.end(),
                             [&](const auto &socket) { return socket->state() == state; });
    };
    QTRY_COMPARE(count(QTcpSocket::ConnectingState), 0);
    QTRY_COMPARE(count(QTcpSocket::ConnectedState), 5);
    QCOMPARE(server->findChildren<PreviewConnection *>().size(), 5);
    sockets.clear();
    QTRY_VERIFY(get("/index.html").contains("home"));
}

void PreviewServerTest::showsWhatIsWrongAsText()
{
    PreviewReport report = reportOf(u"</li><script>alert('\"&')</script>"_s, u"a<b"_s);
    report.failedFiles.insert("folder/index.html", u"a<b"_s);
    server->show(report);
    const QByteArray sees = "Accept: text/html\r\n";
    const QByteArray text =
        "&lt;/li&gt;&lt;script&gt;alert('&quot;&amp;')&lt;/script&gt;<small>page a&lt;b</small>";
    QVERIFY(get("/folder/", sees).startsWith("HTTP/1.1 500"));
    QVERIFY(get("/folder/", sees).contains(text));
    QVERIFY(get("/folder/").contains("inner"));
    QVERIFY(get("/", sees).contains("home"));
    const QByteArray missing = get("/%3Cb%3E", sees);
    QVERIFY(missing.startsWith("HTTP/1.1 404") && missing.contains("at /&lt;b&gt;") &&
            missing.contains(text));
    report.outcome = PreviewReport::Outcome::Failed;
    server->show(report);
    QVERIFY(get("/", sees).startsWith("HTTP/1.1 500"));
    QVERIFY(get("/", sees).contains(text));
    QVERIFY(get("/a%20b.txt").contains("0123456789"));
}

void PreviewServerTest::tellsBrowsersOfNewsOnly()
{
    const auto socket = connected();
    socket->write("GET /.qf/events HTTP/1.1\r\nHost: localhost:" + QByteArray::number(server->port()) +
                  "\r\n\r\n");
    QByteArray told;
    const auto count = [&] { return (told += socket->readAll()).count("\ndata: {"); };
    QTRY_COMPARE(count(), 1);
    PreviewReport report = reportOf(u"a\nb"_s);
    server->show(report);
    QTRY_COMPARE(count(), 2);
    QVERIFY(told.contains(R"("message":"a\nb")"));
    server->show(report);
    report.written = 1;
    server->show(report);
    QTRY_COMPARE(count(), 3);
    QTest::qWait(500); // longer than an idle connection lives
    QCOMPARE(count(), 3);
    QCOMPARE(socket->state(), QTcpSocket::ConnectedState);
}

QTEST_GUILESS_MAIN(PreviewServerTest)
#include "PreviewServerTest.moc"
