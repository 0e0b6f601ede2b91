#include "platform/NSNotificationCenter.h"

#include <QObject>
#include <QTest>

#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

class NSNotificationCenterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellsByNameAndObject();
    void tellsNobodyWhoIsGone();
    void postsToASnapshot();
    void goesOnAfterAnException();
    void takesRegistrationsOnManyThreads();
};

void NSNotificationCenterTest::tellsByNameAndObject()
{
    NSNotificationCenter center;
    QStringList told;
    const auto listen = [&](const QString &label, const QString &name, const QVariant &object) {
        center.addObserver(this, name, object, [&told, label](const NSNotification &) { told += label; });
    };
    QObject page;
    QObject other;
    const auto pageValue = QVariant::fromValue<QObject *>(&page);
    listen(u"all"_s, {}, {});
    listen(u"name"_s, u"changed"_s, {});
    listen(u"page"_s, {}, pageValue);
    listen(u"both"_s, u"changed"_s, pageValue);
    listen(u"string"_s, {}, u"1"_s);
    center.postNotificationName(u"changed"_s, pageValue);
    QCOMPARE(told, QStringList({u"all"_s, u"name"_s, u"page"_s, u"both"_s}));
    told.clear();
    center.postNotificationName(u"else"_s, QVariant::fromValue<QObject *>(&other));
    center.postNotificationName(u"else"_s, 1);
    center.postNotificationName(u"else"_s, u"1"_s);
    QCOMPARE(told, QStringList({u"all"_s, u"all"_s, u"all"_s, u"string"_s}));
    told.clear();
    center.removeObserver(this, u"changed"_s);
    center.removeObserver(this, {}, u"1"_s);
    center.removeObserver(&other);
    center.postNotificationName(u"changed"_s, pageValue, {{u"k"_s, 1}});
    QCOMPARE(told, QStringList({u"all"_s, u"page"_s}));
}

void NSNotificationCenterTest::tellsNobodyWhoIsGone()
{
    NSNotificationCenter center;
    int calls = 0;
    auto observer = std::make_unique<QObject>();
    auto object = std::make_unique<QObject>();
    const auto address = QVariant::fromValue<QObject *>(object.get());
    center.addObserver(observer.get(), {}, {}, [&](const NSNotification &) { ++calls; });
    center.addObserver(this, {}, address, [&](const NSNotification &) { ++calls; });
    center.addObserver(nullptr, {}, {}, [&](const NSNotification &) { ++calls; });
    observer.reset();
    object.reset();
    center.postNotificationName(u"n"_s, address); // as if another object had come to lie there
    QCOMPARE(calls, 0);
}

void NSNotificationCenterTest::postsToASnapshot()
{
    NSNotificationCenter center;
    QStringList told;
    auto doomed = std::make_unique<QObject>();
    QObject removed;
    center.addObserver(this, {}, {}, [&](const NSNotification &) {
        told += u"first"_s;
        doomed.reset();
        center.removeObserver(&removed);
        center.addObserver(this, {}, {}, [&](const NSNotification &) { told += u"late"_s; });
    });
    center.addObserver(doomed.get(), {}, {}, [&](const NSNotification &) { told += u"doomed"_s; });
    center.addObserver(&removed, {}, {}, [&](const NSNotification &) { told += u"removed"_s; });
    center.addObserver(this, {}, {}, [&](const NSNotification &) { told += u"last"_s; });
    center.postNotificationName(u"n"_s);
    QCOMPARE(told, QStringList({u"first"_s, u"last"_s}));
    told.clear();
    center.postNotificationName(u"n"_s);
    QCOMPARE(told, QStringList({u"first"_s, u"last"_s, u"late"_s}));
}

void NSNotificationCenterTest::goesOnAfterAnException()
{
    NSNotificationCenter center;
    bool told = false;
    center.addObserver(this, {}, {}, [](const NSNotification &) { throw std::runtime_error("no"); });
    center.addObserver(this, {}, {}, [&](const NSNotification &) { told = true; });
    center.postNotificationName(u"n"_s);
    QVERIFY(told);
}

void NSNotificationCenterTest::takesRegistrationsOnManyThreads()
{
    NSNotificationCenter center;
    std::atomic<int> calls = 0;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, name = QString::number(thread)] {
            for (int i = 0; i < 300; ++i) {
                QObject observer;
                center.addObserver(&observer, name, {}, [&](const NSNotification &) { ++calls; });
                center.postNotificationName(name);
            }
        });
    threads.clear(); // waits for them
    QCOMPARE(calls, 1200);
}

QTEST_APPLESS_MAIN(NSNotificationCenterTest)
#include "NSNotificationCenterTest.moc"
