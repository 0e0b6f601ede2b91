#include "plugin/QFFileWatcher.h"

#include "tests/Files.h"
#include "tests/Rows.h"
#include "tests/plugin/WatchLog.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr int kChurnedFiles = 1000;

/// Not by QProcess, after which the thread sanitizer allows no new threads.
bool shell(const WatchLog &log, const QString &command)
{
    return std::system(qPrintable(u"set -e; cd '"_s + log.folder.path() + u"'; "_s + command)) == 0;
}

/// A watched file "a" of which nothing has been told yet.
struct Watched
{
    WatchLog log;
    const QString path = log.path(u"a"_s);
    std::unique_ptr<QFFileWatcher> watcher = std::make_unique<QFFileWatcher>(&log);

    Watched()
    {
        log.write(u"a"_s);
        if (!watcher->addFile(path))
            qFatal("cannot watch %s", qPrintable(path));
        log.take();
    }
};

/// As an application waits: unlike QTest::qWaitFor, without a rest after each event.
bool waited(const std::function<bool()> &isDone)
{
    QTimer ticks; // so that the condition is looked at when nothing happens
    ticks.start(20);
    const QDeadlineTimer end(60000);
    while (!isDone() && !end.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return isDone();
}

/// Events come in the order in which they happened: when this one is told, all earlier ones have been.
bool flushed(WatchLog &log)
{
    log.write(u"sentinel"_s);
    const bool isTold = waited([&log] { return log.calls.contains(u"changed sentinel"_s); });
    log.calls.removeAll(u"changed sentinel"_s);
    return isTold;
}

/// The other process of the churn: writes and renames at random, and replaces and deletes the even ones.
int churn(const char *folder, quint32 seed, std::chrono::milliseconds time)
{
    enum Act : quint32 { Rename, RenameBack, Delete, Replace, Create, Acts = 20 };
    QRandomGenerator random(seed);
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) {
        const quint32 number = random.bounded(quint32(kChurnedFiles));
        const quint32 what = random.bounded(number % 2 == 0 ? Acts : Delete + 3);
        const QByteArray name = QByteArray(folder) + '/' + QByteArray::number(number);
        if (what == Rename)
            ::rename(name.constData(), (name + "r").constData());
        else if (what == RenameBack)
            ::rename((name + "r").constData(), name.constData());
        else if (what == Delete && number % 2 == 0)
            ::unlink(name.constData());
        const bool isNew = (what == Replace || what == Create) && number % 2 == 0;
        const QByteArray written = what == Replace && isNew ? name + "t" : name;
        const int file = ::open(written.constData(), O_WRONLY | O_APPEND | (isNew ? O_CREAT : 0), 0600);
        if (file >= 0 && (::write(file, "x", 1) != 1 || ::close(file) != 0))
            return 1;
        if (written != name)
            ::rename(written.constData(), name.constData());
    }
    return 0;
}

} // namespace

class QFFileWatcherTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellsWhatHappens_data();
    void tellsWhatHappens();
    void addsFiles();
    void notesTheDateOnlyWhenItIsTold();
    void allowsAnythingInsideACall();
    void stopsWhileTheMainThreadIsBusy();
    void outlivesDelegatesAndOtherWatchers();
    void looksAtAllWhenEventsWereLost();
    void goesOnAfterErrors();
    void leavesTheParentAloneInAChild();
    void agreesWithAnotherProcess();
};

void QFFileWatcherTest::tellsWhatHappens_data()
{
    const Rows<QString> row({"row"}); // before | watched | act: told | act: told ...

    row("writing", u"touch a | a | echo >>a: changed a | echo b >a: changed a"_s);
    row("dates", u"touch a | a | touch -r a a: | touch -d @9 a: changed a"_s);
    row("a date far ahead", u"touch a | a | touch -d @15000000000 a: changed a | chmod 700 a:"_s);
    row("deletion", u"touch a | a | rm a: deleted a | echo >a:"_s);
    row("another name comes and goes", u"touch a | a | ln a b: | rm b:"_s);
    row("one of two names goes", u"touch a; ln a b | a | rm a: deleted a | echo >b:"_s);
    row("saved by replacing", u"touch a b | a | mv b a: deleted a"_s);
    row("replaced, with another name", u"touch a b; ln a c | a | mv b a: deleted a"_s);
    // There is no date at the old path: that differs once.
    row("renamed, then written", u"touch a | a | mv a b: renamed a | echo >b: changed a | echo >b:"_s);
    row("renamed, then deleted",
        u"touch a | a | mv a b: renamed a | chmod 700 b: changed a | rm b: deleted a"_s);
    row("a folder above is renamed", u"mkdir d; touch d/a | d/a | mv d e: | chmod 700 e/a: changed d/a"_s);
    row("entries of a folder",
        u"mkdir d; touch d/a | d | echo >d/a; chmod 700 d/a: | touch d/b: changed d | rm d/a: changed d"_s);
    row("folders move and go",
        u"mkdir d e | d e | mv d e/f: renamed d, changed e | rmdir e/f: deleted d, changed e"_s);
    row("one file by two paths",
        u"touch a; ln -s a b | a b | echo >a: changed a, changed b | rm a: deleted a, deleted b"_s);
    row("a pipe", u"mkfifo p | p | rm p: deleted p"_s);
}

