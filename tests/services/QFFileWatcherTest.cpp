#include "services/QFFileWatcher.h"

#include "tests/services/WatchLog.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <climits>
#include <cstdio>
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

bool setDate(const QString &path, timespec date)
{
    const timespec dates[] = {date, date};
    return utimensat(AT_FDCWD, QFile::encodeName(path).constData(), dates, 0) == 0;
}

/// Does one act of a row, such as "rename a b".
bool act(const WatchLog &log, const QString &text)
{
    const QStringList words = text.split(u' ');
    const QByteArray file = QFile::encodeName(log.path(words.at(1)));
    const QByteArray other = QFile::encodeName(log.path(words.value(2)));
    struct stat status = {};
    ::stat(file.constData(), &status);
    if (words.first() == u"write")
        return log.write(words.at(1)), true;
    if (words.first() == u"keepdate")
        return setDate(log.path(words.at(1)), status.st_mtim);
    if (words.first() == u"olddate")
        return setDate(log.path(words.at(1)), {1000, 5});
    if (words.first() == u"fardate") // beyond what nanoseconds count
        return setDate(log.path(words.at(1)), {15'000'000'000, 0});
    if (words.first() == u"chmod")
        return ::chmod(file.constData(), status.st_mode ^ 0100) == 0;
    if (words.first() == u"link")
        return ::link(file.constData(), other.constData()) == 0;
    if (words.first() == u"symlink")
        return ::symlink(file.constData(), other.constData()) == 0;
    if (words.first() == u"fifo")
        return ::mkfifo(file.constData(), 0600) == 0;
    if (words.first() == u"mkdir")
        return ::mkdir(file.constData(), 0700) == 0;
    return words.first() == u"rename" ? ::rename(file.constData(), other.constData()) == 0
                                      : ::remove(file.constData()) == 0;
}

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
    act(log, u"write sentinel"_s);
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
    void allowsAnythingInsideACall_data();
    void allowsAnythingInsideACall();
    void stopsWhileTheMainThreadIsBusy();
    void survivesItsDelegate();
    void sharesFilesAmongWatchers();
    void looksAtAllWhenEventsWereLost();
    void leavesTheParentAloneInAChild();
    void agreesWithAnotherProcess();
};

void QFFileWatcherTest::tellsWhatHappens_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("watched");
    QTest::addColumn<QString>("acts");
    QTest::addColumn<QStringList>("told"); // by each act

    const auto row = [](const char *name, const QString &before, const QString &watched, const QString &acts,
                        const QStringList &told) {
        QTest::newRow(name) << before << watched << acts << told;
    };
    const QString a = u"write a"_s;
    row("writing", a, u"a"_s, u"write a,write a"_s, {u"changed a"_s, u"changed a"_s});
    row("same date again", a, u"a"_s, u"keepdate a"_s, {{}});
    row("older date", a, u"a"_s, u"olddate a,keepdate a"_s, {u"changed a"_s, {}});
    row("date far ahead", a, u"a"_s, u"fardate a,keepdate a"_s, {u"changed a"_s, {}});
    row("permissions", a, u"a"_s, u"chmod a"_s, {{}});
    row("deletion", a, u"a"_s, u"remove a,write a"_s, {u"deleted a"_s, {}});
    row("another name comes and goes", a, u"a"_s, u"link a b,remove b"_s, {{}, {}});
    row("one of two names goes", u"write a,link a b"_s, u"a"_s, u"remove a,write b"_s, {u"deleted a"_s, {}});
    row("saved by replacing", u"write a,write b"_s, u"a"_s, u"rename b a"_s, {u"deleted a"_s});
    row("replaced, with another name", u"write a,link a c,write b"_s, u"a"_s, u"rename b a"_s,
        {u"deleted a"_s});
    // There is no date at the old path: that differs once.
    row("renamed, then written", a, u"a"_s, u"rename a b,write b,write b"_s,
        {u"renamed a"_s, u"changed a"_s, {}});
    row("renamed, then touched", a, u"a"_s, u"rename a b,chmod b"_s, {u"renamed a"_s, u"changed a"_s});
    row("renamed, then deleted", a, u"a"_s, u"rename a b,remove b"_s, {u"renamed a"_s, u"deleted a"_s});
    row("a folder above is renamed", u"mkdir d,write d/a"_s, u"d/a"_s, u"rename d e,chmod e/a"_s,
        {{}, u"changed d/a"_s});
    row("entries of a folder", u"mkdir d,write d/a"_s, u"d"_s, u"write d/a,chmod d/a,write d/b,remove d/a"_s,
        {{}, {}, u"changed d"_s, u"changed d"_s});
    row("a folder goes", u"mkdir d,mkdir e"_s, u"d e"_s, u"remove d,remove e"_s,
        {u"deleted d"_s, u"deleted e"_s});
    row("a folder moves and goes", u"mkdir d,mkdir e"_s, u"d e"_s, u"rename d e/f,remove e/f"_s,
        {u"renamed d;changed e"_s, u"deleted d;changed e"_s});
    row("one file by two paths", u"write a,symlink a b"_s, u"a b"_s, u"write a,remove a"_s,
        {u"changed a;changed b"_s, u"deleted a;deleted b"_s});
    row("a pipe", u"fifo p"_s, u"p"_s, u"remove p"_s, {u"deleted p"_s});
}

