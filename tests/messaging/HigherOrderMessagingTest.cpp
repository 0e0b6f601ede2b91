#include "messaging/NSArray+HOM.h"
#include "messaging/NSObject+PerformOnMainThreadHigherOrderMessaging.h"
#include "messaging/ValueOperations.h"
#include "platform/QFReport.h"
#include "tests/messaging/Photo.h"

#include <QRegularExpression>
#include <QTest>
#include <QThread>

#include <atomic>
#include <memory>
#include <set>

using namespace Qt::StringLiterals;

/// Answers what it is told to, and does things to the array that it is in.
class Element : public QObject
{
    Q_OBJECT

public:
    explicit Element(const QVariant &value = {}) : answer(value) {}
    Q_INVOKABLE QVariant answered() { return answer; }
    Q_INVOKABLE int emptying()
    {
        array->clear();
        return 1;
    }
    Q_INVOKABLE int deletingNext()
    {
        delete next;
        return 1;
    }
    Q_INVOKABLE bool isOnMainThread() { return MainThread::isCurrent(); }
    Q_INVOKABLE bool asksMainThread()
    {
        CVMessage message;
        return PerformOnMainThreadHigherOrderMessaging::performOnMainThread(
            this, message.capture(&Element::noteThread), true);
    }
    void noteThread() { wasOnMainThread = MainThread::isCurrent(); }

    QVariant answer;
    QVariantList *array = nullptr;
    QPointer<Element> next;
    bool wasOnMainThread = false;
};

class HigherOrderMessagingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void collectsInOrder();
    void throwsOnlyForNilAnswers();
    void selectsByTheLowByte_data();
    void selectsByTheLowByte();
    void outlivesWhatElementsDo();
    void replacesOnlyInTheRange();
    void cutsIntoRanges_data();
    void cutsIntoRanges();
    void collectsInParallelAsInARow();
    void workersMayWaitForTheMainThread();
};

void HigherOrderMessagingTest::collectsInOrder()
{
    Photo photo(u"a"_s, 10);
    Film film(u"b"_s, 20);
    CVMessage message;
    const QVariantList array{QVariant::fromValue<Photo *>(&photo), QVariant::fromValue(Frame{7}),
                             QVariant::fromValue<Film *>(&film)};
    ValueOperations::add("scaled", [](const Frame &frame, int factor, bool) { return frame.width * factor; });
    message.capture("scaled", 2, true);
    QCOMPARE(HOM::collect(array, message), QVariantList({u"a20s"_s, 14, u"film b40s"_s}));
    QCOMPARE(HOM::collect({}, message), QVariantList());
    // The same, by other roads.
    const QList<Photo *> photos{&photo, &film};
    const QList<QString> scaled{u"a20s"_s, u"film b40s"_s};
    QCOMPARE(HOM::collect<QString>(photos, message), scaled);
    QCOMPARE(HOM::collect<QString>(photos, message.capture(&Photo::scaled, 2, true)), scaled);
    QCOMPARE(HOM::collect<QString>(QList<QObject *>{&photo, &film}, message), scaled);
    QCOMPARE(HOM::collect<double>(photos, message.capture(&Photo::size)), QList<double>({10, 20}));
    QCOMPARE(HOM::select(photos, message.capture("size")), photos);

    const QVariantList frames(2, QVariant::fromValue(Frame{7})); // which share nothing that is changed
    QCOMPARE(HOM::collect(frames, message.capture("widen", 1)), QVariantList({8, 8}));
    QCOMPARE(HOM::collect(frames, message.capture("width")), QVariantList({7, 7}));
}

