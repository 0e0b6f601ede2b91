#include "messaging/CVMessage.h"
#include "messaging/ValueOperations.h"
#include "platform/DynamicMessages.h"
#include "platform/Values.h"
#include "tests/Rows.h"
#include "tests/messaging/Photo.h"

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

/// No photograph, yet it answers the same message.
class Drawing : public QObject
{
    Q_OBJECT
public:
    Q_INVOKABLE QString scaled(int factor, bool /*isSquare*/) { return QString::number(factor); }
};

/// One of many classes, as far as can be told.
class Costume : public Drawing
{
public:
    [[nodiscard]] const QMetaObject *metaObject() const override { return &_meta; }

private:
    const QMetaObject _meta = Drawing::staticMetaObject;
};

class Narrow : public QObject
{
    Q_OBJECT
public:
    Q_INVOKABLE void tried(double) {}
    Q_INVOKABLE void measured(qint16) {}
};

class Wide : public QObject
{
    Q_OBJECT
public:
    Q_INVOKABLE void tried(double, const QString &) {}
    Q_INVOKABLE void measured(qint16, const QString &) {}
};

class CVMessageTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void isReplayedAsItWasCaptured()
    {
        Photo photo(u"a"_s, 10);
        Film film(u"b"_s, 20);
        Drawing drawing;
        CVMessage message;
        QVERIFY(message.isEmpty() && isNil(message.replay(&photo)));
        for (int round = 0; round < 2; ++round) { // looked up, then remembered
            QCOMPARE(&message.capture("scaled", 2, true), &message);
            QCOMPARE(message.replay(&photo), u"a20s"_s);
            QCOMPARE(message.replay(&drawing), u"2"_s);
            QCOMPARE(message.replay(QVariant::fromValue<Photo *>(&film)), u"film b40s"_s);
            QCOMPARE(message.replay(QVariant::fromValue(QPointer<QObject>(&film))), u"film b40s"_s);
            forgetMessageTables(); // as before a module is unloaded
        }
        const CVMessage copy = message;
        QCOMPARE(message.capture(&Photo::scaled, 1.5F, false).replay(&film), u"film b30"_s);
        QCOMPARE(copy.replay(&photo), u"a20s"_s);
        QCOMPARE(message.capture("title").replay(&photo), u"a"_s);
        const QVariantList list{1};
        QCOMPARE(message.capture("joined", list, list).replay(&photo), QVariantList({1, 1}));
        QVERIFY(isNil(message.capture(&Photo::setNumber, 7).replay(&photo)));
        QCOMPARE(photo.number, 7);
        QVERIFY(isNil(message.capture("same", nullptr).replay(&photo)));
        const auto shared = QVariant::fromValue(std::make_shared<Block>());
        QCOMPARE(message.capture("same", shared).replay(&photo), shared);
        QVERIFY(!message.capture("same", QVariantList(128, 1.0)).isEmpty()); // 1024 bytes
        QTest::ignoreMessage(QtWarningMsg,
                             "The message 'same' takes 2000 bytes of arguments and cannot be captured");
        QVERIFY(message.capture("same", Block()).isEmpty() && isNil(message.replay(&photo)));
    }

    void logsWhatIsNotAnswered_data()
    {
        const Rows<CVMessage, QString> row({"message", "logged"});
        const auto absent = [](const QString &what) { return u"Photo does not answer '"_s + what + u'\''; };
        row("unknown name", CVMessage().capture("unknown", 1, 2), absent(u"unknown"_s));
        row("too few arguments", CVMessage().capture("scaled", 2), absent(u"scaled"_s));
        row("no number", CVMessage().capture("scaled", u"2"_s, true), absent(u"scaled"_s));
        row("more than there can be", CVMessage().capture("scaled", QVariantList(30, 1)),
            absent(u"scaled"_s));
        row("of a subclass", CVMessage().capture(&Film::length), absent(u"a member function of Film"_s));
        row("exception", CVMessage().capture("failing"), u"The answer to 'failing' threw an exception"_s);
        row("exception of a member", CVMessage().capture(&Photo::failing),
            u"The answer to 'a member function of Photo' threw an exception"_s);
    }

    void logsWhatIsNotAnswered()
    {
        QFETCH(CVMessage, message);
        QFETCH(QString, logged);
        Photo photo;
        for (int round = 0; round < 2; ++round) {
            QTest::ignoreMessage(QtWarningMsg, logged.toUtf8().constData());
            QVERIFY(isNil(message.replay(&photo)));
        }
        QVERIFY(isNil(message.replay(nullptr))); // without a line
        QVERIFY(isNil(message.replay(QVariant::fromValue<Photo *>(nullptr))));
    }

    void changesValuesInPlace()
    {
        Frame frame{10};
        QVariant value = QVariant::fromValue(frame);
        const QVariant before = value;
        CVMessage message;
        QCOMPARE(message.capture("widen", 5).replay(value), 15);
        QCOMPARE(message.capture("width").replay(value), 15);
        QCOMPARE(message.capture(&Frame::widen, 1).replay(value), 16);
        QCOMPARE(message.capture(&Frame::doubled).replay(value), 32);
        QCOMPARE(message.capture("doubled").replay(before), 20); // another value now
        QCOMPARE(message.capture("widen", 1).replay(QVariant::fromValue(&frame)), 11);
        QCOMPARE(frame.width, 11);
        const auto shared = std::make_shared<Frame>(frame);
        QCOMPARE(message.capture(&Frame::widen, 1).replay(QVariant::fromValue(shared)), 12);
        QCOMPARE(shared->width, 12);

        ValueOperations::add("left", [](const QString &text, int units) { return text.left(units); });
        ValueOperations::add("append", [](QVariantList &list, const QVariant &added) { list.append(added); });
        QCOMPARE(message.capture("left", 2.0).replay(u"abc"_s), u"ab"_s);
        QVariant list = QVariantList{1};
        QVERIFY(isNil(message.capture("append", u"x"_s).replay(list)));
        QCOMPARE(list, QVariant(QVariantList{1, u"x"_s}));
        for (const char *line : {"QString does not answer 'left'", "int does not answer 'left'",
                                 "QString does not answer 'left'"})
            QTest::ignoreMessage(QtWarningMsg, line);
        QVERIFY(isNil(message.capture("left", u"2"_s).replay(u"abc"_s)));
        QVERIFY(isNil(message.capture("left", 1).replay(7)));
        ValueOperations::add(QMetaType::fromType<QString>(), "left", 1, {});
        QVERIFY(isNil(message.replay(u"abc"_s)));
    }

    void meetsManyClassesOnManyThreads()
    {
        std::vector<Costume> costumes(40); // more than are remembered
        CVMessage message;
        message.capture("scaled", 7.0, true);
        std::atomic<int> wrong = 0;
        std::vector<std::thread> threads(4);
        for (std::thread &thread : threads)
            thread = std::thread([&] {
                for (int round = 0; round < 50; ++round)
                    for (Costume &costume : costumes)
                        wrong += message.replay(&costume) == u"7"_s ? 0 : 1;
            });
        for (std::thread &thread : threads)
            thread.join();
        QCOMPARE(wrong.load(), 0);
    }

    void knowsSizesAndWidensNumbers()
    {
        QCOMPARE(MaximumArgumentSizeForSelector("tried"), 0);
        Selectors::registerClass<Narrow>();
        QCOMPARE(MaximumArgumentSizeForSelector("tried"), qsizetype(sizeof(double)));
        Selectors::registerClass<Wide>();
        QCOMPARE(MaximumArgumentSizeForSelector("tried"), qsizetype(sizeof(double))); // stays
        QCOMPARE(MaximumArgumentSizeForSelector("measured"), qsizetype(sizeof(qint16) + sizeof(QString)));

        const QVariant wider = Selectors::widened("tried", {1.5F}).constFirst();
        QVERIFY(wider == 1.5 && wider.metaType() == QMetaType::fromType<double>());
        QCOMPARE(Selectors::widened("tried", {u"1"_s}), QVariantList{u"1"_s});
        QCOMPARE(Selectors::widened("measured", {3.7}), QVariantList{3.7}); // it would lose by it
        QCOMPARE(Selectors::widened("tried", {1, 2, 3}), QVariantList({1, 2, 3}));
    }
};

QTEST_APPLESS_MAIN(CVMessageTest)
#include "CVMessageTest.moc"
