#include "platform/DynamicMessages.h"
#include "platform/Values.h"
#include "tests/Rows.h"

#include <QPointer>
#include <QUrl>

#include <memory>
#include <stdexcept>
#include <thread>

using namespace Qt::StringLiterals;

class Receiver : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString title MEMBER title)

public:
    Q_INVOKABLE QString overloaded(int) { return u"int"_s; }
    Q_INVOKABLE QString overloaded(double) { return u"double"_s; }
    Q_INVOKABLE QString overloaded(const QString &) { return u"string"_s; }
    Q_INVOKABLE QString overloaded(QObject *) { return u"object"_s; }
    Q_INVOKABLE QString overloaded(const QVariantMap &) { return u"map"_s; }
    Q_INVOKABLE QString generic(const QVariant &value) { return QString::fromLatin1(value.typeName()); }
    Q_INVOKABLE QVariant anything() { return 42; }
    Q_INVOKABLE qint64 sum(int a, int b, int c, int d, int e, int f, int g, int h, int i, int j = 1000)
    {
        return a + b + c + d + e + f + g + h + i + j;
    }
    Q_INVOKABLE void failing() { throw std::runtime_error("no"); }
    Q_INVOKABLE QString destroying()
    {
        delete this;
        return u"gone"_s;
    }
    Q_INVOKABLE QPointer<QObject> guarded() { return this; }
    Q_INVOKABLE bool takesReceiver(Receiver *receiver) { return receiver != nullptr; }
    Q_INVOKABLE quint8 narrow(quint8 number) { return number; }
    Q_INVOKABLE virtual QString redeclared() { return u"base"_s; }

    QString title = u"a title"_s;

private:
    Q_INVOKABLE int secret() { return 1; }

Q_SIGNALS:
    void signalled();
};

class Derived : public Receiver
{
    Q_OBJECT

public:
    Q_INVOKABLE QString redeclared() override { return u"derived"_s; }
};

class DynamicMessagesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void knowsWhatIsAnswered();
    void choosesTheNearestOverload_data();
    void choosesTheNearestOverload();
    void refusesWhatDoesNotFit();
    void handsArgumentsAndAnswersOver();
    void survivesWhatReceiversDo();
    void isNotFooledByAnotherClassAtTheSameAddress();
    void answersOnManyThreads();
};

void DynamicMessagesTest::knowsWhatIsAnswered()
{
    Derived receiver;
    QVERIFY(respondsTo(&receiver, "overloaded", 1));
    QVERIFY(!respondsTo(&receiver, "overloaded", 2));
    QVERIFY(respondsTo(&receiver, "sum", 9) && respondsTo(&receiver, "sum", 10));
    QVERIFY(respondsTo(&receiver, "title", 0));
    QVERIFY(!respondsTo(&receiver, "title", 1));
    for (const char *hidden : {"secret", "signalled", "overload", ""})
        QVERIFY(!respondsTo(&receiver, hidden, 0));
    QVERIFY(!respondsTo(nullptr, "title", 0));
    QVERIFY(isNil(send(nullptr, "title")));
}

void DynamicMessagesTest::choosesTheNearestOverload_data()
{
    const Rows<QVariant, QString> row({"argument", "chosen"});
    row("exact", 1.5, u"double"_s);
    row("widened before narrowed", qint64(1), u"double"_s);
    row("short number", QVariant::fromValue<short>(1), u"int"_s);
    row("string", u"1"_s, u"string"_s);
    row("object of another class", QVariant::fromValue<DynamicMessagesTest *>(this), u"object"_s);
    row("hash as map", QVariantHash(), u"map"_s);
    row("a URL is no string", QUrl(u"a"_s), {});
}

void DynamicMessagesTest::choosesTheNearestOverload()
{
    QFETCH(QVariant, argument);
    Receiver receiver;
    QTEST(send(&receiver, "overloaded", {argument}).toString(), "chosen");
}

