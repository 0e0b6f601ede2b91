#include "media/QFTextAttachment.h"
#include "media/NSAttributedString+Attachments.h"
#include "media/QFImage.h"
#include "media/QFTransformImage.h"
#include "platform/NSColor.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/Values.h"
#include "tests/Rows.h"
#include "tests/media/Pictures.h"
#include "tests/platform/ArchiveTestData.h"

#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QTemporaryDir>

#include <limits>

class QFTextAttachmentTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void makesItsMediaAttributesOnce();
    void isArchivedWhole();
    void readsOlderVersions();
    void isFoundInText();
    void measuresItsPicture();
    void tellsOfChangesAndDropsTheCache();
    void readsLinksAndDocuments();
    void normalises_data();
    void normalises();
    void leavesOtherFilesAlone();
};

namespace {

class OwnAttachment : public QFTextAttachment
{
};

NSFileWrapperPtr file(const QByteArray &bytes, const QString &name)
{
    const NSFileWrapperPtr wrapper = NSFileWrapper::regularFileWithContents(bytes);
    wrapper->setPreferredFilename(name);
    return wrapper;
}

NSFileWrapperPtr jpeg(int width, int height, const QString &name)
{
    return file(fileOf(pictureOf(width, height), "JPEG"), name);
}

} // namespace

void QFTextAttachmentTest::makesItsMediaAttributesOnce()
{
    QFTextAttachment attachment;
    QVERIFY(!attachment.hasMediaAttributes());
    const QVariantMap fresh = attachment.mediaAttributes();
    QCOMPARE(fresh.size(), 12);
    // A fresh attachment clips and fills, unlike a map that lacks these keys.
    QVERIFY(boolValue(fresh.value(u"clip"_s)));
    QVERIFY(sameValue(fresh.value(u"fillcolour"_s), QVariant::fromValue(NSColor::whiteColor())));
    attachment.setMediaAttributes({});
    QVERIFY2(attachment.mediaAttributes().isEmpty(), "an emptied map is not filled again");
    QVERIFY(QFTextAttachment(nullptr, {}).mediaAttributes().isEmpty());
}

void QFTextAttachmentTest::isArchivedWhole()
{
    const auto attachment =
        std::make_shared<QFTextAttachment>(NSFileWrapper::regularFileWithContents("jpeg"));
    attachment->setMediaAttribute(u"alttag"_s, u"Alt"_s);
    attachment->setCachedImage("cache");
    const auto back =
        std::dynamic_pointer_cast<QFTextAttachment>(thereAndBack<NSTextAttachmentPtr>(attachment));
    QVERIFY(back);
    QVERIFY(sameValue(back->mediaAttributes(), attachment->mediaAttributes()));
    QCOMPARE(back->cachedImage(), QByteArray("cache"));
    QCOMPARE(back->fileWrapper()->regularFileContents(), QByteArray("jpeg"));

    const auto bare = std::dynamic_pointer_cast<QFTextAttachment>(
        thereAndBack<NSTextAttachmentPtr>(std::make_shared<QFTextAttachment>()));
    QVERIFY(bare && !bare->hasMediaAttributes() && bare->cachedImage().isNull() && !bare->fileWrapper());

    // A picture's format is known again; bytes that are no picture have none.
    QVERIFY(!back->cachedImageFormat());
    attachment->setCachedImage(fileOf(pictureOf(4, 3), "PNG"));
    const auto cached =
        std::dynamic_pointer_cast<QFTextAttachment>(thereAndBack<NSTextAttachmentPtr>(attachment));
    QVERIFY(cached && cached->cachedImageFormat() == 0x504E4766);

    // An attachment that holds itself.
    attachment->setMediaAttribute(u"self"_s, QVariant::fromValue<NSTextAttachmentPtr>(attachment));
    const auto circle =
        std::dynamic_pointer_cast<QFTextAttachment>(thereAndBack<NSTextAttachmentPtr>(attachment));
    QVERIFY(circle && !circle->mediaAttributes().contains(u"self"_s));
    attachment->setMediaAttributes({});
}

