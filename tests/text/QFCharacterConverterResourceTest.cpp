#include "platform/NSBundle.h"
#include "tests/Files.h"
#include "text/QFCharacterConverter.h"
#include "text/QFHTMLTextWriter.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// The table is kept once it has an entry, so the steps build on each other, in one process of their own.
class QFCharacterConverterResourceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { NSBundle::libraryBundle().setResourcePath(_folder.path()); }
    void copiesEverythingWithoutAResource();
    void copiesEverythingWhenTheResourceIsAFolder();
    void keepsTheRecordsBeforeABrokenOne();

private:
    [[nodiscard]] QString resource() const { return _folder.filePath(u"HTMLEncodings.strings"_s); }

    QTemporaryDir _folder;
};

void QFCharacterConverterResourceTest::copiesEverythingWithoutAResource()
{
    QVERIFY(QFCharacterConverter::mappingTable().empty());
    QCOMPARE(QFCharacterConverter::encodeUnicodeForHTML(u"\u00E9<\uFFFF"_s, false), u"\u00E9<\uFFFF"_s);
}

void QFCharacterConverterResourceTest::copiesEverythingWhenTheResourceIsAFolder()
{
    QVERIFY(QDir().mkdir(resource()));
    QVERIFY(QFCharacterConverter::mappingTable().empty());
    QVERIFY(QDir().rmdir(resource()));
    // A record without white space behind its end is none, even as the only one.
    QVERIFY(write(resource(), "eacute = 233 ;"));
    QVERIFY(QFCharacterConverter::mappingTable().empty());
}

void QFCharacterConverterResourceTest::keepsTheRecordsBeforeABrokenOne()
{
    QVERIFY(write(resource(),
                  "apos = 39 ;\nlt = 60 ;\n cr\t=\n13 ; first = 101 ; e = 101 ; astral = 128512 ;\n"
                  "areferencethatislongerthanashortone = 65535 ;\nbroken = x ;\neacute = 233 ;\n"));
    QCOMPARE(QFCharacterConverter::mappingTable().size(), size_t(6));
    // An apostrophe is no tag, the later record counts, and what lies behind the broken one is lost.
    QCOMPARE(QFCharacterConverter::encodeUnicodeForHTML(u"'<e\u00E9\uFFFF"_s, true),
             u"&apos;<&e;\u00E9&areferencethatislongerthanashortone;"_s);
    QCOMPARE(QFCharacterConverter::encodeUnicodeForHTML(QString(1000, u'\uFFFF'), true).size(), 37000);

    // A carriage return that has a name is no line break, nor swallows the line feed behind it.
    QFHTMLTextWriter writer;
    writer.appendText(u"\r\n\r");
    writer.appendText(u"\n");
    writer.appendMarkup(u"\r\n");
    QCOMPARE(writer.take(), u"&cr;<br />&cr;<br /><br />"_s);

    QVERIFY(QFile::remove(resource()));
    QCOMPARE(QFCharacterConverter::mappingTable().size(), size_t(6));
}

QTEST_APPLESS_MAIN(QFCharacterConverterResourceTest)
#include "QFCharacterConverterResourceTest.moc"
