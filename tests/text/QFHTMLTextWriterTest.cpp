#include "text/QFHTMLTextWriter.h"
#include "text/QFStrings.h"

#include "tests/text/TextTestData.h"

#include <QTest>

using namespace Qt::StringLiterals;

class QFHTMLTextWriterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void breaksLinesAsOverTheWhole();
    void leavesVerbatimUnitsAlone();
    void startsAgainAfterTake();
};

void QFHTMLTextWriterTest::breaksLinesAsOverTheWhole()
{
    QRandomGenerator random(1999);
    for (int round = 0; round < 400; ++round) {
        QFHTMLTextWriter writer;
        QString expected;
        for (int piece = 0; piece < 30; ++piece) {
            const bool isText = random.bounded(2) == 0;
            const qsizetype length = random.bounded(round % 2 == 0 ? 4 : 60);
            const QString text = randomText(random, u"\r\n\r\n\u00E9<abc", length);
            if (isText)
                writer.appendText(text);
            else
                writer.appendMarkup(text);
            expected += isText ? QFStringUtilities::convertToEntities(text) : text;
            if (random.bounded(5) == 0) {
                writer.appendLiteral(u"</p>");
                expected += u"</p>"_s;
            }
        }
        expected.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n').replace(u"\n"_s, u"<br />"_s);
        QCOMPARE(writer.view(), expected);
        QCOMPARE(writer.take(), expected);
    }
}

void QFHTMLTextWriterTest::leavesVerbatimUnitsAlone()
{
    QFHTMLTextWriter writer;
    writer.appendText(u"a\r");
    writer.appendVerbatim({});
    writer.appendMarkup({});
    writer.appendText(u"\nb\r");
    writer.appendVerbatim(u"\n</div>\r");
    writer.appendText(u"\n");
    QCOMPARE(writer.take(), u"a<br />b<br />\n</div>\r<br />"_s);
}

void QFHTMLTextWriterTest::startsAgainAfterTake()
{
    QFHTMLTextWriter writer(10);
    writer.appendText(QString(5000, QChar(u'\u03D1')) + u'\r');
    const QString first = writer.take();
    QCOMPARE(first.size(), 50006);
    writer.appendText(u"\n");
    QCOMPARE(writer.take(), u"<br />"_s);
    QCOMPARE(writer.take(), QString());
    QVERIFY(first.endsWith(u"&thetasym;<br />"));
}

QTEST_APPLESS_MAIN(QFHTMLTextWriterTest)
#include "QFHTMLTextWriterTest.moc"