void QFTextAttachmentTest::readsOlderVersions()
{
    for (const int version : {0, 1, 2, 3}) {
        const QVariantMap versionEntry{{u"QFClassVersion"_s, version}};
        const QByteArray archive = archiveOf(
            {QVariantMap{{u"$class"_s, at(2)}, {u"$0"_s, at(3)}, {u"$1"_s, at(5)}, {u"$2"_s, at(6)}},
             classEntry(u"QFTextAttachment"_s, versionEntry),
             QVariantMap{
                 {u"$class"_s, at(4)}, {u"NS.keys"_s, QVariantList{}}, {u"NS.objects"_s, QVariantList{}}},
             classEntry(u"NSDictionary"_s), QByteArray("cache"),
             QVariantMap{{u"$class"_s, at(7)}, {u"kind"_s, u"file"_s}, {u"contents"_s, QByteArray("x")}},
             classEntry(u"NSFileWrapper"_s)});
        const auto attachment = std::dynamic_pointer_cast<QFTextAttachment>(
            NSKeyedUnarchiver::unarchiveObjectWithData(archive).value<NSTextAttachmentPtr>());
        QVERIFY(attachment);
        QVERIFY(attachment->hasMediaAttributes() && attachment->mediaAttributes().isEmpty());
        QCOMPARE(attachment->cachedImage().isNull(), version < 1);
        QCOMPARE(attachment->fileWrapper() == nullptr, version < 2);
    }
}

void QFTextAttachmentTest::isFoundInText()
{
    const auto one = std::make_shared<QFTextAttachment>();
    const auto two = std::make_shared<QFTextAttachment>();
    const auto plain = std::make_shared<NSTextAttachment>();
    const auto own = std::make_shared<OwnAttachment>();
    NSMutableAttributedString text;
    const auto append = [&text](const QString &string, const NSTextAttachmentPtr &attachment,
                                int underline = 0) {
        text.append(string, {{NSAttachmentAttributeName, QVariant::fromValue(attachment)},
                             {NSUnderlineStyleAttributeName, underline}});
    };
    append(u"\uFFFC"_s, one);
    append(u"\uFFFC"_s, one, 1); // the same attachment in two runs is one stretch
    append(u"\uFFFC"_s, two);
    text.append(u"text"_s, {{NSAttachmentAttributeName, u"no attachment"_s}});
    append(u"\uFFFC"_s, plain);
    append(u"\uFFFC"_s, own);
    append(u"\uFFFC"_s, one);
    QCOMPARE(Attachments::attachments(text), (QList<QFTextAttachmentPtr>{one, two, one}));
    QCOMPARE(Attachments::attachmentsForRange(text, {1, 5}), (QList<QFTextAttachmentPtr>{one, two}));
    QCOMPARE(Attachments::attachmentsForRange(text, {-5, 6}), (QList<QFTextAttachmentPtr>{one}));
    QVERIFY(Attachments::attachmentsForRange(text, {NSNotFound, 1}).isEmpty());
    QVERIFY(Attachments::attachments(NSAttributedString()).isEmpty());
}

void QFTextAttachmentTest::measuresItsPicture()
{
    QFTextAttachment attachment(jpeg(80, 60, u"a.jpg"_s));
    QCOMPARE(attachment.mediaAttributes().value(u"originalwidth"_s), QVariant(80));
    QCOMPARE(attachment.mediaAttributes().size(), 14);
    QCOMPARE(attachment.mediaAttributesWidth(), 80.0F);
    attachment.setMediaAttributesWidth(40);
    QCOMPARE(attachment.mediaAttributesWidth(), 40.0F);
    attachment.updateImageSize({64, 48}, 0.5F);
    QCOMPARE(attachment.mediaAttributesWidth(), 64.0F);
    QVERIFY(!attachment.mediaAttributes().contains(u"height"_s));
    QCOMPARE(attachment.mediaAttributesHeight(), 48.0F);
}

void QFTextAttachmentTest::tellsOfChangesAndDropsTheCache()
{
    QFTextAttachment attachment(jpeg(8, 6, u"a.jpg"_s));
    QStringList changed;
    connect(&attachment.observer(), &QFTextAttachmentObserver::valueChanged, this,
            [&changed](const QString &key) { changed.append(key); });
    attachment.setCachedImage("bytes", 7);
    attachment.setMediaAttributesFillColour(std::nullopt);
    QVERIFY(attachment.cachedImage().isNull() && !attachment.cachedImageFormat());
    QCOMPARE(changed.size(), 6);
    QVERIFY(changed.contains(u"mediaAttributesFillColour"_s));

    const NSImagePtr held = attachment.image();
    attachment.setCachedImage("bytes");
    attachment.setFileWrapper(jpeg(9, 6, u"b.jpg"_s));
    QVERIFY(attachment.cachedImage().isNull());
    QCOMPARE(attachment.image()->bitmap().width(), 9);
    QCOMPARE(held->bitmap().width(), 8); // whoever holds it keeps it
}

