#include "export/CVHTML.h"
#include "export/CVHTMLMedia.h"
#include "media/QFTextAttachment.h"
#include "platform/QFReport.h"
#include "tests/Files.h"
#include "tests/Rows.h"
#include "tests/export/Styled.h"
#include "tests/media/MovieMaker.h"
#include "tests/media/Pictures.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QTemporaryDir>

#include <csignal>

#include <sys/resource.h>

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

QFTextAttachmentPtr ours(const NSTextAttachmentPtr &attachment)
{
    return std::static_pointer_cast<QFTextAttachment>(attachment);
}

const QVariantMap kHalf{{u"lockratios"_s, true}, {u"scale"_s, 0.5F}};

} // namespace

class CVHTMLAttachmentsTest : public QObject
{
    Q_OBJECT

    QTemporaryDir _folder;

    QString exported(const NSAttributedString &text) const
    {
        return CVHTML().exportAttributedString(text, _folder.path(), u"pic"_s);
    }

    /// One attachment, in a fresh folder of its own.
    struct Outcome
    {
        QString markup;
        qint64 nextNumber = 1;
        std::unique_ptr<QTemporaryDir> folder = std::make_unique<QTemporaryDir>();

        [[nodiscard]] QString path(const QString &name) const { return folder->filePath(name); }
        [[nodiscard]] QImage image(const QString &name) const
        {
            QImageReader reader(path(name));
            reader.setDecideFormatFromContent(true);
            return reader.read().convertToFormat(QImage::Format_RGB32);
        }
        [[nodiscard]] QByteArray format(const QString &name) const
        {
            return QImageReader::imageFormat(path(name));
        }
    };
    static void process(Outcome &outcome, const NSTextAttachmentPtr &attachment,
                        qint32 format = CVHTMLMedia::kNoFormat, const QString &prefix = u"pic"_s)
    {
        CVHTML().processAttachment(attachment, prefix, outcome.nextNumber, outcome.folder->path(), u"files"_s,
                                   format, CVHTMLMedia::kHighQuality, outcome.markup);
    }
    static Outcome processed(const NSTextAttachmentPtr &attachment, qint32 format = CVHTMLMedia::kNoFormat)
    {
        Outcome outcome;
        process(outcome, attachment, format);
        return outcome;
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
    void encodesWhatBrowsersCannotShow()
    {
        const Outcome tiff = processed(attached(u"Photo.TIFF", fileOf(pictureOf(40, 30), "TIFF")));
        QCOMPARE(tiff.markup, u"<img class=\"imageStyle\" alt=\"Photo\" src=\"files/pic_1.jpg\" "
                              "width=\"40\" height=\"30\"/>"_s);
        QCOMPARE(tiff.format(u"pic_1.jpg"_s), "jpeg");
        QVERIFY(!QFile::exists(tiff.path(u"pic_1.tiff"_s)));
        // A stored name is an image's in any case of letters, but made a JPEG's in lower case only.
        const Outcome stored =
            processed(attached(u"a.tiff", fileOf(pictureOf(40, 30), "TIFF"),
                               {{u"filename"_s, u"scan.TIFF"_s}, {u"lockratios"_s, true}}));
        QCOMPARE(stored.format(u"scan.TIFF"_s), "tiff");
    }
    void encodesWhatIsTransformed_data()
    {
        const Rows<QVariantMap, QSize, QString> row({"attributes", "size", "markupSize"});
        const QVariantMap locked{{u"lockratios"_s, true}};
        const auto with = [&](const QVariantMap &more) {
            QVariantMap map = locked;
            map.insert(more);
            return map;
        };
        const QString own = u"width=\"40\" height=\"30\""_s;
        row("in its own size", locked, {}, own);
        row("scaled", kHalf, {20, 15}, u"width=\"20\" height=\"15\""_s);
        // What the attributes say about the size stands in the markup, whatever the file's size.
        row("scaled, with sizes", with({{u"scale"_s, 0.5F}, {u"width"_s, 9.9F}}), {20, 15},
            u"width=\"9\" height=\"15\""_s);
        row("turned, with sizes", with({{u"rotation"_s, 90}, {u"width"_s, 9}, {u"height"_s, 0}}), {30, 40},
            u"width=\"30\" height=\"40\""_s);
        row("without a size", with({{u"width"_s, 0}}), {}, {});
        row("mirrored", with({{u"flipv"_s, true}}), {40, 30}, own);
        row("bordered", with({{u"enableborder"_s, true}, {u"bordersize"_s, 1}}), {42, 32},
            u"width=\"42\" height=\"32\""_s);
        // Neither cropping nor a ground counts by itself.
        row("square", with({{u"square"_s, true}}), {}, own);
        // Without a stored size, 0 differs from the original one.
        row("not locked", {{u"originalwidth"_s, 40}}, {40, 30}, own);
        row("not locked, no size at all", {}, {}, own);
    }
    void encodesWhatIsTransformed()
    {
        QFETCH(const QVariantMap, attributes);
        QFETCH(const QSize, size); // of the file; empty for one that is copied
        QFETCH(const QString, markupSize);
        const QByteArray png = fileOf(pictureOf(40, 30), "PNG");
        const Outcome outcome = processed(attached(u"a.png", png, attributes));
        QVERIFY2(markupSize.isEmpty() ? !outcome.markup.contains(u"width"_s)
                                      : outcome.markup.contains(markupSize),
                 qPrintable(outcome.markup));
        QCOMPARE(contents(outcome.path(u"pic_1.png"_s)) == png, size.isEmpty());
        QCOMPARE(outcome.image(u"pic_1.png"_s).size(), size.isEmpty() ? QSize(40, 30) : size);
    }
    void encodesInTheFormatAskedFor()
    {
        const NSTextAttachmentPtr png = attached(u"a.png", fileOf(pictureOf(40, 30), "PNG"));
        QCOMPARE(processed(png, CVHTMLMedia::kJPEGFormat).format(u"pic_1.jpg"_s), "jpeg");
        Outcome gif = processed(png, CVHTMLMedia::kGIFFormat);
        QVERIFY(gif.markup.contains(u"src=\"files/pic_1.gif\" width=\"40\""_s));
        QCOMPARE(gif.format(u"pic_1.gif"_s), "gif");
        QVERIFY(!QFile::exists(gif.path(u"pic_1.png"_s))); // what it was made from
        // ... and another attachment's PNG of that name stays as it is.
        Outcome beside;
        QVERIFY(write(beside.path(u"pic_1.png"_s), "other"));
        ours(png)->clearCachedImage();
        process(beside, png, CVHTMLMedia::kGIFFormat);
        QCOMPARE(contents(beside.path(u"pic_1.png"_s)), "other");
        QCOMPARE(QDir(beside.folder->path()).entryList(QDir::Files | QDir::Hidden).size(), 2);
        // A file that is no picture is not touched by the format.
        QVERIFY(
            processed(attached(u"a.zip", "zip"), CVHTMLMedia::kGIFFormat).markup.contains(u"pic_1.zip"_s));
    }
    void keepsWhatItEncoded()
    {
        const QFTextAttachmentPtr attachment =
            ours(attached(u"a.png", fileOf(pictureOf(40, 30), "PNG"), kHalf));
        const Outcome first = processed(attachment);
        QCOMPARE(attachment->cachedImage(), contents(first.path(u"pic_1.png"_s)));
        attachment->setCachedImage("stands for the picture", CVHTMLMedia::kPNGFormat);
        QCOMPARE(contents(processed(attachment).path(u"pic_1.png"_s)), "stands for the picture");
        // Another format is encoded afresh, and so is what has been changed since.
        QCOMPARE(processed(attachment, CVHTMLMedia::kJPEGFormat).format(u"pic_1.jpg"_s), "jpeg");
        attachment->setCachedImage("old", CVHTMLMedia::kPNGFormat);
        attachment->setMediaAttribute(u"scale"_s, 0.25F);
        QCOMPARE(processed(attachment).image(u"pic_1.png"_s).width(), 10);
        // Bytes of unknown format are taken as they are.
        attachment->setCachedImage("anything");
        QCOMPARE(contents(processed(attachment, CVHTMLMedia::kGIFFormat).path(u"pic_1.gif"_s)), "anything");
    }
    void keepsNothingThatIsNotWhole()
    {
        const QFTextAttachmentPtr attachment =
            ours(attached(u"a.png", fileOf(noisePicture({200, 150}, true, 1), "PNG"), kHalf));
        rlimit before{};
        QVERIFY(getrlimit(RLIMIT_FSIZE, &before) == 0);
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit small{1000, before.rlim_max};
        QVERIFY(setrlimit(RLIMIT_FSIZE, &small) == 0);
        QTest::ignoreMessage(QtWarningMsg, "Failed to write image to disk");
        const Outcome torn = processed(attachment);
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
        QVERIFY(attachment->cachedImage().isNull());
        QCOMPARE(processed(attachment).image(u"pic_1.png"_s).size(), QSize(100, 75));
    }
    void refusesWhatHoldsNoPicture()
    {
        const QByteArray jpeg = fileOf(pictureOf(400, 300), "JPEG");
        const NSFileWrapperPtr folder = NSFileWrapper::directoryWithFileWrappers({});
        folder->setPreferredFilename(u"a.tiff"_s);
        const NSFileWrapperPtr dangling = NSFileWrapper::symbolicLinkWithDestination(u"/no/such/file"_s);
        dangling->setPreferredFilename(u"a.tiff"_s);
        const QByteArray unreadable = "Could not read the image data from the attachment";
        const QList<std::pair<NSTextAttachmentPtr, QByteArray>> attachments{
            {attached(u"a.tiff", "no picture"), unreadable},
            {attached(u"a.jpg", jpeg.left(jpeg.size() / 2), kHalf), unreadable},
            {std::make_shared<NSTextAttachment>(dangling), unreadable},
            {std::make_shared<NSTextAttachment>(folder),
             "Don't know how to deal with directory wrappers when exporting an image"}};
        for (const auto &[attachment, message] : attachments) {
            Outcome outcome;
            QVERIFY(write(outcome.path(u"pic_1.jpg"_s), "there"));
            QTest::ignoreMessage(QtWarningMsg, message.constData());
            process(outcome, attachment);
            QCOMPARE(outcome.markup, QString());
            QCOMPARE(outcome.nextNumber, 1);
            QCOMPARE(contents(outcome.path(u"pic_1.jpg"_s)), "there");
        }
    }
    void readsThroughLinks()
    {
        const QString path = _folder.filePath(u"linked.png"_s);
        QVERIFY(pictureOf(40, 30).save(path));
        const NSFileWrapperPtr link = NSFileWrapper::symbolicLinkWithDestination(path);
        link->setPreferredFilename(u"a.png"_s);
        const Outcome outcome = processed(std::make_shared<QFTextAttachment>(link, kHalf));
        QCOMPARE(outcome.image(u"pic_1.png"_s).size(), QSize(20, 15));
    }
    void staysInsideTheFolder()
    {
        // A link in the way is replaced; what it leads to stays.
        const QString outside = _folder.filePath(u"outside"_s);
        QVERIFY(write(outside, "mine"));
        for (const qint32 format : {CVHTMLMedia::kPNGFormat, CVHTMLMedia::kGIFFormat}) {
            Outcome outcome;
            QVERIFY(QFile::link(outside, outcome.path(u"pic_1.png"_s)));
            QVERIFY(QFile::link(outside, outcome.path(u"pic_1.gif"_s)));
            process(outcome, attached(u"a.png", fileOf(pictureOf(4, 3), "PNG")), format);
            QVERIFY(!outcome.markup.isEmpty());
            QCOMPARE(contents(outside), "mine");
        }
        Outcome escaping;
        QTest::ignoreMessage(
            QtWarningMsg, qPrintable(u"Failed to write attachment to "_s + escaping.path(u"../pic_1.png"_s)));
        process(escaping, attached(u"a.png", fileOf(pictureOf(4, 3), "PNG")), CVHTMLMedia::kPNGFormat,
                u"../pic"_s);
        QCOMPARE(escaping.markup, QString());
        QCOMPARE(escaping.nextNumber, 2);
    }
    void tellsWhatItCouldNotWrite()
    {
        Outcome outcome;
        QVERIFY(QDir(outcome.folder->path()).mkdir(u"pic_1.jpg"_s));
        QTest::ignoreMessage(QtWarningMsg, "Failed to write image attachment 'pic_1.jpg' (21)");
        QTest::ignoreMessage(QtWarningMsg,
                             qPrintable(u"Failed to write attachment to "_s + outcome.path(u"pic_1.jpg"_s)));
        process(outcome, attached(u"a.tiff", fileOf(pictureOf(4, 3), "TIFF")));
        QCOMPARE(outcome.nextNumber, 2);
        QTest::ignoreMessage(QtWarningMsg,
                             qPrintable(u"Failed to write attachment to "_s + outcome.path(u"pic_2."_s)));
        process(outcome, std::make_shared<QFTextAttachment>());
        QTest::ignoreMessage(QtWarningMsg, "attachmentPath is nil");
        QTest::ignoreMessage(QtWarningMsg, "Failed to write attachment to (null)");
        CVHTML().processAttachment(attached(u"a.tiff", fileOf(pictureOf(4, 3), "TIFF")), u"pic"_s,
                                   outcome.nextNumber, QString(), u"files"_s, CVHTMLMedia::kNoFormat,
                                   CVHTMLMedia::kHighQuality, outcome.markup);
        QCOMPARE(outcome.markup, QString());
    }
    void showsMovies()
    {
        const QString path = _folder.filePath(u"movie.mov"_s);
        QVERIFY(MovieMaker().write(path));
        const Outcome outcome = processed(attached(u"My movie.MOV", contents(path)));
        QCOMPARE(outcome.markup,
                 u"<!-- Movie code starts !--><div class=\"movie-frame\"><script type=\"text/javascript\">"
                 "QT_WriteOBJECT_XHTML('files/pic_1.mov', '96', '80', '', 'autoplay', 'false' );</script>"
                 "</div><!-- Movie code ends !-->"_s);
        Outcome broken;
        QTest::ignoreMessage(QtWarningMsg, qPrintable(u"Couldn't determine dimensions of movie at "_s +
                                                      broken.path(u"pic_1.mov"_s)));
        process(broken, attached(u"a.mov", "no movie"));
        QCOMPARE(broken.markup, QString());
        QCOMPARE(broken.nextNumber, 2);
        QVERIFY(QFile::exists(broken.path(u"pic_1.mov"_s)));
    }
};

QTEST_GUILESS_MAIN(CVHTMLAttachmentsTest)
#include "CVHTMLAttachmentsTest.moc"