void HigherOrderMessagingTest::throwsOnlyForNilAnswers()
{
    Photo photo(u"a"_s);
    Photo untitled;
    const QVariantList array{QVariant::fromValue<Photo *>(&photo), QVariant::fromValue<Photo *>(&untitled)};
    const QList<Photo *> photos{&photo, &untitled, nullptr};
    CVMessage message;
    for (const CVMessage &nil :
         {CVMessage(), message.capture("title"), message.capture(&Photo::setNumber, 1)}) {
        QVERIFY_EXCEPTION_THROWN((void)HOM::collect(array, nil), std::invalid_argument);
        QVERIFY_EXCEPTION_THROWN((void)HOM::parallelCollect(array, nil, 2), std::invalid_argument);
        QVERIFY_EXCEPTION_THROWN((void)HOM::collect<QString>(photos, nil), std::invalid_argument);
        QCOMPARE(HOM::select(array, nil), QVariantList());
    }
    for (const CVMessage &throwing : {message.capture("failing"), message.capture(&Photo::failing)}) {
        const QRegularExpression line(u"threw an exception"_s);
        for (int i = 0; i < 6; ++i)
            QTest::ignoreMessage(QtWarningMsg, line);
        QVERIFY_EXCEPTION_THROWN((void)HOM::collect(array, throwing), std::invalid_argument);
        QVERIFY_EXCEPTION_THROWN((void)HOM::collect<int>(photos, throwing), std::invalid_argument);
        QVERIFY_EXCEPTION_THROWN((void)HOM::parallelCollect(array, throwing, 2), std::invalid_argument);
        QVERIFY(HOM::select(array, throwing).isEmpty());
    }
    // Workers' complaints reach the caller's report.
    QFReport report;
    const QFReport::Installed collecting(report);
    QTest::ignoreMessage(QtWarningMsg, "Photo does not answer 'unknown'");
    QTest::ignoreMessage(QtWarningMsg, "Photo does not answer 'unknown'");
    QVERIFY_EXCEPTION_THROWN((void)HOM::parallelCollect(array, message.capture("unknown"), 2),
                             std::invalid_argument);
    QCOMPARE(report.records().size(), 2);
}

void HigherOrderMessagingTest::selectsByTheLowByte_data()
{
    QTest::addColumn<QVariant>("answer");
    QTest::addColumn<bool>("isSelected");
    QTest::newRow("true") << QVariant(true) << true;
    QTest::newRow("false") << QVariant(false) << false;
    QTest::newRow("255") << QVariant(255) << true;
    QTest::newRow("256") << QVariant(256) << false;
    QTest::newRow("257") << QVariant(257) << true;
    QTest::newRow("-256") << QVariant(-256) << false;
    QTest::newRow("largest") << QVariant(quint64(-256)) << false;
    QTest::newRow("truncated") << QVariant(256.9) << false;
    QTest::newRow("NO") << QVariant(u"NO"_s) << false;
    QTest::newRow("YES") << QVariant(u"YES"_s) << true;
    QTest::newRow("nil") << QVariant() << false;
}

void HigherOrderMessagingTest::selectsByTheLowByte()
{
    QFETCH(QVariant, answer);
    QFETCH(bool, isSelected);
    Element element(answer);
    CVMessage message;
    const QVariantList array{QVariant::fromValue(&element)};
    QCOMPARE(HOM::select(array, message.capture("answered")), isSelected ? array : QVariantList());
}

void HigherOrderMessagingTest::outlivesWhatElementsDo()
{
    Element first(1);
    Element second(2);
    auto *third = new Element(3);
    QVariantList array{QVariant::fromValue(&first), QVariant::fromValue(&second)};
    first.array = second.array = &array;
    CVMessage message;
    QCOMPARE(HOM::collect(array, message.capture("emptying")), QVariantList({1, 1}));
    QVERIFY(array.isEmpty());
    second.next = third;
    array = {QVariant::fromValue(&second), QVariant::fromValue(QPointer<QObject>(third))};
    QCOMPARE(HOM::select(array, message.capture("deletingNext")).size(), 1);
    // An element captures with the very recorder.
    ValueOperations::add("recapture",
                         [&](int number) { return message.capture("other").isEmpty() ? 0 : number; });
    QCOMPARE(HOM::collect({1, 2}, message.capture("recapture")), QVariantList({1, 2}));
    ValueOperations::add(QMetaType::fromType<int>(), "recapture", 0, {});
}

