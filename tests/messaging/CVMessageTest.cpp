#include "messaging/CVMessage.h"
#include "messaging/ValueOperations.h"
#include "platform/DynamicMessages.h"
#include "platform/Values.h"
#include "tests/messaging/Photo.h"

#include <QRegularExpression>
#include <QTest>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

class CVMessageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isReplayedWithItsArguments();
    void overwritesWhatWasCaptured();
    void logsWhatIsNotAnswered_data();
    void logsWhatIsNotAnswered();
    void refusesWhatIsTooLarge();
    void changesGadgetsInPlace();
    void sendsToRegisteredOperationsOfValues();
    void meetsManyClassesOnManyThreads();
    void keepsSizesOnceAskedFor();
    void widensNumbersWhenItCaptures();
};

void CVMessageTest::isReplayedWithItsArguments()
{
    Photo photo(u"a"_s, 10);
    Film film(u"b"_s, 20);
    Drawing drawing;
    CVMessage message;
    for (int round = 0; round < 2; ++round) { // looked up, then remembered
        message.capture("scaled", 2, true);
        QCOMPARE(message.replay(&photo), u"a20s"_s);
        QCOMPARE(message.replay(&drawing), u"2"_s);
        QCOMPARE(message.replay(QVariant::fromValue<Photo *>(&film)), u"film b40s"_s);
        QCOMPARE(message.replay(QVariant::fromValue(QPointer<QObject>(&film))), u"film b40s"_s);
    }
    QCOMPARE(message.capture(&Photo::scaled, 1.5F, false).replay(&film), u"film b30"_s);
    QCOMPARE(message.capture("title").replay(&photo), u"a"_s);
    QCOMPARE(message.capture("sum", QVariantList(12, 3)).replay(&photo), qint64(36));
    QVERIFY(isNil(message.capture(&Photo::setNumber, 7).replay(&photo)));
    QCOMPARE(photo.number, 7);
    QVERIFY(isNil(message.capture("same", nullptr).replay(&photo)));
    const Block unregistered;
    QCOMPARE(message.capture("same", {QVariant::fromValue(std::make_shared<Block>(unregistered))})
                 .replay(&photo)
                 .metaType(),
             QMetaType::fromType<std::shared_ptr<Block>>());
    forgetMessageTables(); // as before a module is unloaded
    QCOMPARE(message.capture("scaled", {2, true}).replay(&photo), u"a14s"_s);
}

void CVMessageTest::overwritesWhatWasCaptured()
{
    Photo photo(u"a"_s, 10);
    CVMessage message;
    QVERIFY(message.isEmpty() && isNil(message.replay(&photo)));
    QCOMPARE(&message.capture("size"), &message);
    const CVMessage copy = message;
    QCOMPARE(message.capture("title").replay(&photo), u"a"_s);
    QCOMPARE(copy.replay(&photo), 10);
    QVERIFY(message.capture("").isEmpty());
}

void CVMessageTest::logsWhatIsNotAnswered_data()
{
    QTest::addColumn<CVMessage>("message");
    QTest::addColumn<QString>("logged");
    const auto absent = [](const QString &what) { return u"Photo does not answer '"_s + what + u'\''; };
    QTest::newRow("unknown name") << CVMessage().capture("unknown", 1, 2) << absent(u"unknown"_s);
    QTest::newRow("too few arguments") << CVMessage().capture("scaled", 2) << absent(u"scaled"_s);
    QTest::newRow("no number") << CVMessage().capture("scaled", u"2"_s, true) << absent(u"scaled"_s);
    QTest::newRow("more arguments than there can be")
        << CVMessage().capture("scaled", QVariantList(30, 1)) << absent(u"scaled"_s);
    QTest::newRow("member of a subclass")
        << CVMessage().capture(&Film::length) << absent(u"a member function of Film"_s);
    QTest::newRow("exception") << CVMessage().capture("failing")
                               << u"The answer to 'failing' threw an exception"_s;
    QTest::newRow("exception of a member")
        << CVMessage().capture(&Photo::failing)
        << u"The answer to 'a member function of Photo' threw an exception"_s;
}

void CVMessageTest::logsWhatIsNotAnswered()
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

void CVMessageTest::refusesWhatIsTooLarge()
{
    Photo photo(u"a"_s);
    CVMessage message;
    message.capture("title");
    QTest::ignoreMessage(QtWarningMsg,
                         "The message 'same' takes 2000 bytes of arguments and cannot be captured");
    QVERIFY(message.capture("same", Block()).isEmpty());
    QVERIFY(isNil(message.replay(&photo)));
    QVERIFY(!message.capture("same", QVariantList(128, 1.0)).isEmpty()); // 1024 bytes
}