void QFFileWatcherTest::tellsWhatHappens()
{
    QFETCH(const QString, before);
    QFETCH(const QString, watched);
    QFETCH(const QString, acts);
    QFETCH(const QStringList, told);
    WatchLog log;
    for (const QString &one : before.split(u',') + QStringList{u"write sentinel"_s})
        QVERIFY2(act(log, one), qPrintable(one));
    QFFileWatcher watcher(&log);
    for (const QString &name : watched.split(u' ') + QStringList{u"sentinel"_s})
        QVERIFY(watcher.addFile(log.path(name)));
    log.take();
    QStringList seen;
    for (const QString &one : acts.split(u',')) {
        QVERIFY2(act(log, one), qPrintable(one));
        QVERIFY(flushed(log));
        // By name: which of two that an act touches is told first, the kernel decides.
        QStringList calls = log.take();
        std::ranges::sort(calls, {}, [](const QString &call) { return call.section(u' ', 1); });
        seen += calls.join(u';');
    }
    QCOMPARE(seen, told);
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
    WatchLog log;
    log.write(u"a"_s);
    QFFileWatcher watcher(&log);
    watcher.addFile(log.path(u"a"_s));
    log.take();
    const QVariant fd = watcher.locateFileByPath(log.path(u"a"_s)).value(u"fd"_s);
    watcher.setDelegate(nullptr);
    setDate(log.path(u"a"_s), {1000, 0});
    watcher.fileWasChanged({{u"fd"_s, fd}});
    watcher.setDelegate(&log);
    watcher.fileWasChanged({});
    QCOMPARE(log.take(), QStringList());
    watcher.fileWasChanged({{u"fd"_s, fd}});
    watcher.fileWasChanged({{u"fd"_s, fd}});
    QCOMPARE(log.take(), QStringList(u"changed a"_s));
}

void QFFileWatcherTest::allowsAnythingInsideACall_data()
{
    QTest::addColumn<QString>("what");
    for (const char *what : {"stop", "destroy", "stop elsewhere", "destroy the delegate", "add", "throw"})
        QTest::newRow(what) << QString::fromLatin1(what);
}

