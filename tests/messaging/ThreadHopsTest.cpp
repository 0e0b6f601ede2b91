#include "messaging/DetachedThreads.h"
#include "messaging/NSObject+PerformOnMainThreadHigherOrderMessaging.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>
#include <QThread>

#include <atomic>
#include <cstdio>
#include <memory>
#include <thread>

using namespace Qt::StringLiterals;
using namespace PerformOnMainThreadHigherOrderMessaging;

class Noter : public QObject
{
    Q_OBJECT

public:
    ~Noter() override { ++destroyed; }

    Q_INVOKABLE void note(int number)
    {
        wasMainThread = MainThread::isCurrent();
        numbers.append(number);
        ++count;
    }
    void leave()
    {
        (new Noter)->deleteLater();
        leftAt = destroyed.load();
    }
    void waitForMainThread()
    {
        CVMessage message;
        answer = performOnMainThread(this, message.capture(&Noter::note, 1), true) ? 1 : 0;
    }
    Q_INVOKABLE void failing() { throw 1; } // NOLINT: anything may be thrown

    static inline std::atomic<int> destroyed = 0;
    std::atomic<int> count = 0;
    std::atomic<int> answer = -1;
    std::atomic<int> leftAt = -1;
    std::atomic<bool> wasMainThread = false;
    QList<int> numbers;
};

class ThreadHopsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void waitsOrReturnsAtOnce();
    void keepsTheOrder();
    void keepsReceiversAliveOrPassesThemOver();
    void stopsWaiting();
    void runsOnAThreadOfItsOwn();
    void isWaitedForWhenTheProgramEnds();
};

void ThreadHopsTest::waitsOrReturnsAtOnce()
{
    Noter noter;
    CVMessage message;
    message.capture("note", 1);
    QVERIFY(performOnMainThread(&noter, message, true)); // on the main thread itself: directly
    QCOMPARE(noter.count, 1);
    QVERIFY(performOnMainThread(&noter, message.capture("note", 2), false));
    message.capture("note", 3); // changes nothing of what is under way
    QCOMPARE(noter.count, 1);
    QTRY_COMPARE(noter.numbers, QList<int>({1, 2}));

    std::atomic<int> seen = -1;
    std::thread other([&] {
        CVMessage hop;
        performOnMainThread(&noter, hop.capture("note", 4), true);
        seen = noter.count.load();
    });
    QTRY_COMPARE(seen, 3);
    other.join();
    QVERIFY(noter.wasMainThread);
    QTest::ignoreMessage(QtWarningMsg, "The answer to 'failing' threw an exception");
    QVERIFY(performOnMainThread(&noter, message.capture("failing"), true));
    QVERIFY(!performOnMainThread(nullptr, message, true));
}

void ThreadHopsTest::keepsTheOrder()
{
    Noter noter;
    QList<int> right;
    std::thread other([&] {
        for (int i = 0; i < 200; ++i) {
            CVMessage message;
            performOnMainThread(&noter, message.capture(&Noter::note, i), i % 7 == 0);
        }
    });
    for (int i = 0; i < 200; ++i)
        right.append(i);
    QTRY_COMPARE(noter.count, 200);
    other.join();
    QCOMPARE(noter.numbers, right);
}

void ThreadHopsTest::keepsReceiversAliveOrPassesThemOver()
{
    CVMessage message;
    message.capture("note", 1);
    const int before = Noter::destroyed;
    auto plain = std::make_unique<Noter>();
    QVERIFY(performOnMainThread(plain.get(), message, false));
    plain.reset();
    MainThread::drain();
    QCOMPARE(Noter::destroyed, before + 1);

    auto shared = std::make_shared<Noter>();
    QVERIFY(performOnMainThread(shared, message, false));
    shared.reset();
    QCOMPARE(Noter::destroyed, before + 1);
    MainThread::drain();
    QCOMPARE(Noter::destroyed, before + 2);

    // Made on another thread, which waits for each; gone before the message comes.
    std::atomic<int> sent = 0;
    std::thread maker([&] {
        for (int i = 0; i < 100; ++i) {
            auto made = std::make_shared<Noter>();
            performOnMainThread(made, message, false);
            sent += performOnMainThread(made, message, true) ? 1 : 0;
            detachNewThreadSelector(std::move(made), message);
        }
    });
    QTRY_COMPARE(Noter::destroyed, before + 102);
    maker.join();
    QCOMPARE(sent, 100);
}

void ThreadHopsTest::stopsWaiting()
{
    Noter noter;
    MainThread::StopFlag stop;
    std::atomic<int> answer = -1;
    std::thread waiter([&] {
        CVMessage message;
        answer = performOnMainThread(&noter, message.capture("note", 1), true, &stop) ? 1 : 0;
    });
    stop.raise();
    waiter.join(); // the main thread does nothing meanwhile
    QCOMPARE(answer, 0);
    MainThread::drain();
    QCOMPARE(noter.count, 0);
}

void ThreadHopsTest::runsOnAThreadOfItsOwn()
{
    auto noter = std::make_shared<Noter>();
    CVMessage message;
    QVERIFY(detachNewThreadSelector(noter, message.capture(&Noter::waitForMainThread)));
    QTRY_COMPARE(noter->answer, 1);
    const int before = Noter::destroyed;
    QVERIFY(detachNewThreadSelector(noter.get(), message.capture(&Noter::leave)));
    QTRY_COMPARE(Noter::destroyed, before + 1); // what it left to be deleted
    QCOMPARE(noter->leftAt, before);
    QVERIFY(!detachNewThreadSelector(nullptr, message));
    QTRY_COMPARE(noter.use_count(), 1);
}

/// Something that is destroyed when the program ends.
QString &lastWords()
{
    static QString words = QString::fromUtf8("in time");
    return words;
}

/// Ends while threads wait, work and go on for ever.
int endedWithThreads(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    lastWords();
    static Noter noter;
    CVMessage message;
    detachNewThreadSelector(&noter, message.capture(&Noter::waitForMainThread));
    DetachedThreads::start([] {
        while (!DetachedThreads::programEnds().isRaised())
            std::this_thread::yield();
        QThread::msleep(100);
        std::puts(lastWords().toUtf8().constData());
        std::fflush(stdout);
        DetachedThreads::start([] { std::puts("too late"); });
    });
    return 0;
}

void ThreadHopsTest::isWaitedForWhenTheProgramEnds()
{
    QProcess program;
    program.start(QCoreApplication::applicationFilePath(), {u"--end"_s});
    QVERIFY(program.waitForFinished(60000));
    QCOMPARE(program.readAllStandardError(), QByteArray());
    QCOMPARE(program.readAllStandardOutput(), QByteArray("in time\n"));
    QCOMPARE(program.exitCode(), 0);
}

int main(int argc, char **argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--end") == 0)
        return endedWithThreads(argc, argv);
    QCoreApplication application(argc, argv);
    ThreadHopsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "ThreadHopsTest.moc"