void HigherOrderMessagingTest::replacesOnlyInTheRange()
{
    Element element(1);
    const QVariantList source(4, QVariant::fromValue(&element));
    const auto replaced = [&](NSRange range, size_t room) {
        std::vector<QVariant> slots4(room, 0);
        CVMessage message;
        HOM::mutableReplacingCollect(source, slots4, range, message.capture("answered"));
        return QVariantList(slots4.begin(), slots4.end());
    };
    QCOMPARE(replaced({1, 2}, 4), QVariantList({0, 1, 1, 0}));
    QCOMPARE(replaced({2, 0}, 4), QVariantList(4, 0));
    const QRegularExpression line(u"^A worker's range of \\d+ elements from \\d+ on goes beyond the [34]"_s);
    for (int i = 0; i < 3; ++i)
        QTest::ignoreMessage(QtWarningMsg, line);
    QCOMPARE(replaced({3, 2}, 4), QVariantList({0, 0, 0, 1}));
    QCOMPARE(replaced({0, 4294967295}, 3), QVariantList(3, 1));
    QCOMPARE(replaced({9, 1}, 4), QVariantList(4, 0));
}

void HigherOrderMessagingTest::cutsIntoRanges_data()
{
    QTest::addColumn<qsizetype>("count");
    QTest::addColumn<unsigned>("processors");
    QTest::addColumn<QList<NSRange>>("ranges");
    const auto row = [](const char *name, qsizetype count, unsigned processors,
                        const QList<NSRange> &ranges) {
        QTest::newRow(name) << count << processors << ranges;
    };
    row("even", 8, 4, {{0, 2}, {2, 2}, {4, 2}, {6, 2}});
    row("uneven", 10, 4, {{0, 3}, {3, 2}, {5, 3}, {8, 2}});
    row("none", 0, 4, {});
    row("fewer than processors", 2, 4, {{0, 1}, {1, 0}, {1, 1}, {2, 0}});
    row("no processors", 5, 0, {{0, 4294967295}});
    row("more than single precision counts", (1 << 24) + 1, 1, {{0, 1 << 24}, {1 << 24, 1}});
}

void HigherOrderMessagingTest::cutsIntoRanges()
{
    QFETCH(qsizetype, count);
    QFETCH(unsigned, processors);
    QTEST(HOM::parallelRanges(count, processors), "ranges");
}

void HigherOrderMessagingTest::collectsInParallelAsInARow()
{
    // With 12 processors, rounding leads beyond the end for about half of the counts.
    QTest::ignoreMessage(QtWarningMsg,
                         "A worker's range of 1 elements from 1 on goes beyond the 1 that there are");
    CVMessage message;
    QVariantList numbers;
    ValueOperations::add("twice", [](int number) { return 2 * number; });
    message.capture("twice");
    for (int count = 0; count < 40; ++count) {
        if (count == 2)
            QLoggingCategory::setFilterRules(u"qf.messaging=false"_s);
        for (const unsigned processors : {1U, 3U, 12U})
            QCOMPARE(HOM::parallelCollect(numbers, message, processors), HOM::collect(numbers, message));
        numbers.append(count);
    }
    QCOMPARE(HOM::parallelCollect(numbers, message, 0), HOM::collect(numbers, message));
    QCOMPARE(HOM::parallelCollect(numbers, message, 1U << 30), HOM::collect(numbers, message));
    QLoggingCategory::setFilterRules({});
}

void HigherOrderMessagingTest::workersMayWaitForTheMainThread()
{
    std::vector<std::unique_ptr<Element>> elements(9);
    QVariantList array;
    for (auto &element : elements)
        array.append(QVariant::fromValue((element = std::make_unique<Element>()).get()));
    CVMessage message;
    const QVariantList places = HOM::parallelCollect(array, message.capture("isOnMainThread"), 3);
    QCOMPARE(places.count(true), 3); // the caller's own piece
    QCOMPARE(HOM::parallelCollect(array, message.capture("asksMainThread"), 3), QVariantList(9, true));
    for (const auto &element : elements)
        QVERIFY(element->wasOnMainThread);
}

QTEST_GUILESS_MAIN(HigherOrderMessagingTest)
#include "HigherOrderMessagingTest.moc"
