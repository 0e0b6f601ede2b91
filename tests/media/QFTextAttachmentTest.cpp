#include "media/QFTextAttachment.h"
#include "media/NSAttributedString+Attachments.h"
#include "platform/NSColor.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/Values.h"
#include "tests/platform/ArchiveTestData.h"

#include <QTest>

class QFTextAttachmentTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void makesItsMediaAttributesOnce();
    void isArchivedWhole();
    void readsOlderVersions_data();
    void readsOlderVersions();
    void isFoundInText();
};

namespace {

class OwnAttachment : public QFTextAttachment
{
};

NSTextAttachmentPtr thereAndBack(const NSTextAttachmentPtr &attachment)
{
    const QByteArray archive = NSKeyedArchiver::archivedDataWithRootObject(QVariant::fromValue(attachment));
    return NSKeyedUnarchiver::unarchiveObjectWithData(archive).value<NSTextAttachmentPtr>();
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
    attachment.mediaAttributes().clear();
    QVERIFY2(attachment.mediaAttributes().isEmpty(), "an emptied map is not filled again");
    QVERIFY(QFTextAttachment(nullptr, {}).mediaAttributes().isEmpty());
}

void QFTextAttachmentTest::isArchivedWhole()
{
    const auto attachment =
        std::make_shared<QFTextAttachment>(NSFileWrapper::regularFileWithContents("jpeg"));
    attachment->mediaAttributes().insert(u"alttag"_s, u"Alt"_s);
    attachment->setCachedImage("cache");
    const auto back = std::dynamic_pointer_cast<QFTextAttachment>(thereAndBack(attachment));
    QVERIFY(back);
    QVERIFY(sameValue(back->mediaAttributes(), attachment->mediaAttributes()));
    QCOMPARE(back->cachedImage(), QByteArray("cache"));
    QCOMPARE(back->fileWrapper()->regularFileContents(), QByteArray("jpeg"));

    const auto bare =
        std::dynamic_pointer_cast<QFTextAttachment>(thereAndBack(std::make_shared<QFTextAttachment>()));
    QVERIFY(bare && !bare->hasMediaAttributes() && bare->cachedImage().isNull() && !bare->fileWrapper());

    // An attachment that holds itself.
    attachment->mediaAttributes().insert(u"self"_s, QVariant::fromValue<NSTextAttachmentPtr>(attachment));
    const auto circle = std::dynamic_pointer_cast<QFTextAttachment>(thereAndBack(attachment));
    QVERIFY(circle && !circle->mediaAttributes().contains(u"self"_s));
    attachment->setMediaAttributes({});
}

void QFTextAttachmentTest::readsOlderVersions_data()
{
    QTest::addColumn<int>("version");
    for (const int version : {0, 1, 2, 3})
        QTest::addRow("version %d", version) << version;
}

void QFTextAttachmentTest::readsOlderVersions()
{
    QFETCH(int, version);
    const QVariantMap versionEntry{{u"QFClassVersion"_s, version}};
    const QByteArray archive = archiveOf(
        {QVariantMap{{u"$class"_s, at(2)}, {u"$0"_s, at(3)}, {u"$1"_s, at(5)}, {u"$2"_s, at(6)}},
         classEntry(u"QFTextAttachment"_s, versionEntry),
         QVariantMap{{u"$class"_s, at(4)}, {u"NS.keys"_s, QVariantList{}}, {u"NS.objects"_s, QVariantList{}}},
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

QTEST_APPLESS_MAIN(QFTextAttachmentTest)
#include "QFTextAttachmentTest.moc"
