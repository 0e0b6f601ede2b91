#include "platform/MainThread.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTest>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

class MainThreadTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runsAtOnceOnTheMainThread();
    void keepsTheOrderAndRunsOnTheMainThread();
    void runsInsideALoopOfATask();
    void stopsWaiting();
    void outlivesExceptions();
};

void MainThreadTest::runsAtOnceOnTheMainThread()
{
    QVERIFY(MainThread::isCurrent());
    bool ran = false;
    QVERIFY(MainThread::runAndWait([&] { ran = true; }));
    QVERIFY(ran);
    ran = false;
    MainThread::post([&] { ran = true; });
    QVERIFY(!ran); // never before post returns
    QTRY_VERIFY(ran);
    ran = false;
    MainThread::post([&] { ran = true; });
    std::thread([&] { MainThread::drain(); }).join(); // not there
    QVERIFY(!ran);
    MainThread::drain();
    QVERIFY(ran);
}

void MainThreadTest::keepsTheOrderAndRunsOnTheMainThread()
{
    constexpr int kThreads = 4;
    constexpr int kTasks = 500;
    std::vector<std::vector<int>> seen(kThreads);
    std::atomic<int> strangers = 0;
    std::atomic<int> done = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; t++) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kTasks; i++) {
                const auto note = [&, t, i] {
                    strangers += MainThread::isCurrent() ? 0 : 1;
                    seen[std::size_t(t)].push_back(i);
                };
                if (i % 2 == 0)
                    MainThread::post(note);
                else if (!MainThread::runAndWait(note) || seen[std::size_t(t)].size() != std::size_t(i) + 1)
                    strangers++;
            }
            done++;
        });
    }
    QTRY_COMPARE(done.load(), kThreads);
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(strangers.load(), 0);
    for (const std::vector<int> &one : seen) {
        QCOMPARE(one.size(), std::size_t(kTasks));
        QVERIFY(std::is_sorted(one.begin(), one.end()));
    }
}

void MainThreadTest::runsInsideALoopOfATask()
{
    QStringList order;
    QEventLoop loop;
    MainThread::post([&] {
        order += u"outer begins"_s;
        loop.exec();
        order += u"outer ends"_s;
    });
    MainThread::post([&] {
        order += u"inner"_s;
        loop.quit();
    });
    QTRY_COMPARE(order, QStringList({u"outer begins"_s, u"inner"_s, u"outer ends"_s}));
}

void MainThreadTest::stopsWaiting()
{
    // Neither the loop nor anybody else does the work, so only the flag ends the wait.
    MainThread::StopFlag stop;
    std::atomic<int> answer = -1;
    bool ran = false;
    std::thread waiter([&] { answer = MainThread::runAndWait([&] { ran = true; }, &stop) ? 1 : 0; });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    stop.raise();
    waiter.join();
    QCOMPARE(answer.load(), 0);
    QCoreApplication::processEvents();
    QVERIFY(!ran); // dropped

    // Raised by the very work that is waited for.
    MainThread::StopFlag inside;
    std::atomic<bool> left = false;
    std::thread other([&] {
        MainThread::runAndWait(
            [&] {
                inside.raise();
                while (!left)
                    std::this_thread::yield();
            },
            &inside);
        left = true;
    });
    QTRY_VERIFY(left);
    other.join();
}

void MainThreadTest::outlivesExceptions()
{
    std::atomic<int> answer = -1;
    QTest::ignoreMessage(QtWarningMsg, "Work on the main thread ended with an exception: lost");
    std::thread waiter(
        [&] { answer = MainThread::runAndWait([] { throw std::runtime_error("lost"); }) ? 1 : 0; });
    QTRY_COMPARE(answer.load(), 1);
    waiter.join();
    QTest::ignoreMessage(QtWarningMsg, "Work on the main thread ended with an exception");
    QVERIFY(MainThread::runAndWait([] { throw 1; })); // NOLINT: anything may be thrown
}

QTEST_GUILESS_MAIN(MainThreadTest)

#include "MainThreadTest.moc"
