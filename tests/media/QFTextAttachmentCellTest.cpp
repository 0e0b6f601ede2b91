#include "media/QFTextAttachmentCell.h"
#include "media/QFTextAttachment.h"
#include "media/QFTextAttachmentCellWrapper.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/NSUserDefaults.h"
#include "tests/Rows.h"
#include "tests/media/Pictures.h"

#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

QFTextAttachmentPtr picture(int width, int height, const QVariantMap &attributes)
{
    const auto attachment = std::make_shared<QFTextAttachment>(
        NSFileWrapper::regularFileWithContents(fileOf(pictureOf(width, height), "PNG")), attributes);
    return attachment;
}

template <typename Wrapper>
std::shared_ptr<Wrapper> wrapped(const NSTextAttachmentPtr &attachment)
{
    const auto wrapper = std::make_shared<Wrapper>(std::make_shared<QFTextAttachmentCell>());
    wrapper->setAttachment(attachment);
    return wrapper;
}

NSRect frameOf(const QFTextAttachmentCellWrapper &cell)
{
    return cell.cellFrameForTextContainer(nullptr, {}, {}, 0);
}

QImage drawn(NSTextAttachmentCell &cell, int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    cell.drawWithFrame({0, 0, static_cast<float>(width), static_cast<float>(height)}, painter);
    return image;
}

} // namespace

class QFTextAttachmentCellTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        NSUserDefaults::standardUserDefaults().setFolder(QString());
        QCOMPARE(QFTextAttachmentCellWrapper::cellBorder(), 2);
    }
    void laysOut_data()
    {
        const Rows<QVariantMap, float, QSizeF> row({"attributes", "x", "size"});
        const QVariantMap locked{{u"lockratios"_s, true},   {u"scale"_s, 0.5F},        {u"clip"_s, true},
                                 {u"originalwidth"_s, 101}, {u"originalheight"_s, 50}, {u"shadowoffset"_s, 5},
                                 {u"shadowblur"_s, 5},      {u"bordersize"_s, 2.4F}};
        const auto with = [&](const QVariantMap &more) {
            QVariantMap map = locked;
            map.insert(more);
            return map;
        };
        // Nothing is rounded here, unlike in the rendering.
        row("scaled", locked, -2.0F, {54.5, 29});
        row("shadow", with({{u"enableshadow"_s, true}}), -2.0F, {62, 36.5});
        row("border", with({{u"enableborder"_s, true}}), -2.0F, {59.3, 33.8});
        row("sized", with({{u"lockratios"_s, false}, {u"width"_s, 30}}), -2.0F, {34, 54});
        row("turned", with({{u"clip"_s, false}, {u"rotation"_s, 90}}), -27.0F, {29, 54.5});
    }
    void laysOut()
    {
        QFETCH(const QVariantMap, attributes);
        QFETCH(const QSizeF, size);
        const QFTextAttachmentPtr attachment = picture(101, 50, attributes);
        const NSRect frame = frameOf(*wrapped<QFTextAttachmentCellWrapper>(attachment));
        QTEST(frame.x, "x");
        QCOMPARE(frame.y, -2.0F);
        QCOMPARE(frame.width, static_cast<float>(size.width()));
        QCOMPARE(frame.height, static_cast<float>(size.height()));
        // A movie's place is that of its own cell.
        QCOMPARE(frameOf(*wrapped<QFMovieTextAttachmentCellWrapper>(attachment)), (NSRect{0, 0, 101, 50}));
    }
    void answersNothingWithoutACell()
    {
        QFTextAttachmentCellWrapper empty;
        QVERIFY(!empty.attachment() && !empty.mediaAttributes() && !empty.wantsToTrackMouse());
        QCOMPARE(empty.cellSize(), NSSize());
        QCOMPARE(frameOf(empty), NSRect());
        QCOMPARE(qAlpha(drawn(empty, 9, 9).pixel(0, 0)), 0);
        const QFTextAttachmentPtr attachment = picture(100, 50, {});
        QCOMPARE(wrapped<QFTextAttachmentCellWrapper>(attachment)->cellSize(), (NSSize{104, 54}));
    }
    void drawsTheRendering()
    {
        const QFTextAttachmentPtr attachment =
            picture(40, 30, {{u"enableborder"_s, true}, {u"bordersize"_s, 1}});
        const auto cell = wrapped<QFTextAttachmentCellWrapper>(attachment);
        const QImage first = drawn(*cell, 46, 36);
        QCOMPARE(greatestDifference(first.copy(3, 3, 40, 30), pictureOf(40, 30)), 0);
        QCOMPARE(first.pixel(2, 2), qRgb(0, 0, 0));
        QCOMPARE(qAlpha(first.pixel(0, 0)), 0);
        attachment->setMediaAttributes({{u"fliph"_s, true}});
        const QImage second = drawn(*cell, 44, 34);
        QCOMPARE(greatestDifference(second.copy(2, 2, 40, 30), pictureOf(40, 30).mirrored(true, false)), 0);
        QVERIFY(qAlpha(second.pixel(0, 9)) > 0); // the outline of a picture without border and shadow
    }
    void isArchivedByName()
    {
        const QFTextAttachmentPtr attachment = picture(9, 9, {});
        attachment->setAttachmentCell(wrapped<QFPDFTextAttachmentCellWrapper>(attachment));
        const QByteArray archive =
            NSKeyedArchiver::archivedDataWithRootObject(QVariant::fromValue<NSTextAttachmentPtr>(attachment));
        const auto back = NSKeyedUnarchiver::unarchiveObjectWithData(archive).value<NSTextAttachmentPtr>();
        QVERIFY(back);
        const auto cell = std::dynamic_pointer_cast<QFPDFTextAttachmentCellWrapper>(back->attachmentCell());
        QVERIFY(cell);
        QVERIFY(std::dynamic_pointer_cast<QFTextAttachmentCell>(cell->underlyingCell()));
        QCOMPARE(cell->attachment(), back);
        QVERIFY(!NSTextAttachmentCell::cellOfClass(u"NSObject"_s));
    }
};

QTEST_MAIN(QFTextAttachmentCellTest)
#include "QFTextAttachmentCellTest.moc"
