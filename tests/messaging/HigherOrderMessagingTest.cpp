#include "messaging/NSArray+HOM.h"
#include "messaging/NSObject+PerformOnMainThreadHigherOrderMessaging.h"
#include "messaging/ValueOperations.h"
#include "platform/QFReport.h"
#include "tests/Rows.h"
#include "tests/messaging/Photo.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

/// Answers what it is told to, and does things to the array that it is in.
class Element : public QObject
{
    Q_OBJECT
public:
    explicit Element(const QVariant &value = {}) : answer(value) {}
    Q_INVOKABLE QVariant answered() { return answer; }
    Q_INVOKABLE QVariant emptying()
    {
        array->clear();
        return answer;
    }
    Q_INVOKABLE int deletingNext()
    {
        delete next;
        return 1;
    }
    Q_INVOKABLE bool isOnMainThread() { return MainThread::isCurrent(); }
    Q_INVOKABLE bool asksMainThread()
    {
        const CVMessage message = CVMessage().capture(&Element::noteThread);
        PerformOnMainThreadHigherOrderMessaging::performOnMainThread(this, message, true);
        return wasOnMainThread;
    }
    void noteThread() { wasOnMainThread = isOnMainThread(); }

    QVariant answer;
    QVariantList *array = nullptr;
    QPointer<Element> next;
    bool wasOnMainThread = false;
};

class HigherOrderMessagingTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void collectsInOrder()
    {
        Photo photo(u"a"_s, 10);
        Film film(u"b"_s, 20);
        CVMessage message;
        const QVariantList array{QVariant::fromValue<Photo *>(&photo), QVariant::fromValue(Frame{7}),
                                 QVariant::fromValue<Film *>(&film)};
        ValueOperations::add("scaled",
                             [](const Frame &frame, int factor, bool) { return frame.width * factor; });
        message.capture("scaled", 2, true);
        QCOMPARE(HOM::collect(array, message), QVariantList({u"a20s"_s, 14, u"film b40s"_s}));
        QCOMPARE(HOM::collect({}, message), QVariantList());
        // The same, by other roads.
        const QList<Photo *> photos{&photo, &film};
        const QList<QString> scaled{u"a20s"_s, u"film b40s"_s};
        QCOMPARE(HOM::collect<QString>(photos, message), scaled);
        QCOMPARE(HOM::collect<QVariant>(photos, message), QVariantList(scaled.begin(), scaled.end()));
        QCOMPARE(HOM::collect<QString>(photos, message.capture(&Photo::scaled, 2, true)), scaled);
        QCOMPARE(HOM::collect<QString>(QList<QObject *>{&photo, &film}, message), scaled);
        QCOMPARE(HOM::collect<double>(photos, message.capture(&Photo::size)), QList<double>({10, 20}));
        QCOMPARE(HOM::select(photos, message.capture("size")), photos);

        const QVariantList frames(2, QVariant::fromValue(Frame{7})); // which share nothing that is changed
        QCOMPARE(HOM::collect(frames, message.capture("widen", 1)), QVariantList({8, 8}));
        QCOMPARE(HOM::collect(frames, message.capture("width")), QVariantList({7, 7}));
    }

    void throwsOnlyForNilAnswers()
    {
        Photo photo(u"a"_s);
        Photo untitled;
        const QVariantList array{QVariant::fromValue<Photo *>(&photo),
                                 QVariant::fromValue<Photo *>(&untitled)};
        const QList<Photo *> photos{&photo, &untitled, nullptr};
        CVMessage message;
        for (int i = 0; i < 14; ++i)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"threw an exception"_s));
        for (const CVMessage &nil :
             {CVMessage(), message.capture("title"), message.capture(&Photo::setNumber, 1),
              message.capture("failing"), message.capture(&Photo::failing)}) {
            QVERIFY_EXCEPTION_THROWN((void)HOM::collect(array, nil), std::invalid_argument);
            QVERIFY_EXCEPTION_THROWN((void)HOM::parallelCollect(array, nil, 2), std::invalid_argument);
            QVERIFY_EXCEPTION_THROWN((void)HOM::collect<QString>(photos, nil), std::invalid_argument);
            QVERIFY_EXCEPTION_THROWN((void)HOM::collect<int>(photos, nil), std::invalid_argument);
            QCOMPARE(HOM::select(array, nil), QVariantList());
        }
        const QList<QByteArray> noBytes(2); // which is no nil
        QCOMPARE(HOM::collect<QByteArray>(photos.first(2), message.capture(&Photo::noBytes)), noBytes);

        // Workers' complaints reach the caller's report, with its place.
        QFReport report;
        const QFReport::Installed collecting(report);
        const QFReport::Place place(u"page"_s, {1, 2});
        for (int i = 0; i < 2; ++i)
            QTest::ignoreMessage(QtWarningMsg, "Photo does not answer 'unknown'");
        QVERIFY_EXCEPTION_THROWN((void)HOM::parallelCollect(array, message.capture("unknown"), 2),
                                 std::invalid_argument);
        QCOMPARE(report.records().size(), 2);
        for (const QFReportRecord &record : report.records())
            QCOMPARE(record.page, u"page"_s);
    }

    void selectsByTheLowByte_data()
    {
        const Rows<QVariant, bool> row({"answer", "isSelected"});
        row("true", true, true);
        row("255", 255, true);
        row("256", 256, false);
        row("-256", -256, false);
        row("largest", quint64(-256), false);
        row("truncated", 256.9, false);
        row("NO", u"NO"_s, false);
        row("YES", u"YES"_s, true);
        row("nil", QVariant(), false);
    }

    void selectsByTheLowByte()
    {
        QFETCH(QVariant, answer);
        Element element(answer);
        CVMessage message;
        const QVariantList array{QVariant::fromValue(&element)};
        const QVariantList selected = HOM::select(array, message.capture("answered"));
        QTEST(selected == array, "isSelected");
    }

    void outlivesWhatElementsDo()
    {
        Element element(1);
        QVariantList array(2, QVariant::fromValue(&element));
        element.array = &array;
        CVMessage message;
        QCOMPARE(HOM::collect(array, message.capture("emptying")), QVariantList({1, 1}));
        QVERIFY(array.isEmpty());
        element.next = new Element;
        array = {QVariant::fromValue(&element), QVariant::fromValue(element.next)};
        QCOMPARE(HOM::select(array, message.capture("deletingNext")).size(), 1);
        // An element captures with the very recorder.
        ValueOperations::add("recapture",
                             [&](int number) { return message.capture("other").isEmpty() ? 0 : number; });
        QCOMPARE(HOM::collect({1, 2}, message.capture("recapture")), QVariantList({1, 2}));
        ValueOperations::add(QMetaType::fromType<int>(), "recapture", 0, {});
    }

    void replacesOnlyInTheRange()
    {
        ValueOperations::add("twice", [](int number) { return 2 * number; });
        const auto replaced = [](NSRange range, qsizetype room) {
            QVariantList vector(room, 0);
            HOM::mutableReplacingCollect({1, 2, 3, 4}, {vector.data(), size_t(room)}, range,
                                         CVMessage().capture("twice"));
            return vector;
        };
        QCOMPARE(replaced({1, 2}, 4), QVariantList({0, 4, 6, 0}));
        QCOMPARE(replaced({2, 0}, 4), QVariantList(4, 0));
        for (int i = 0; i < 3; ++i)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"range of .* beyond the [34]"_s));
        QCOMPARE(replaced({3, 2}, 4), QVariantList({0, 0, 0, 8}));
        QCOMPARE(replaced({0, 4294967295}, 3), QVariantList({2, 4, 6}));
        QCOMPARE(replaced({9, 1}, 4), QVariantList(4, 0));
    }

    void cutsIntoRanges_data()
    {
        const Rows<qsizetype, unsigned, QList<NSRange>> row({"count", "processors", "ranges"});
        row("even", 8, 4, {{0, 2}, {2, 2}, {4, 2}, {6, 2}});
        row("uneven", 10, 4, {{0, 3}, {3, 2}, {5, 3}, {8, 2}});
        row("none", 0, 4, {});
        row("fewer than processors", 2, 4, {{0, 1}, {1, 0}, {1, 1}, {2, 0}});
        row("no processors", 5, 0, {{0, 4294967295}});
        row("more than single precision counts", (1 << 24) + 1, 1, {{0, 1 << 24}, {1 << 24, 1}});
    }

    void cutsIntoRanges()
    {
        QFETCH(qsizetype, count);
        QFETCH(unsigned, processors);
        QTEST(HOM::parallelRanges(count, processors), "ranges");
    }

    void collectsInParallelAsInARow()
    {
        CVMessage message;
        ValueOperations::add("twice", [](int number) { return 2 * number; });
        message.capture("twice");
        // With 12 processors, rounding leads beyond the end for about half of the counts.
        QTest::ignoreMessage(QtWarningMsg,
                             "A worker's range of 1 elements from 1 on goes beyond the 1 that there are");
        QCOMPARE(HOM::parallelCollect({21}, message, 12), QVariantList{42});
        QLoggingCategory::setFilterRules(u"qf.messaging=false"_s);
        QVariantList numbers;
        for (int count = 0; count < 40; ++count) {
            for (const unsigned processors : {0U, 1U, 3U, 12U, 1U << 30})
                QCOMPARE(HOM::parallelCollect(numbers, message, processors), HOM::collect(numbers, message));
            numbers.append(count);
        }
        QLoggingCategory::setFilterRules({});
    }

    void workersMayWaitForTheMainThread()
    {
        std::array<Element, 9> elements;
        QVariantList array;
        for (Element &element : elements)
            array.append(QVariant::fromValue(&element));
        CVMessage message;
        const QVariantList places = HOM::parallelCollect(array, message.capture("isOnMainThread"), 3);
        QCOMPARE(places.count(true), 3); // the caller's own piece
        QCOMPARE(HOM::parallelCollect(array, message.capture("asksMainThread"), 3), QVariantList(9, true));
    }
};

QTEST_GUILESS_MAIN(HigherOrderMessagingTest)
#include "HigherOrderMessagingTest.moc"
