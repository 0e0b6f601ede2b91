#include "tests/host/SiteMaker.h"
#include "tests/tools/HeadlessBrowser.h"

#include <QTcpServer>

#include <csignal>
#include <cstdio>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr qint64 kInTime = 20000;
#else
constexpr qint64 kInTime = 2000;
#endif

// With a base elsewhere, which must not lead the preview's own script and events away.
constexpr const char *kTemplate = "<!DOCTYPE html><html><head><base href='http://base.invalid/'></head>"
                                  "<body><main>%content%</main></body></html>";
constexpr const char *kPages = "{'id': 'home', @, 'settings': {'source': 'home.html'}}, "
                               "{'id': 'other', @, 'settings': {'source': 'other.html'}}";

} // namespace

class QfPreviewTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void showsChangesWithinTwoSeconds();
    void showsWhatIsWrongUntilItIsMended();
    void opensTheBrowser();
    void exitsAsTold_data();
    void exitsAsTold();

private:
    void run(const QStringList &arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"QF_PLUGIN_PATH"_s, QStringLiteral(QF_TEST_PLUGINS));
        environment.insert(u"TMPDIR"_s, maker->path(u"temporary"_s));
        environment.insert(u"PATH"_s, maker->path(u"bin"_s) + u':' + environment.value(u"PATH"_s));
        qf.setProcessEnvironment(environment);
        qf.start(QStringLiteral(QF_PROGRAM), QStringList(u"preview"_s) + arguments);
    }
    /// The address that the preview prints; nil after 20 s.
    [[nodiscard]] QString address()
    {
        while (!qf.canReadLine()) {
            if (!qf.waitForReadyRead(20000))
                return {};
        }
        return QString::fromUtf8(qf.readLine()).trimmed();
    }
    void openSite()
    {
        run({maker->site(), u"--no-open"_s});
        browser.emplace(maker->path(u"browser"_s));
        const QString site = address();
        QVERIFY2(site.startsWith(u"http://127.0.0.1:"), qf.readAllStandardError().constData());
        browser->open(site);
        QVERIFY(browser->waitFor(u"first words"_s) >= 0);
    }
    /// Replaces a file by another one, as many editors do.
    void replace(const QString &name, const QByteArray &bytes) const
    {
        maker->write(name + u".new"_s, bytes);
        QCOMPARE(std::rename(QFile::encodeName(maker->path(name + u".new"_s)).constData(),
                             QFile::encodeName(maker->path(name)).constData()),
                 0);
    }
    void move(const QString &from, const QString &to) const
    {
        QVERIFY(QDir().rename(maker->path(from), maker->path(to)));
    }
    void endWith(int signal)
    {
        ::kill(static_cast<pid_t>(qf.processId()), signal);
        QVERIFY(qf.waitForFinished(10000));
        QCOMPARE(qf.exitStatus(), QProcess::NormalExit);
        QCOMPARE(qf.exitCode(), 0);
        QVERIFY2(QDir(maker->path(u"temporary"_s)).isEmpty(), "temporary files are left");
    }

    std::optional<SiteMaker> maker;
    std::optional<HeadlessBrowser> browser;
    QProcess qf;
};

void QfPreviewTest::init()
{
    maker.emplace();
    maker->write(u"site/theme/theme.json"_s, "{}");
    maker->write(u"site/theme/template.html"_s, kTemplate);
    maker->write(u"site/home.html"_s, "first words");
    maker->write(u"site/other.html"_s, "other words");
    maker->write(u"site/assets/old.txt"_s, "");
    maker->write(u"temporary/.keep"_s, "");
    QVERIFY(QFile::remove(maker->path(u"temporary/.keep"_s)));
    QVERIFY(QDir().mkdir(maker->path(u"browser"_s)));
    maker->writePages(QString::fromLatin1(kPages));
    const bool isBrowserTest = QByteArrayView(QTest::currentTestFunction()).startsWith("shows");
    if (isBrowserTest && HeadlessBrowser::program().isEmpty()) {
        if (qEnvironmentVariableIsSet("QF_WITHOUT_BROWSER"))
            QSKIP("no browser");
        QFAIL("chromium is missing; QF_WITHOUT_BROWSER=1 does without this test");
    }
}

void QfPreviewTest::cleanup()
{
    browser.reset();
    if (qf.state() != QProcess::NotRunning) {
        qf.kill();
        qf.waitForFinished();
    }
}

