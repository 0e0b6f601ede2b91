#include "export/CVHTML.h"
#include "export/CVHTMLMedia.h"
#include "media/QFTextAttachment.h"
#include "platform/QFReport.h"
#include "tests/export/Styled.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

NSTextAttachmentPtr attached(const char16_t *name, const QByteArray &bytes, const QVariantMap &media = {})
{
    const NSFileWrapperPtr file = NSFileWrapper::regularFileWithContents(bytes);
    file->setPreferredFilename(QString::fromUtf16(name));
    return std::make_shared<QFTextAttachment>(file, media);
}

StyledPiece piece(const NSTextAttachmentPtr &attachment)
{
    return {u"\uFFFC", {{NSAttachmentAttributeName, QVariant::fromValue(attachment)}}};
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class CVHTMLAttachmentsTest : public QObject
{
    Q_OBJECT

    QTemporaryDir _folder;

    QString exported(const NSAttributedString &text) const
    {
        return CVHTML().exportAttributedString(text, _folder.path(), u"pic"_s);
    }

private Q_SLOTS:
    void writesAndLinksFiles()
    {
        const NSAttributedString text = styled({piece(attached(u"My \"Notes\" é.PDF", "one")),
                                                piece(attached(u"README", "two")),
                                                {u"\t-\t", {listed({u"disc"})}}});
        QCOMPARE(exported(text), u"<a href=\"files/pic_1.pdf\">My \"Notes\" &eacute;</a>"
                                 "<a href=\"files/pic_2.\">README</a><ul class=\"disc\"><li></li></ul>"_s);
        QCOMPARE(contents(_folder.filePath(u"pic_1.pdf"_s)), "one");
        QCOMPARE(contents(_folder.filePath(u"pic_2."_s)), "two");
    }
    void countsAnewInEachListItem()
    {
        NSMutableAttributedString text;
        for (const char *bytes : {"first", "second"}) {
            NSMutableAttributedString line(u"\t-\t\uFFFC\n"_s, NSAttributeDictionary{listed({u"disc"})});
            line.addAttribute(NSAttachmentAttributeName, QVariant::fromValue(attached(u"a.zip", bytes)),
                              {3, 1});
            text.append(line);
        }
        QFReport report;
        const QFReport::Installed installed(report);
        QCOMPARE(exported(text.copy()).count(u"files/pic_1.zip"_s), 2);
        QCOMPARE(contents(_folder.filePath(u"pic_1.zip"_s)), "second");
        QCOMPARE(report.records().size(), 1);
        QCOMPARE(report.records().constFirst().kind, u"file-written-twice"_s);
    }
    void keepsStoredNamesInsideTheFolder()
    {
        const QString outside = QDir(_folder.path()).filePath(u"../escaped.zip"_s);
        const NSAttributedString text =
            styled({piece(attached(u"a.zip", "1", {{u"filename"_s, u"../escaped.zip"_s}})),
                    piece(attached(u"b.zip", "2", {{u"filename"_s, u".."_s}})),
                    piece(attached(u"c.zip", "3", {{u"filename"_s, u"plain"_s}}))});
        QCOMPARE(exported(text), u"<a href=\"files/escaped.zip\">a</a><a href=\"files/pic_2.zip\">b</a>"
                                 "<a href=\"files/plain\">c</a>"_s);
        QVERIFY(!QFile::exists(outside));
    }
    void goesOnAfterAFailure()
    {
        QVERIFY(QDir(_folder.path()).mkdir(u"pic_1.txt"_s));
        const QString path = _folder.filePath(u"pic_1.txt"_s);
        QTest::ignoreMessage(QtWarningMsg, qPrintable(u"Failed to write attachment to "_s + path));
        const NSAttributedString text =
            styled({piece(attached(u"a.txt", "1")), piece(attached(u"b.txt", "2"))});
        QCOMPARE(exported(text), u"<a href=\"files/pic_2.txt\">b</a>"_s);
        QVERIFY(QDir(path).exists());
    }
    void tellsKindsByExtension()
    {
        using namespace CVHTMLMedia;
        QVERIFY(isImageFile(u"TIFF"_s) && isImageFile(u"Jpeg"_s) && isMovieFile(u"MPG"_s));
        QVERIFY(!isImageFile(u"webp"_s) && !isImageFile(QString()) && !isMusicFile(u"mp3"_s));
        QVERIFY(isConvertibleToJPEG(u"psd"_s) && !isConvertibleToJPEG(u"PSD"_s));
        QCOMPARE(imageExtensionFromQTFormat(imageQTFormatFromExtension(u"PSD"_s)), u"jpg"_s);
        QCOMPARE(imageExtensionFromQTFormat(imageQTFormatFromExtension(u"pdf"_s)), u""_s);
    }
    void showsPictures()
    {
        const QString path = _folder.filePath(u"source.png"_s);
        QVERIFY(QImage(40, 30, QImage::Format_RGB32).save(path));
        const QByteArray png = contents(path);
        const NSAttributedString text =
            styled({piece(attached(u"Tree.PNG", png)),
                    piece(attached(u"x.png", png, {{u"alttag"_s, u"A \"tree\""_s}, {u"width"_s, 20.9F}})),
                    piece(attached(u"broken.png", "no picture")),
                    piece(attached(u"named.PNG", png, {{u"filename"_s, u"tree"_s}})),
                    piece(attached(u"no.png", png, {{u"filename"_s, u"tree.zip"_s}}))});
        QCOMPARE(
            exported(text),
            u"<img class=\"imageStyle\" alt=\"Tree\" src=\"files/pic_1.png\" width=\"40\" height=\"30\"/>"
            "<img class=\"imageStyle\" alt=\"A \"tree\"\" src=\"files/pic_2.png\" width=\"20\" "
            "height=\"30\"/>"
            "<img class=\"imageStyle\" alt=\"broken\" src=\"files/pic_3.png\"/>"
            "<img class=\"imageStyle\" alt=\"named\" src=\"files/tree\" width=\"40\" height=\"30\"/>"
            "<a href=\"files/tree.zip\">no</a>"_s);
    }
};

QTEST_GUILESS_MAIN(CVHTMLAttachmentsTest)
#include "CVHTMLAttachmentsTest.moc"
