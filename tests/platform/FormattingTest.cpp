#include "platform/Formatting.h"

#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

class FormattingTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void formats()
    {
        // Arguments are not read as formats.
        QCOMPARE(formatted(u"%@_%d.%@", {u"%1%@"_s, 7, u"%d"_s}), u"%1%@_7.%d"_s);
        QCOMPARE(formatted(u"<%@>", {QString()}), u"<(null)>"_s);
        QCOMPARE(formatted(u"<%@>", {u""_s}), u"<>"_s);
        QCOMPARE(formatted(u"%@ %d", {}), u"(null) 0"_s);
        QCOMPARE(formatted(u"%f", {100.0 / 3}), u"33.333333"_s);
        QCOMPARE(formatted(u"#%02x%02X", {7, 171}), u"#07AB"_s);
        QCOMPARE(formatted(u"&#%-hu;%lld", {233, -5}), u"&#233;-5"_s);
        QCOMPARE(formatted(u"%%%@%%", {u"content"_s}), u"%content%"_s);
        QCOMPARE(formatted(u"a%", {1}), u"a%"_s);
        QCOMPARE(formatted(u"%d", {std::numeric_limits<double>::infinity()}), u"0"_s);
    }
};

QTEST_APPLESS_MAIN(FormattingTest)
#include "FormattingTest.moc"
