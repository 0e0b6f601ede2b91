#include "text/QFCharacterConverter.h"
#include "text/QFStrings.h"

#include "tests/text/TextTestData.h"

#include <QTest>

using namespace Qt::StringLiterals;

class QFCharacterConverterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shipsTheNamesOfHTML4();
    void keepsTagsWhenAsked();
    void encodesLikeUnitByUnit();
    void appendsBehindWhatIsThere();
};

void QFCharacterConverterTest::shipsTheNamesOfHTML4()
{
    const auto &table = QFCharacterConverter::mappingTable();
    QCOMPARE(table.size(), size_t(252));
    QCOMPARE(table.at(160), std::string("nbsp"));
    QCOMPARE(table.at(8364), std::string("euro"));
    QCOMPARE(table.at(9001), std::string("lang"));
    QCOMPARE(table.at(9002), std::string("rang"));
    QCOMPARE(table.at(9830), std::string("diams"));
    QVERIFY(!table.contains(39));
}

void QFCharacterConverterTest::keepsTagsWhenAsked()
{
    const QString text = u"<b>\u00E9 & \"x\"'</b>"_s;
    QCOMPARE(QFStringUtilities::convertToEntities(text), u"<b>&eacute; & \"x\"'</b>"_s);
    QCOMPARE(QFCharacterConverter::encodeUnicodeForHTML(text, false),
             u"&lt;b&gt;&eacute; &amp; &quot;x&quot;'&lt;/b&gt;"_s);
    // The pair and the lone half have no entry, each unit looked up on its own.
    QCOMPARE(QFStringUtilities::convertToEntities(u"\U0001F600\xD800\0"_s), u"\U0001F600\xD800\0"_s);
}

void QFCharacterConverterTest::encodesLikeUnitByUnit()
{
    const auto &table = QFCharacterConverter::mappingTable();
    QRandomGenerator random(7);
    for (const QString &alphabet :
         {u"\u00E9\u03D1\u2666\uFFFF\u0416ab<"_s, u"abcdefghijklmnopqr\u00FC&\n"_s}) {
        for (const qsizetype length : lengthsAroundBlocks()) {
            const QString text = randomText(random, alphabet, length);
            for (const bool skipTags : {true, false}) {
                QString expected;
                for (const QChar unit : text) {
                    const auto name = table.find(unit.unicode());
                    const bool kept = skipTags && QStringView(u"<>&\"").contains(unit);
                    expected += name == table.end() || kept
                                    ? QString(unit)
                                    : u'&' + QString::fromStdString(name->second) + u';';
                }
                QCOMPARE(QFCharacterConverter::encodeUnicodeForHTML(text, skipTags), expected);
            }
        }
    }
}

void QFCharacterConverterTest::appendsBehindWhatIsThere()
{
    QString output = u"before "_s;
    const QString shared = output;
    QFCharacterConverter::appendEncoded(output, u"\u00FC", true);
    QFCharacterConverter::appendEncoded(output, {}, true);
    QCOMPARE(output, u"before &uuml;"_s);
    QCOMPARE(shared, u"before "_s);
}

QTEST_APPLESS_MAIN(QFCharacterConverterTest)
#include "QFCharacterConverterTest.moc"
