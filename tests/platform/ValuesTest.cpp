#include "platform/Values.h"
#include "platform/NSColor.h"
#include "platform/NSTextAttachment.h"
#include "tests/Rows.h"

#include <QPointer>
#include <QUrl>

#include <cmath>

using namespace Qt::StringLiterals;

class ValuesTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void comparesWithinFamilies_data()
    {
        const Rows<QVariant, QVariant, bool> row({"a", "b", "same"});
        const auto attachment = std::make_shared<NSTextAttachment>();
        const auto another = std::make_shared<NSTextAttachment>();
        row("number and its text", 1, u"1"_s, false);
        row("true and one", true, 1, true);
        row("integer and float", 3, 3.0, true);
        row("float of either width", QVariant(0.1F), QVariant(0.1), false);
        row("beyond exact doubles", Q_INT64_C(9007199254740993), 9007199254740992.0, false);
        row("unsigned and negative", QVariant(~quint64(0)), -1, false);
        row("not a number", std::nan(""), std::nan(""), true);
        row("nil and empty", QString(), u""_s, false);
        row("two nils", QVariant(), QString(), true);
        row("bytes and text", QByteArray("a"), u"a"_s, false);
        row("URL and text", QUrl(u"a"_s), u"a"_s, false);
        row("nested", QVariantList{QVariantMap{{u"k"_s, 1}}}, QVariantList{QVariantMap{{u"k"_s, 1.0}}}, true);
        row("nested, other key", QVariantMap{{u"k"_s, 1}}, QVariantMap{{u"l"_s, 1}}, false);
        row("same object", QVariant::fromValue(attachment), QVariant::fromValue(attachment), true);
        row("equal objects", QVariant::fromValue(attachment), QVariant::fromValue(another), false);
        row("object held weakly", QVariant::fromValue<QObject *>(this),
            QVariant::fromValue(QPointer<QObject>(this)), true);
        row("equal colours", QVariant::fromValue(NSColor::blackColor()),
            QVariant::fromValue(NSColor::blackColor()), true);
    }
    void comparesWithinFamilies()
    {
        QFETCH(QVariant, a);
        QFETCH(QVariant, b);
        QFETCH(bool, same);
        QCOMPARE(sameValue(a, b), same);
        QCOMPARE(sameValue(b, a), same);
    }
    void endsAtDepth()
    {
        QVariant deep = 1;
        for (int i = 0; i < 100000; ++i)
            deep = QVariantList{deep};
        QVERIFY(!sameValue(deep, QVariantList{deep}));
        // Taken apart level by level: the destructor of the whole would recurse as deep.
        while (deep.typeId() == QMetaType::QVariantList) {
            QVariantList level = deep.toList();
            deep.clear();
            deep = level.takeFirst();
        }
    }
    void findsNil()
    {
        QVERIFY(isNil(QVariant()));
        QVERIFY(isNil(QString()));
        QVERIFY(isNil(QVariant::fromValue<QObject *>(nullptr)));
        QVERIFY(isNil(QVariant::fromValue(NSTextAttachmentPtr())));
        QVERIFY(!isNil(QVariant::fromValue(std::make_shared<NSTextAttachment>())));
        QVERIFY(!isNil(u""_s));
        QVERIFY(isNil(QVariant::fromValue(QPointer<QObject>())));
        QCOMPARE(objectValue(QVariant::fromValue(QPointer<ValuesTest>(this))), this);
        QVERIFY(!sameString({}, {}));
    }
    void reads_data()
    {
        const Rows<QVariant, bool, qint64, double> row({"value", "truth", "integer", "number"});
        row("NO", u"NO"_s, false, 0, 0);
        row("yes", u" yes"_s, true, 0, 0);
        row("zeros, then a digit", u"007"_s, true, 7, 7);
        row("truncates", 3.9, true, 3, 3.9);
        row("truncates below zero", -3.9, true, -3, -3.9);
        row("text with a tail", u" -12.5e1px"_s, true, -12, -125);
        row("half of one", 0.5, true, 0, 0.5);
        row("huge", 1e300, true, std::numeric_limits<qint64>::max(), 1e300);
        row("array", QVariantList{1}, false, 0, 0);
    }
    void reads()
    {
        QFETCH(QVariant, value);
        QTEST(boolValue(value), "truth");
        QTEST(intValue(value), "integer");
        QTEST(doubleValue(value), "number");
    }
};

QTEST_APPLESS_MAIN(ValuesTest)
#include "ValuesTest.moc"
