#include "messaging/DetachedThreads.h"
#include "messaging/NSObject+PerformOnMainThreadHigherOrderMessaging.h"

#include <QCoreApplication>
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

    static CVMessage noting(int number) { return CVMessage().capture("note", number); }
    Q_INVOKABLE void note(int number)
    {
        strangers += MainThread::isCurrent() ? 0 : 1;
        numbers.append(number);
        ++count;
    }
    void leave() { (new Noter)->deleteLater(); }
    void waitForMainThread() { answer = performOnMainThread(this, noting(1), true) ? 1 : 0; }
    Q_INVOKABLE void failing() { throw 1; } // NOLINT: anything may be thrown

    static inline std::atomic<int> destroyed = 0;
    std::atomic<int> count = 0;
    std::atomic<int> answer = -1;
    std::atomic<int> strangers = 0;
    QList<int> numbers;
};

class ThreadHopsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void runsAtOnceOrAfterItsReturn()
    {
        Noter noter;
        QVERIFY(performOnMainThread(&noter, Noter::noting(1), true));
        QCOMPARE(noter.count, 1);
        CVMessage message = Noter::noting(2);
        QVERIFY(performOnMainThread(&noter, message, false));
        message.capture("note", 3); // changes nothing of what is under way
        QCOMPARE(noter.count, 1);
        MainThread::drain();
        QCOMPARE(noter.numbers, QList<int>({1, 2}));
        QTest::ignoreMessage(QtWarningMsg, "The answer to 'failing' threw an exception");
        QVERIFY(performOnMainThread(&noter, message.capture("failing"), true));
        QVERIFY(!performOnMainThread(nullptr, message, true));
        QVERIFY(!detachNewThreadSelector(nullptr, message));
    }

    void waitsAndKeepsTheOrder()
    {
        Noter noter;
        QList<int> right;
        for (int i = 0; i < 200; ++i)
            right.append(i);
        std::atomic<int> early = 0;
        std::thread other([&] {
            for (const int i : std::as_const(right)) {
                const bool waits = i % 7 == 0;
                performOnMainThread(&noter, Noter::noting(i), waits);
                early += waits && noter.count != i + 1 ? 1 : 0;
            }
        });
        QTRY_COMPARE(noter.count, 200);
        other.join();
        QCOMPARE(noter.numbers, right);
        QVERIFY(early == 0 && noter.strangers == 0);
    }

    void keepsReceiversAliveOrPassesThemOver()
    {
        const int before = Noter::destroyed;
        auto plain = std::make_unique<Noter>();
        auto shared = std::make_shared<Noter>();
        QVERIFY(performOnMainThread(plain.get(), Noter::noting(1), false));
        QVERIFY(performOnMainThread(shared, Noter::noting(1), false));
        plain.reset();
        shared.reset();
        QCOMPARE(Noter::destroyed, before + 1);
        MainThread::drain();
        QCOMPARE(Noter::destroyed, before + 2);

        // Made on another thread, sent to on three, destroyed on the last.
        std::atomic<int> sent = 0;
        std::thread maker([&] {
            for (int i = 0; i < 20; ++i) {
                auto made = std::make_shared<Noter>();
                performOnMainThread(made, Noter::noting(1), false);
                sent += performOnMainThread(made, Noter::noting(2), true) ? 1 : 0;
                detachNewThreadSelector(std::move(made), Noter::noting(3));
            }
        });
        QTRY_COMPARE(Noter::destroyed, before + 22);
        maker.join();
        QCOMPARE(sent, 20);
    }

    void stopsWaiting()
    {
        Noter noter;
        MainThread::StopFlag stop;
        std::atomic<bool> answer = true;
        std::thread waiter([&] { answer = performOnMainThread(&noter, Noter::noting(1), true, &stop); });
        stop.raise();
        waiter.join(); // the main thread does nothing meanwhile
        MainThread::drain();
        QVERIFY(!answer && noter.count == 0);
    }

    void runsOnAThreadOfItsOwn()
    {
        auto noter = std::make_shared<Noter>();
        CVMessage message;
        QVERIFY(detachNewThreadSelector(noter, message.capture(&Noter::waitForMainThread)));
        QTRY_COMPARE(noter->answer, 1);
        const int before = Noter::destroyed;
        QVERIFY(detachNewThreadSelector(noter.get(), message.capture(&Noter::leave)));
        QTRY_COMPARE(Noter::destroyed, before + 1); // what it left to be deleted
        QTRY_COMPARE(noter.use_count(), 1);
    }

    void isWaitedForWhenTheProgramEnds()
    {
        QProcess program;
        program.start(QCoreApplication::applicationFilePath(), {u"--end"_s});
        QVERIFY(program.waitForFinished(60000));
        QCOMPARE(program.readAllStandardError(), QByteArray());
        QCOMPARE(program.readAllStandardOutput(), QByteArray("in time\n"));
        QCOMPARE(program.exitCode(), 0);
    }
};

/// Ends while one thread waits and another works.
static void endWithThreads()
{
    static const QString words = QString::fromUtf8("in time"); // destroyed when the program ends
    static Noter noter;
    detachNewThreadSelector(&noter, CVMessage().capture(&Noter::waitForMainThread));
    DetachedThreads::start([] {
        while (!DetachedThreads::programEnds().isRaised())
            std::this_thread::yield();
        QThread::msleep(100);
        std::puts(qPrintable(words));
        std::fflush(stdout);
        DetachedThreads::start([] { std::puts("too late"); });
    });
}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (argc > 1 && qstrcmp(argv[1], "--end") == 0) {
        endWithThreads();
        return 0;
    }
    ThreadHopsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "ThreadHopsTest.moc"
