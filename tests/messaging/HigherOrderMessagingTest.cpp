#include "messaging/NSArray+HOM.h"
#include "messaging/ValueOperations.h"
#include "platform/MainThread.h"
#include "platform/QFReport.h"
#include "tests/messaging/Photo.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

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
        const QList<Photo *> photos{&photo, &untitled};
        const QVariantList array{QVariant::fromValue(photos[0]), QVariant::fromValue(photos[1])};
        CVMessage message;
        for (int i = 0; i < 12; ++i)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"threw an exception"_s));
        for (const CVMessage &nil :
             {CVMessage(), message.capture("title"), message.capture(&Photo::setNumber, 1),
              message.capture("failing"), message.capture(&Photo::failing)}) {
            QVERIFY_EXCEPTION_THROWN((void)HOM::collect(array, nil), std::invalid_argument);
            QVERIFY_EXCEPTION_THROWN((void)HOM::parallelCollect(array, nil, 2), std::invalid_argument);
            QVERIFY_EXCEPTION_THROWN((void)HOM::collect<QString>(photos, nil), std::invalid_argument);
            QCOMPARE(HOM::select(array, nil), QVariantList());
        }
        QVERIFY_EXCEPTION_THROWN((void)HOM::collect<int>(QList<Photo *>{nullptr}, message.capture("size")),
                                 std::invalid_argument);
        const QList<QByteArray> noBytes(2); // which is no nil
        QCOMPARE(HOM::collect<QByteArray>(photos, message.capture(&Photo::noBytes)), noBytes);

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

    void selectsByTheLowByte()
    {
        ValueOperations::add("self", [](bool value) { return value; });
        ValueOperations::add("self", [](int value) { return value; });
        ValueOperations::add("self", [](quint64 value) { return value; });
        ValueOperations::add("self", [](double value) { return value; });
        ValueOperations::add("self", [](const QString &value) { return value; });
        const QVariantList values{true, false,         0,     1,     255,     256,      -1,
                                  -256, quint64(-256), 256.9, 257.0, u"NO"_s, u"YES"_s, QVariant()};
        QCOMPARE(HOM::select(values, CVMessage().capture("self")),
                 QVariantList({true, 1, 255, -1, 257.0, u"YES"_s}));
    }

    void outlivesWhatElementsDo()
    {
        QVariantList array{1, 2};
        CVMessage message;
        const auto collected = [&](int number) {
            array.clear();
            message.capture("other");
            return number;
        };
        ValueOperations::add("emptying", collected);
        QCOMPARE(HOM::collect(array, message.capture("emptying")), QVariantList({1, 2}));
        ValueOperations::add(QMetaType::fromType<int>(), "emptying", 0, {});
        Photo photo;
        photo.next = new Photo;
        array = {QVariant::fromValue<Photo *>(&photo), QVariant::fromValue(photo.next)};
        QCOMPARE(HOM::select(array, message.capture("deletesNext")).size(), 1);
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

    void cutsIntoRanges()
    {
        using Ranges = QList<NSRange>;
        QCOMPARE(HOM::parallelRanges(8, 4), Ranges({{0, 2}, {2, 2}, {4, 2}, {6, 2}}));
        QCOMPARE(HOM::parallelRanges(10, 4), Ranges({{0, 3}, {3, 2}, {5, 3}, {8, 2}}));
        QCOMPARE(HOM::parallelRanges(2, 4), Ranges({{0, 1}, {1, 0}, {1, 1}, {2, 0}}));
        QCOMPARE(HOM::parallelRanges(5, 0), Ranges({{0, 4294967295}}));
        QCOMPARE(HOM::parallelRanges(0, 4), Ranges());
        constexpr qsizetype large = 1 << 24; // single precision does not count on from here
        QCOMPARE(HOM::parallelRanges(large + 1, 1), Ranges({{0, large}, {large, 1}}));
    }

    void collectsInParallelAsInARow()
    {
        ValueOperations::add("twice", [](int number) { return 2 * number; });
        const CVMessage message = CVMessage().capture("twice");
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
        ValueOperations::add("isMain", [](int) { return MainThread::isCurrent(); });
        ValueOperations::add("asksMain", [](int) {
            bool isMain = false;
            return MainThread::runAndWait([&] { isMain = MainThread::isCurrent(); }) && isMain;
        });
        const QVariantList array(9, 1);
        const QVariantList places = HOM::parallelCollect(array, CVMessage().capture("isMain"), 3);
        QCOMPARE(places.count(true), 3); // the caller's own piece
        QCOMPARE(HOM::parallelCollect(array, CVMessage().capture("asksMain"), 3), QVariantList(9, true));
    }
};

QTEST_GUILESS_MAIN(HigherOrderMessagingTest)
#include "HigherOrderMessagingTest.moc"
