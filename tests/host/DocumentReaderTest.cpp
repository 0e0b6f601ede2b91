#include "host/DocumentReader.h"

#include "export/NSAttributedString+QFTextViewExtensions.h"
#include "tests/Rows.h"

#include <QTemporaryDir>

using namespace Qt::StringLiterals;

class DocumentReaderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void goesByContent_data();
    void goesByContent();
    void readsArchives();
    void saysWhichFileFailed();
};

void DocumentReaderTest::goesByContent_data()
{
    const Rows<QByteArray, DocumentReader::Format> row({"bytes", "format"});
    using enum DocumentReader::Format;
    row("nothing", "", Markdown);
    row("binary archive", "bplist00xyz", Archive);
    row("XML archive", "<?xml version='1.0'?>\n<!DOCTYPE plist PUBLIC 'x'>\n<plist>", Archive);
    row("JSON", "\xEF\xBB\xBF {\n \"runs\": []}", StyledTextJSON);
    row("brace in prose", "{hello} *world*", Markdown);
    row("declared HTML", " <!-- c --> <!DOCTYPE HTML>\n", HTML);
    row("XHTML", "<?xml version='1.0'?><html xmlns='x'>", HTML);
    row("HTML fragment", "<p>a</p>\n", HTML);
    row("Markdown that starts with a tag", "<p align=center>x</p>\n\n# Title\n", Markdown);
    row("tag-like word", "<heading that is none", Markdown);
    row("autolink", "<http://a.b> is a link", Markdown);
    row("UTF-16 HTML", QByteArray("\xFF\xFE<\0h\0t\0m\0l\0>\0", 14), HTML);
    row("UTF-16 text", QByteArray("\xFF\xFEh\0i\0", 6), Markdown);
    row("picture", QByteArray("\x89PNG\r\n\x1A\n\0\0\0\rIHDR", 16), Binary);
}

void DocumentReaderTest::goesByContent()
{
    QFETCH(QByteArray, bytes);
    QTEST(DocumentReader::formatOf(bytes), "format");
}

void DocumentReaderTest::readsArchives()
{
    const NSAttributedString text(u"some text"_s, {{NSToolTipAttributeName, u"tip"_s}});
    const DocumentResult result =
        DocumentReader::readBytes(QFTextViewExtensions::createArchiveFromSelection(text, {0, 9}), {});
    QVERIFY2(result.isValid(), qPrintable(result.error));
    QVERIFY(result.text == text);
}

void DocumentReaderTest::saysWhichFileFailed()
{
    const QTemporaryDir folder;
    QCOMPARE(DocumentReader::read(folder.path()).error, folder.path() + u": is a folder"_s);
    const QString missing = folder.filePath(u"none.json"_s);
    QVERIFY(DocumentReader::read(missing).error.startsWith(missing + u": "_s));
}

QTEST_APPLESS_MAIN(DocumentReaderTest)
#include "DocumentReaderTest.moc"