void QfPreviewTest::showsChangesWithinTwoSeconds()
{
    openSite();
    const auto isShownInTime = [this](const QString &text) {
        const qint64 milliseconds = browser->waitFor(text);
        return milliseconds >= 0 && milliseconds < kInTime;
    };
    maker->write(u"site/home.html"_s, "in place");
    QVERIFY(isShownInTime(u"in place"_s));
    replace(u"site/home.html"_s, "by another file");
    QVERIFY(isShownInTime(u"by another file"_s));
    // Files that were not there at the start are watched too, at the top and in folders.
    maker->write(u"site/home.html"_s, "in place again");
    QVERIFY(isShownInTime(u"in place again"_s));
    // Others may come to the places of files and folders that are kept under another name.
    move(u"site/home.html"_s, u"site/home.html~"_s);
    maker->write(u"site/home.html"_s, "beside the old one");
    QVERIFY(isShownInTime(u"beside the old one"_s));
    maker->write(u"site/home.html"_s, "then in place");
    QVERIFY(isShownInTime(u"then in place"_s));
    maker->write(u"site/pages/new.html"_s, "in a new folder");
    maker->writePages(uR"({'id': 'home', @, 'settings': {'source': 'pages/new.html'}})"_s);
    QVERIFY(isShownInTime(u"in a new folder"_s));
    maker->write(u"site/pages/new.html"_s, "and again");
    QVERIFY(isShownInTime(u"and again"_s));
    move(u"site/pages"_s, u"site/pages.old"_s);
    maker->write(u"site/pages/new.html"_s, "in another folder");
    QVERIFY(isShownInTime(u"in another folder"_s));
    maker->write(u"site/pages/new.html"_s, "there in place");
    QVERIFY(isShownInTime(u"there in place"_s));
    const auto said = [this] {
        QTest::qWait(700);
        return qf.readAllStandardError();
    };
    said();
    for (int i = 0; i < 100; ++i)
        maker->write(u"site/pages/new.html"_s, QByteArray::number(i) + " changes");
    QVERIFY(isShownInTime(u"99 changes"_s));
    const QByteArray builds = said();
    QVERIFY2(builds.count("built: ") <= 3, builds.constData());
    QCOMPARE(said(), QByteArray()); // a build leaves the site alone, so none follows
    QVERIFY(QFile::remove(maker->path(u"site/assets/old.txt"_s)));
    QByteArray removal;
    QTRY_VERIFY2_WITH_TIMEOUT((removal += qf.readAllStandardError()).contains("built: 1 changed file"),
                              removal.constData(), 20000);
    endWith(SIGTERM);
}

void QfPreviewTest::showsWhatIsWrongUntilItIsMended()
{
    openSite();
    const QByteArray site = maker->read(u"site/site.json"_s);
    maker->write(u"site/site.json"_s, "{\"pages\": [}");
    QVERIFY(browser->waitFor(u"The site could not be built"_s) >= 0);
    QVERIFY(browser->text().contains(maker->path(u"site/site.json"_s) + u": line 1"_s));
    maker->write(u"site/site.json"_s, site);
    QVERIFY(browser->waitFor(u"first words"_s) >= 0);
    // One page fails; the others tell of it.
    maker->writePages(QString::fromLatin1(kPages).replace(u"'source': 'other.html'"_s,
                                                          u"'does': {'contentHTML': 'abort'}"_s));
    QVERIFY(browser->waitFor(u"1 problem"_s) >= 0);
    QVERIFY(browser->text().contains(u"page other"));
    QVERIFY(browser->text().contains(u"first words"));
    browser->call("Runtime.evaluate", {{u"expression"_s, u"location.pathname = '/other/'"_s}});
    QVERIFY(browser->waitFor(u"This page could not be made"_s) >= 0);
    QVERIFY(browser->text().contains(u"the plug-in crashed (Aborted) while it made the page"));
    maker->write(u"site/site.json"_s, site);
    QVERIFY(browser->waitFor(u"other words"_s) >= 0);
    QVERIFY(!browser->text().contains(u"problem"));
    endWith(SIGINT);
}

void QfPreviewTest::opensTheBrowser()
{
    maker->write(u"bin/xdg-open"_s,
                 "#!/bin/sh\nprintf %s \"$1\" > \"$0.part\" && mv \"$0.part\" \"$0.opened\"\n");
    QVERIFY(QFile::setPermissions(maker->path(u"bin/xdg-open"_s), QFile::ReadOwner | QFile::ExeOwner));
    run({maker->site(), u"--quiet"_s});
    const QString site = address();
    QTRY_COMPARE_WITH_TIMEOUT(QString::fromUtf8(maker->read(u"bin/xdg-open.opened"_s)), site, 20000);
    endWith(SIGHUP);
    QCOMPARE(qf.readAllStandardError(), QByteArray());
}

void QfPreviewTest::exitsAsTold_data()
{
    addRows({"arguments", "code", "says"}, uR"(
no site         | --no-open             | 2 | one site is needed
two sites       | a b                   | 2 | one site is needed
port 0          | SITE --port 0         | 2 | --port must be a number
no number       | SITE --jobs some      | 2 | --jobs must be a number
missing site    | SITE/none             | 1 | SITE/none: there is no such folder
port in use     | SITE --port TAKEN     | 1 | port TAKEN: The bound address is already in use
holds TMPDIR    | SITE/..               | 1 | TEMPORARY: the folder for temporary files must not lie
)"_s);
}

void QfPreviewTest::exitsAsTold()
{
    QFETCH(QString, arguments);
    QFETCH(QString, says);
    QTcpServer taken;
    QVERIFY(taken.listen(QHostAddress::LocalHost));
    says.replace(u"TEMPORARY"_s, maker->path(u"temporary"_s));
    for (QString *text : {&arguments, &says})
        text->replace(u"SITE"_s, maker->site()).replace(u"TAKEN"_s, QString::number(taken.serverPort()));
    run(arguments.split(u' '));
    QVERIFY(qf.waitForFinished(20000));
    QTEST(QString::number(qf.exitCode()), "code");
    const QString errors = QString::fromUtf8(qf.readAllStandardError());
    QVERIFY2(errors.startsWith(u"qf: "_s + says), qPrintable(errors));
    QVERIFY(QDir(maker->path(u"temporary"_s)).isEmpty());
}

QTEST_GUILESS_MAIN(QfPreviewTest)
#include "QfPreviewTest.moc"