void QFTextAttachmentTest::readsLinksAndDocuments()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"page.pdf"_s);
    {
        QPdfWriter writer(path);
        writer.setPageSize(QPageSize(QSizeF(100, 50), QPageSize::Point));
        writer.setPageMargins({});
        QPainter(&writer).fillRect(0, 0, 1000000, 1000000, Qt::red);
    }
    QFTextAttachment link(NSFileWrapper::symbolicLinkWithDestination(path));
    QVERIFY(link.image());
    QCOMPARE(link.image()->size(), (NSSize{100, 50}));
    QCOMPARE(link.image()->bitmap().pixel(50, 25), qRgb(255, 0, 0));
    // A part of a page, much enlarged, is drawn within limits.
    const NSImagePtr part = QFTransformImage::transformImageUsingAttributes(
        link.image(), {{u"square"_s, true}, {u"lockratios"_s, true}, {u"scale"_s, 100.0F}});
    QCOMPARE(part->bitmap().size(), QSize(5000, 5000));
    QCOMPARE(part->bitmap().pixel(2500, 2500), qRgb(255, 0, 0));
    for (const QString &nowhere : {folder.filePath(u"missing"_s), folder.path(), u"/dev/zero"_s})
        QVERIFY(!QFTextAttachment(NSFileWrapper::symbolicLinkWithDestination(nowhere)).image());
    QVERIFY(!QFTextAttachment(NSFileWrapper::directoryWithFileWrappers({})).image());
    QVERIFY(!QFTextAttachment(NSFileWrapper::regularFileWithContents("%PDF-1.4 no document")).image());
}

void QFTextAttachmentTest::normalises_data()
{
    const Rows<QVariantMap, QSize> row({"attributes", "size"});
    row("scaled", {{u"lockratios"_s, true}, {u"scale"_s, 0.5F}}, {40, 30});
    row("enlarged", {{u"lockratios"_s, true}, {u"scale"_s, 2.0F}}, {160, 120});
    // The shorter side decides; the proportions stay.
    row("sized", {{u"lockratios"_s, false}, {u"width"_s, 60}, {u"height"_s, 15}}, {20, 15});
}

void QFTextAttachmentTest::normalises()
{
    QFETCH(QVariantMap, attributes);
    attributes.insert(u"originalwidth"_s, 80);
    attributes.insert(u"originalheight"_s, 60);
    attributes.insert(u"rotation"_s, 30); // is not baked in
    QFTextAttachment attachment(jpeg(80, 60, u"photo.JPG"_s), attributes);
    attachment.fileWrapper()->setIcon("icon");
    QVERIFY(attachment.normalise());
    const NSImagePtr image = NSImage::imageWithData(attachment.fileWrapper()->regularFileContents());
    QVERIFY(image && QFImage::isJPEGImage(*image));
    QTEST(image->bitmap().size(), "size");
    QCOMPARE(attachment.fileWrapper()->preferredFilename(), u"photo.JPG"_s);
    QCOMPARE(attachment.fileWrapper()->icon(), QByteArray("icon"));
    QCOMPARE(floatValue(attachment.mediaAttributes().value(u"scale"_s)), 1.0F);
    QCOMPARE(floatValue(attachment.mediaAttributes().value(u"rotation"_s)), 30.0F);
    // Now it is shown in its own size, except where the attributes give it other proportions.
    const bool isShownAsItIs = attributes.value(u"lockratios"_s).toBool();
    QVERIFY(!isShownAsItIs || !attachment.normalise());
}

void QFTextAttachmentTest::leavesOtherFilesAlone()
{
    const QVariantMap half{
        {u"lockratios"_s, true}, {u"scale"_s, 0.5F}, {u"originalwidth"_s, 80}, {u"originalheight"_s, 60}};
    const QByteArray png = fileOf(pictureOf(80, 60), "PNG");
    QVERIFY(!QFTextAttachment(file(png, u"a.png"_s), half).normalise());
    QVERIFY(!QFTextAttachment(jpeg(80, 60, u"a.jpeg"_s), half).normalise());
    QVERIFY(!QFTextAttachment(file("no picture", u"a.jpg"_s), half).normalise());
    QVERIFY(!QFTextAttachment(nullptr, half).normalise());
    for (const float odd : {1.0F, 0.0F, -1.0F, 1e9F, std::numeric_limits<float>::quiet_NaN()}) {
        QVariantMap map = half;
        map.insert(u"scale"_s, odd);
        QFTextAttachment attachment(jpeg(80, 60, u"a.jpg"_s), map);
        QVERIFY(!attachment.normalise());
        QVERIFY(sameValue(attachment.mediaAttributes(), map));
    }
    QFTextAttachment unsized(jpeg(80, 60, u"a.jpg"_s), {{u"lockratios"_s, false}});
    QVERIFY(!unsized.normalise());
}

QTEST_MAIN(QFTextAttachmentTest)
#include "QFTextAttachmentTest.moc"