void QFFileWatcherTest::tellsWhatHappens()
{
    QFETCH(const QString, row);
    const QStringList parts = row.split(u" | "_s);
    WatchLog log;
    QVERIFY(shell(log, parts.at(0) + u"; touch sentinel"_s));
    QFFileWatcher watcher(&log);
    for (const QString &name : parts.at(1).split(u' ') + QStringList{u"sentinel"_s})
        QVERIFY(watcher.addFile(log.path(name)));
    log.take();
    for (const QString &part : parts.sliced(2)) {
        const QStringList act = part.split(u':');
        QVERIFY2(shell(log, act.at(0)) && flushed(log), qPrintable(part));
        // By name: which of two that an act touches is told first, the kernel decides.
        QStringList calls = log.take();
        std::ranges::sort(calls, {}, [](const QString &call) { return call.section(u' ', 1); });
        QCOMPARE(act.at(0) + u": "_s + calls.join(u", "_s), act.at(0) + u": "_s + act.at(1).trimmed());
    }
}

void QFFileWatcherTest::addsFiles()
{
    WatchLog log;
    log.write(u"a"_s);
    const auto watcher = QFFileWatcher::watcherWithDelegate(&log);
    QVERIFY(watcher->addFile(log.path(u"a"_s)));
    const QVariantMap record = watcher->locateFileByPath(log.path(u"a"_s));
    QCOMPARE(record.keys(), QStringList({u"date"_s, u"fd"_s, u"path"_s}));
    QCOMPARE(record.value(u"date"_s).toLongLong(), *watcher->modificationDateForFile(log.path(u"a"_s)));
    const qsizetype descriptors = countOf(u"fd"_s);
    QVERIFY(watcher->addFile(log.path(u"a"_s)));
    QCOMPARE(countOf(u"fd"_s), descriptors);
    for (const QString &bad : {log.path(u"missing"_s), log.path(u"a"_s) + u'\0', QString(), u""_s})
        QVERIFY(!watcher->addFile(bad));
    QCOMPARE(log.take().size(), 6); // told each time, whether it can be watched or not
    QCOMPARE(countOf(u"fd"_s), descriptors);
    watcher->removeFile(log.path(u"a"_s));
    QCOMPARE(watcher->locateFileByID(record.value(u"fd"_s).toInt()), record);
    QCOMPARE(watcher->locateFileByID(-1), QVariantMap());

    watcher->stop();
    watcher->stop();
    QVERIFY(!watcher->addFile(log.path(u"a"_s)));
    QCOMPARE(log.take(), QStringList(u"changed a"_s));
    QCOMPARE(watcher->locateFileByPath(log.path(u"a"_s)), QVariantMap());
    QCOMPARE(countOf(u"fd"_s), descriptors - 1);
}

void QFFileWatcherTest::notesTheDateOnlyWhenItIsTold()
{
    Watched a;
    const QVariant fd = a.watcher->locateFileByPath(a.path).value(u"fd"_s);
    a.watcher->setDelegate(nullptr);
    QVERIFY(shell(a.log, u"touch -d @1000 a"_s));
    a.watcher->fileWasChanged({{u"fd"_s, fd}});
    a.watcher->setDelegate(&a.log);
    a.watcher->fileWasChanged({});
    QCOMPARE(a.log.take(), QStringList());
    a.watcher->fileWasChanged({{u"fd"_s, fd}});
    a.watcher->fileWasChanged({{u"fd"_s, fd}});
    QCOMPARE(a.log.take(), QStringList(u"changed a"_s));
}