void QFFileWatcherTest::allowsAnythingInsideACall()
{
    QFETCH(const QString, what);
    auto log = std::make_unique<WatchLog>();
    log->write(u"a"_s);
    auto watcher = std::make_unique<QFFileWatcher>(log.get());
    QVERIFY(watcher->addFile(log->path(u"a"_s)));
    bool isDone = false;
    log->meanwhile = [&] {
        isDone = true;
        log->meanwhile = {};
        if (what == u"stop")
            watcher->stop();
        else if (what == u"destroy")
            watcher.reset();
        else if (what == u"stop elsewhere")
            std::thread([&watcher] { watcher.reset(); }).join();
        else if (what == u"destroy the delegate")
            log.release()->deleteLater();
        else if (what == u"add")
            watcher->addFile(log->path(u"a"_s));
        else
            throw 1; // NOLINT: anything may be thrown
    };
    if (what == u"throw")
        QTest::ignoreMessage(QtWarningMsg, "A delegate that was told of a file ended with an exception");
    log->write(u"a"_s);
    QTRY_VERIFY(isDone);

    // The same while a file is being added.
    if (log == nullptr || watcher == nullptr)
        return;
    log->meanwhile = [&] { watcher.reset(); };
    QVERIFY(!watcher->addFile(log->path(u"b"_s)));
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

void QFFileWatcherTest::survivesItsDelegate()
{
    WatchLog log;
    log.write(u"a"_s);
    auto brief = std::make_unique<WatchLog>();
    QFFileWatcher watcher(brief.get());
    QVERIFY(watcher.addFile(log.path(u"a"_s)));
    log.write(u"a"_s);
    QTest::qSleep(20);
    brief.reset(); // while an event waits
    QTest::qWait(50);
    watcher.setDelegate(&log);
    log.write(u"a"_s);
    QTRY_COMPARE(log.calls, QStringList(u"changed a"_s));
}

void QFFileWatcherTest::sharesFilesAmongWatchers()
{
    WatchLog log;
    log.write(u"a"_s);
    QFFileWatcher stays(&log);
    {
        QFFileWatcher goes(&log);
        QVERIFY(goes.addFile(log.path(u"a"_s)) && stays.addFile(log.path(u"a"_s)));
    }
    log.take();
    log.write(u"a"_s);
    QTRY_COMPARE(log.calls, QStringList(u"changed a"_s));
}

void QFFileWatcherTest::looksAtAllWhenEventsWereLost()
{
    QFile limit(u"/proc/sys/fs/inotify/max_queued_events"_s);
    QVERIFY(limit.open(QIODevice::ReadOnly));
    const int tooMany = limit.readAll().trimmed().toInt() + 10;
    WatchLog log;
    QFFileWatcher watcher(&log);
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s, u"d"_s}) {
        log.write(name);
        QVERIFY(watcher.addFile(log.path(name)));
    }
    log.take();
    log.meanwhile = [&] { // nobody reads events meanwhile, and equal ones in a row count once
        log.meanwhile = {};
        for (int i = 0; i < tooMany; i++)
            act(log, i % 2 == 0 ? u"keepdate a"_s : u"keepdate b"_s);
        act(log, u"write c"_s);
        act(log, u"remove d"_s);
    };
    log.write(u"a"_s);
    QTRY_VERIFY(log.calls.contains(u"deleted d"_s) && log.calls.contains(u"changed c"_s));
    QCOMPARE(log.calls.size(), 3);
}

void QFFileWatcherTest::leavesTheParentAloneInAChild()
{
    WatchLog log;
    log.write(u"a"_s);
    auto watcher = std::make_unique<QFFileWatcher>(&log);
    QVERIFY(watcher->addFile(log.path(u"a"_s)));
    log.take();
    const pid_t child = ::fork();
    if (child == 0) {
        watcher.reset(); // its thread is the parent's
        // Room for the file's own descriptor, but none for a queue.
        const int highest = ::dup(0);
        ::close(highest);
        const rlimit none = {rlim_t(highest), rlim_t(highest)};
        ::setrlimit(RLIMIT_NOFILE, &none);
        QFFileWatcher poor(&log);
        const bool isRight = !poor.addFile(log.path(u"a"_s));
        poor.stop();
        ::_exit(isRight ? 0 : 1);
    }
    int status = -1;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QCOMPARE(status, 0);
    log.write(u"a"_s);
    QTRY_COMPARE(log.calls, QStringList(u"changed a"_s));
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
    qInfo("%d calls, %d of %d files left", int(log.calls.size()), int(living), kChurnedFiles);
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
