#include "plugin/QFFolderWatcher.h"

#include "tests/plugin/WatchLog.h"

#include <QCoreApplication>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

class QFFolderWatcherTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void takesWhatIsVisible();
    void findsNewFiles();
    void endsAtTheFirstFailure();
};

void QFFolderWatcherTest::takesWhatIsVisible()
{
    WatchLog log;
    QDir(log.folder.path()).mkpath(u"s"_s);
    QDir(log.folder.path()).mkpath(u".h"_s);
    for (const QString &name : {u"a"_s, u".b"_s, u".h/d"_s, u"s/t"_s, u"s/.u"_s, u"s/é~"_s})
        log.write(name);
    QVERIFY(QFile::link(log.folder.path(), log.path(u"s/loop"_s)));
    QCOMPARE(::mkfifo(QFile::encodeName(log.path(u"pipe"_s)).constData(), 0600), 0);
    const QByteArray undecodable = QFile::encodeName(log.path(u"n"_s)) + '\xff';
    QCOMPARE(::mkdir(undecodable.constData(), 0700), 0);
    QFFolderWatcher watcher(&log);
    QVERIFY(watcher.addFolder(log.folder.path() + u'/'));
    QCOMPARE(watcher.folder(), log.folder.path() + u'/');
    QCOMPARE(log.take(), QStringList({u"changed .h/d"_s, u"changed a"_s, u"changed pipe"_s, u"changed s"_s,
                                      u"changed s/loop"_s, u"changed s/t"_s, u"changed s/é~"_s}));
    ::rmdir(undecodable.constData()); // QTemporaryDir cannot
}

void QFFolderWatcherTest::findsNewFiles()
{
    WatchLog log;
    QFFolderWatcher watcher(&log);
    QVERIFY(!watcher.refreshFolder()); // no folder yet
    QVERIFY(!watcher.addFolder({}));
    QVERIFY(!watcher.addFolder(log.path(u"missing"_s)));
    QVERIFY(!watcher.addFolder(log.folder.path())); // nothing in it
    QDir(log.folder.path()).mkpath(u"s/t"_s);
    QVERIFY(watcher.refreshFolder());
    QCOMPARE(log.take(), QStringList({u"changed s"_s, u"changed s/t"_s}));
    QVERIFY(!watcher.refreshFolder()); // nothing new
    watcher.removeFolder(log.folder.path());

    log.write(u"s/t/a"_s);
    QTRY_COMPARE(log.calls, QStringList(u"changed s/t"_s));
    log.take();
    QVERIFY(watcher.refreshFolder());
    QCOMPARE(log.take(), QStringList(u"changed s/t/a"_s));
    QVERIFY(QDir(log.path(u"s/t"_s)).removeRecursively());
    QTRY_VERIFY(log.calls.contains(u"deleted s/t/a"_s) && log.calls.contains(u"deleted s/t"_s));
    QDir(log.folder.path()).mkpath(u"s/t"_s);
    log.take();
    QVERIFY(watcher.refreshFolder());
    QCOMPARE(log.calls.last(), u"changed s/t"_s);
}

void QFFolderWatcherTest::endsAtTheFirstFailure()
{
    WatchLog log;
    log.write(u"a"_s);
    log.write(u"c"_s);
    QVERIFY(QFile::link(log.path(u"nowhere"_s), log.path(u"b"_s)));
    auto watcher = std::make_unique<QFFolderWatcher>(&log);
    QVERIFY(!watcher->addFolder(log.folder.path()));
    QCOMPARE(log.take(), QStringList({u"changed a"_s, u"changed b"_s}));
    QVERIFY(!watcher->refreshFolder());
    QCOMPARE(log.take(), QStringList(u"changed b"_s));

    QVERIFY(QFile::remove(log.path(u"b"_s)));
    log.meanwhile = [&watcher] { watcher.reset(); };
    QVERIFY(!watcher->refreshFolder());
    QCOMPARE(log.take(), QStringList(u"changed c"_s));
}

QTEST_GUILESS_MAIN(QFFolderWatcherTest)

#include "QFFolderWatcherTest.moc"