void QFFileWatcherTest::allowsAnythingInsideACall()
{
    std::unique_ptr<QFFileWatcher> watcher;
    auto *log = new WatchLog;
    log->write(u"a"_s);
    const std::vector<std::function<void()>> acts = {
        [&] { watcher.reset(); },
        [&] { std::thread([&] { watcher.reset(); }).join(); },
        [&] { watcher->addFile(log->path(u"a"_s)); },
        [&] {
            watcher->stop();
            throw 1; // NOLINT: anything may be thrown
        },
        [&] { log->deleteLater(); },
    };
    QTest::ignoreMessage(QtWarningMsg, "A delegate that was told of a file ended with an exception");
    for (const std::function<void()> &act : acts) {
        watcher = std::make_unique<QFFileWatcher>(log);
        QVERIFY(watcher->addFile(log->path(u"a"_s)));
        bool isDone = false;
        log->meanwhile = [&] {
            log->meanwhile = {};
            isDone = true;
            act();
        };
        log->write(u"a"_s);
        QTRY_VERIFY(isDone);
    }
    WatchLog other;
    watcher = std::make_unique<QFFileWatcher>(&other);
    other.meanwhile = [&] { watcher.reset(); };
    QVERIFY(!watcher->addFile(other.folder.path()));
}

void QFFileWatcherTest::stopsWhileTheMainThreadIsBusy()
{
    const qsizetype descriptors = countOf(u"fd"_s);
    const qsizetype threads = countOf(u"task"_s);
    {
        WatchLog log;
        log.write(u"a"_s);
        std::vector<std::unique_ptr<QFFileWatcher>> watchers;
        for (int i = 0; i < 4; i++) {
            watchers.push_back(std::make_unique<QFFileWatcher>(&log));
            QVERIFY(watchers.back()->addFile(log.path(u"a"_s)));
        }
        log.write(u"a"_s);
        QTest::qSleep(50); // events wait for this thread
        std::thread elsewhere([&] { watchers.front().reset(); });
        watchers.back()->stop();
        elsewhere.join();
        watchers.clear();
        log.take();
        QCoreApplication::processEvents();
        QCOMPARE(log.take(), QStringList());
    }
    QCOMPARE(countOf(u"fd"_s), descriptors);
    QTRY_COMPARE(countOf(u"task"_s), threads);
}

void QFFileWatcherTest::outlivesDelegatesAndOtherWatchers()
{
    WatchLog log;
    log.write(u"a"_s);
    auto brief = std::make_unique<WatchLog>();
    QFFileWatcher stays(brief.get());
    {
        QFFileWatcher goes(&log);
        QVERIFY(goes.addFile(log.path(u"a"_s)) && stays.addFile(log.path(u"a"_s)));
    }
    log.write(u"a"_s);
    QTest::qSleep(20);
    brief.reset(); // while an event waits
    QTest::qWait(50);
    stays.setDelegate(&log);
    log.take();
    log.write(u"a"_s);
    QTRY_COMPARE(log.calls, QStringList(u"changed a"_s));
}

void QFFileWatcherTest::looksAtAllWhenEventsWereLost()
{
    const int limit = contents(u"/proc/sys/fs/inotify/max_queued_events"_s).trimmed().toInt();
    QVERIFY(limit > 0);
    WatchLog log;
    QFFileWatcher watcher(&log);
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s, u"d"_s}) {
        log.write(name);
        QVERIFY(watcher.addFile(log.path(name)));
    }
    log.take();
    log.meanwhile = [&] { // nobody reads events meanwhile, and equal ones in a row count once
        log.meanwhile = {};
        for (int i = 0; i < limit + 10; i++)
            ::chmod(QFile::encodeName(log.path(i % 2 == 0 ? u"a"_s : u"b"_s)).constData(), 0600);
        log.write(u"c"_s);
        QFile::remove(log.path(u"d"_s));
    };
    log.write(u"a"_s);
    QTRY_VERIFY(log.calls.contains(u"deleted d"_s) && log.calls.contains(u"changed c"_s));
    QCOMPARE(log.calls.size(), 3);
}

void QFFileWatcherTest::goesOnAfterErrors()
{
    Watched a;
    int queue = 0;
    while (queue < 1000 && !QFile::symLinkTarget(u"/proc/self/fd/%1"_s.arg(queue)).endsWith(u":inotify"))
        queue++;
    const int kept = ::dup(queue);
    QTest::ignoreMessage(QtWarningMsg, "QFFileWatcher: kevent: 9\n");
    QTest::ignoreMessage(QtWarningMsg, "QFFileWatcher: kevent: -1 (9)");
    QCOMPARE(::close(queue), 0);
    const bool isAdded = a.watcher->addFile(a.log.folder.path());
    QTest::qSleep(400);
    QCOMPARE(::dup2(kept, queue), queue);
    ::close(kept);
    QVERIFY(!isAdded);
    a.log.take();
    a.log.write(u"a"_s);
    QTRY_COMPARE(a.log.calls, QStringList(u"changed a"_s));
}