void DynamicMessagesTest::refusesWhatDoesNotFit()
{
    Receiver receiver;
    QCOMPARE(send(&receiver, "narrow", {255}), QVariant::fromValue<quint8>(255));
    QCOMPARE(send(&receiver, "narrow", {3.9}), QVariant::fromValue<quint8>(3));
    for (const QVariant &refused : {QVariant(256), QVariant(-1), QVariant(u"1"_s), QVariant(),
                                    QVariant(qQNaN()), QVariant(1e300), QVariant(quint64(-1))})
        QVERIFY(isNil(send(&receiver, "narrow", {refused})));
    QCOMPARE(send(&receiver, "takesReceiver", {QVariant::fromValue<QObject *>(&receiver)}), true);
    QCOMPARE(send(&receiver, "takesReceiver", {QVariant()}), false);
    QVERIFY(isNil(send(&receiver, "takesReceiver", {QVariant::fromValue<QObject *>(this)})));
    QVERIFY(isNil(send(&receiver, "sum", QVariantList(11, 1))));
}

void DynamicMessagesTest::handsArgumentsAndAnswersOver()
{
    Derived receiver;
    QCOMPARE(send(&receiver, "sum", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}), qint64(55));
    QCOMPARE(send(&receiver, "sum", QVariantList(9, 1)), qint64(1009));
    QCOMPARE(send(&receiver, "anything"), 42);
    QCOMPARE(send(&receiver, "generic", {QUrl()}), u"QUrl"_s);
    QCOMPARE(send(&receiver, "title"), u"a title"_s);
    QCOMPARE(send(&receiver, "redeclared"), u"derived"_s);
    QCOMPARE(objectValue(send(&receiver, "guarded")), &receiver);
}

void DynamicMessagesTest::survivesWhatReceiversDo()
{
    Receiver receiver;
    QVERIFY(isNil(send(&receiver, "failing")));
    const QPointer<Receiver> mortal = new Receiver;
    QCOMPARE(send(mortal, "destroying"), u"gone"_s);
    QVERIFY(!mortal);
}

class FirstTenant : public QObject
{
    Q_OBJECT

public:
    Q_INVOKABLE void first() {}
};

class SecondTenant : public QObject
{
    Q_OBJECT

public:
    Q_INVOKABLE void second() {}
};

// Has the class that lies at an address, as after a plug-in was unloaded and another one loaded.
class Lodger : public QObject
{
public:
    explicit Lodger(const QMetaObject &place) : _place(place) {}
    [[nodiscard]] const QMetaObject *metaObject() const override { return &_place; }

private:
    const QMetaObject &_place;
};

void DynamicMessagesTest::isNotFooledByAnotherClassAtTheSameAddress()
{
    QMetaObject place = FirstTenant::staticMetaObject;
    const Lodger lodger(place);
    QVERIFY(respondsTo(&lodger, "first", 0) && !respondsTo(&lodger, "second", 0));
    place = SecondTenant::staticMetaObject;
    QVERIFY(!respondsTo(&lodger, "first", 0) && respondsTo(&lodger, "second", 0));
    forgetMessageTables();
    QVERIFY(respondsTo(&lodger, "second", 0));
}

void DynamicMessagesTest::answersOnManyThreads()
{
    std::vector<std::jthread> threads;
    std::atomic<int> wrong = 0;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&wrong] {
            Receiver receiver;
            for (int i = 0; i < 2000; ++i) {
                const QByteArray unknown = "unknown" + QByteArray::number(i);
                if (respondsTo(&receiver, unknown, 0) ||
                    send(&receiver, "narrow", {i % 256}).toInt() != i % 256)
                    ++wrong;
            }
        });
    threads.clear(); // waits for them
    QCOMPARE(wrong, 0);
}

QTEST_APPLESS_MAIN(DynamicMessagesTest)
#include "DynamicMessagesTest.moc"
