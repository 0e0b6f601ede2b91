#include "platform/Formatting.h"

#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

class FormattingTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void formats_data()
    {
        QTest::addColumn<QString>("result");
        QTest::addColumn<QString>("expected");
        QTest::newRow("arguments are not read as formats")
            << formatted(u"%@_%d.%@", {u"%1%@"_s, 7, u"%d"_s}) << u"%1%@_7.%d"_s;
        QTest::newRow("nil") << formatted(u"<%@>", {QString()}) << u"<(null)>"_s;
        QTest::newRow("empty is no nil") << formatted(u"<%@>", {u""_s}) << u"<>"_s;
        QTest::newRow("missing argument") << formatted(u"%@ %d", {}) << u"(null) 0"_s;
        QTest::newRow("float") << formatted(u"%f", {100.0 / 3}) << u"33.333333"_s;
        QTest::newRow("hexadecimal, padded") << formatted(u"#%02x%02X", {7, 171}) << u"#07AB"_s;
        QTest::newRow("length letters") << formatted(u"&#%-hu;%lld", {233, -5}) << u"&#233;-5"_s;
        QTest::newRow("percent signs") << formatted(u"%%%@%%", {u"content"_s}) << u"%content%"_s;
        QTest::newRow("truncated format") << formatted(u"a%", {1}) << u"a%"_s;
        QTest::newRow("not finite as integer")
            << formatted(u"%d", {std::numeric_limits<double>::infinity()}) << u"0"_s;
    }
    void formats()
    {
        QFETCH(QString, result);
        QFETCH(QString, expected);
        QCOMPARE(result, expected);
    }
};

QTEST_APPLESS_MAIN(FormattingTest)
#include "FormattingTest.moc"