void QFFileWatcherTest::leavesTheParentAloneInAChild()
{
    Watched a;
    const pid_t child = ::fork();
    if (child == 0) {
        a.watcher.reset(); // its thread is the parent's
        // Room for the file's own descriptor, but none for a queue.
        const int highest = ::dup(0);
        ::close(highest);
        const rlimit none = {rlim_t(highest), rlim_t(highest)};
        ::setrlimit(RLIMIT_NOFILE, &none);
        QFFileWatcher poor(&a.log);
        const bool isRight = !poor.addFile(a.path);
        poor.stop();
        ::_exit(isRight ? 0 : 1);
    }
    int status = -1;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QCOMPARE(status, 0);
    a.log.write(u"a"_s);
    QTRY_COMPARE(a.log.calls, QStringList(u"changed a"_s));
}

/// Ten seconds, as QF_LONG_CHURN asks for, or three.
void QFFileWatcherTest::agreesWithAnotherProcess()
{
    rlimit files = {};
    QCOMPARE(::getrlimit(RLIMIT_NOFILE, &files), 0);
    files.rlim_cur = std::min<rlim_t>(files.rlim_max, 8 * kChurnedFiles);
    QCOMPARE(::setrlimit(RLIMIT_NOFILE, &files), 0);
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    const qsizetype descriptors = countOf(u"fd"_s);
    const qsizetype threads = countOf(u"task"_s);
    WatchLog log;
    QFFileWatcher watcher(&log);
    std::vector<int> originals;
    for (int i = 0; i <= kChurnedFiles; i++) {
        const QString name = i < kChurnedFiles ? QString::number(i) : u"sentinel"_s;
        log.write(name);
        QVERIFY(watcher.addFile(log.path(name)));
        originals.push_back(::open(QFile::encodeName(log.path(name)).constData(), O_PATH | O_CLOEXEC));
    }
    log.take();
    const QString time = qEnvironmentVariableIsSet("QF_LONG_CHURN") ? u"10000"_s : u"3000"_s;
    QProcess other;
    other.start(QCoreApplication::applicationFilePath(),
                {u"churn"_s, log.folder.path(), QString::number(seed), time});
    QVERIFY(waited([&other] { return other.state() == QProcess::NotRunning; }));
    QCOMPARE(other.exitCode(), 0);
    QVERIFY(flushed(log));

    qsizetype living = 0;
    for (int i = 0; i < kChurnedFiles; i++) {
        const QString path = log.path(QString::number(i));
        const QVariantMap record = watcher.locateFileByPath(path);
        struct stat original = {};
        QCOMPARE(::fstat(originals.at(std::size_t(i)), &original), 0);
        const bool lives = original.st_nlink > 0;
        living += lives ? 1 : 0;
        QCOMPARE(!record.isEmpty(), lives);
        QCOMPARE(log.calls.count(u"deleted %1"_s.arg(i)), lives ? 0 : 1);
        // A write and a rename together are told as the rename, and the date waits for the next write.
        if (lives && !log.calls.contains(u"renamed %1"_s.arg(i)))
            QCOMPARE(record.value(u"date"_s).toLongLong(),
                     watcher.modificationDateForFile(path).value_or(-1));
    }
    for (const int original : originals)
        ::close(original);
    QVERIFY(living >= kChurnedFiles / 2 && living < kChurnedFiles);
    QTRY_VERIFY(countOf(u"fd"_s) <= descriptors + living + 2); // deleted files are not held for long
    watcher.stop();
    QTRY_COMPARE(countOf(u"task"_s), threads);
    QVERIFY(countOf(u"fd"_s) <= descriptors + 1); // the queue stays
}

int main(int argc, char *argv[])
{
    if (argc == 5 && qstrcmp(argv[1], "churn") == 0)
        return churn(argv[2], QByteArray(argv[3]).toUInt(),
                     std::chrono::milliseconds(QByteArray(argv[4]).toInt()));
    const QCoreApplication application(argc, argv);
    QFFileWatcherTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "QFFileWatcherTest.moc"