void CVMessageTest::changesGadgetsInPlace()
{
    Frame frame{10};
    QVariant value = QVariant::fromValue(frame);
    const QVariant before = value;
    CVMessage message;
    QCOMPARE(message.capture("widen", 5).replay(value), 15);
    QCOMPARE(message.capture("width").replay(value), 15);
    QCOMPARE(message.capture(&Frame::widened, 1).replay(value), 16);
    QCOMPARE(message.capture(&Frame::half).replay(value), 8);
    QCOMPARE(message.capture("doubled").replay(before), 20); // another value now
    QCOMPARE(message.capture("widen", 1).replay(QVariant::fromValue(&frame)), 11);
    QCOMPARE(frame.width, 11);
    const auto shared = std::make_shared<Frame>(frame);
    QCOMPARE(message.capture(&Frame::widened, 1).replay(QVariant::fromValue(shared)), 12);
    QCOMPARE(shared->width, 12);
}

void CVMessageTest::sendsToRegisteredOperationsOfValues()
{
    ValueOperations::add("left", [](const QString &text, int units) { return text.left(units); });
    ValueOperations::add("append", [](QVariantList &list, const QVariant &value) { list.append(value); });
    CVMessage message;
    QCOMPARE(message.capture("left", 2.0).replay(u"abc"_s), u"ab"_s);
    QVariant list = QVariantList{1};
    QVERIFY(isNil(message.capture("append", u"x"_s).replay(list)));
    QCOMPARE(list, QVariant(QVariantList{1, u"x"_s}));
    QTest::ignoreMessage(QtWarningMsg, "QString does not answer 'left'");
    QVERIFY(isNil(message.capture("left", u"2"_s).replay(u"abc"_s)));
    QTest::ignoreMessage(QtWarningMsg, "int does not answer 'left'");
    QVERIFY(isNil(message.capture("left", 1).replay(7)));
    ValueOperations::add(QMetaType::fromType<QString>(), "left", 1, {});
    QTest::ignoreMessage(QtWarningMsg, "QString does not answer 'left'");
    QVERIFY(isNil(message.replay(u"abc"_s)));
}

/// One of many classes, as far as can be told.
class Costume : public Drawing
{
public:
    Costume() : _meta(Drawing::staticMetaObject) {}
    [[nodiscard]] const QMetaObject *metaObject() const override { return &_meta; }

private:
    const QMetaObject _meta;
};

void CVMessageTest::meetsManyClassesOnManyThreads()
{
    std::vector<std::unique_ptr<Costume>> costumes(40); // more than are remembered
    for (auto &costume : costumes)
        costume = std::make_unique<Costume>();
    CVMessage message;
    message.capture("scaled", 7.0, true);
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round)
                for (const auto &costume : costumes)
                    wrong += message.replay(costume.get()) == u"7"_s ? 0 : 1;
        });
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(wrong.load(), 0);
}

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

void CVMessageTest::keepsSizesOnceAskedFor()
{
    QCOMPARE(MaximumArgumentSizeForSelector("tried"), 0);
    Selectors::registerClass<Narrow>();
    QCOMPARE(MaximumArgumentSizeForSelector("tried"), qsizetype(sizeof(double)));
    Selectors::registerClass<Wide>();
    QCOMPARE(MaximumArgumentSizeForSelector("tried"), qsizetype(sizeof(double))); // stays
    QCOMPARE(MaximumArgumentSizeForSelector("measured"), qsizetype(sizeof(qint16) + sizeof(QString)));
    QCOMPARE(MaximumArgumentSizeForSelector("deleteLater"), 0);
}

void CVMessageTest::widensNumbersWhenItCaptures()
{
    Selectors::registerClass<Narrow>();
    const auto sent = [](const CVMessage &message) {
        Photo photo;
        return message.replay(&photo);
    };
    // Nothing is done to what classes take in different ways, or what would lose by it.
    QCOMPARE(sent(CVMessage().capture("same", 1)), 1);
    QCOMPARE(Selectors::widened("tried", {1.5F}), QVariantList{1.5});
    QCOMPARE(Selectors::widened("tried", {1.5F}).first().metaType(), QMetaType::fromType<double>());
    QCOMPARE(Selectors::widened("tried", {u"1"_s}), QVariantList{u"1"_s});
    QCOMPARE(Selectors::widened("measured", {3.7}), QVariantList{3.7});
    QCOMPARE(Selectors::widened("tried", {1, 2, 3}), QVariantList({1, 2, 3}));
}

QTEST_APPLESS_MAIN(CVMessageTest)
#include "CVMessageTest.moc"
