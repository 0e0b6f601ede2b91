#include "media/QFTransformImage.h"
#include "media/CIImage.h"
#include "media/QFImage.h"
#include "media/QFTextAttachmentAttributes.h"
#include "media/TransformGeometry.h"
#include "platform/NSColor.h"
#include "platform/Values.h"
#include "tests/Rows.h"
#include "tests/media/Pictures.h"

#include <cmath>
#include <limits>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

QImage transformed(const QImage &image, const QVariantMap &attributes)
{
    return QFTransformImage::transformImageUsingAttributes(nsImageOf(image), attributes)->bitmap();
}

QVariant colour(float red, float green, float blue)
{
    return QVariant::fromValue(NSColor::calibratedRGB(red, green, blue));
}

/// A form with pixels that are never asked for.
NSImageRepPtr form(int width, int height)
{
    return std::make_shared<NSCustomImageRep>(QSize(width, height), [](QPainter &, const QSize &) {});
}

} // namespace

class QFTransformImageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsAttributes()
    {
        const QVariantMap none;
        const QFTextAttachmentAttributes absent(none);
        QVERIFY(!absent.clip() && !absent.fillColour() && absent.altTag().isNull());
        QCOMPARE(absent.scale(), 1.0F);
        const QVariantMap map{
            {u"scale"_s, 0},          {u"bordersize"_s, 3},      {u"borderoffset"_s, 9},
            {u"width"_s, 0},          {u"originalwidth"_s, 640}, {u"height"_s, -5},
            {u"originalheight"_s, 9}, {u"alttag"_s, 7},          {u"fillcolour"_s, u"white"_s},
            {u"clip"_s, u"YES"_s}};
        const QFTextAttachmentAttributes given(map);
        QCOMPARE(given.scale(), 0.0F);
        QCOMPARE(given.borderOffset(), 3.0F);
        QCOMPARE(given.widthOrOriginalWidth(), 640.0F);
        QCOMPARE(given.heightOrOriginalHeight(), -5.0F);
        QVERIFY(given.altTag().isNull() && !given.fillColour() && given.clip());
    }
    void editsAttributes()
    {
        QVariantMap map{{u"width"_s, 3}};
        SwapWidthAndHeight(map);
        QCOMPARE(map, (QVariantMap{{u"width"_s, 3}}));
        map.insert(u"height"_s, 5.5F);
        SwapWidthAndHeight(map);
        QCOMPARE(map, (QVariantMap{{u"width"_s, 5.5F}, {u"height"_s, 3}}));
        ToggleBooleanAttributeKey(map, u"fliph"_s);
        QCOMPARE(map.value(u"fliph"_s), QVariant(true));
        ToggleBooleanAttributeKey(map, u"fliph"_s);
        QCOMPARE(map.value(u"fliph"_s), QVariant(false));
    }

    void sizesTheCanvas_data()
    {
        const Rows<QVariantMap, QSize, QSize> row({"attributes", "original", "size"});
        const QSize wide(400, 300);
        row("as it is", {}, wide, wide);
        row("scaled", {{u"lockratios"_s, true}, {u"scale"_s, 0.5}}, wide, {200, 150});
        // 300 x 0.1 is 30 in 32-bit floats; in doubles its ceiling would be 31.
        row("by floats", {{u"lockratios"_s, true}, {u"scale"_s, 0.1F}}, {300, 300}, {30, 30});
        // 99.000008 points are 99 pixels.
        row("rounded up, but for noise", {{u"lockratios"_s, true}, {u"scale"_s, 0.33F}}, {300, 300},
            {99, 99});
        row("width alone", {{u"width"_s, 100}}, wide, {100, 300});
        row("square", {{u"square"_s, true}}, wide, {300, 300});
        row("square, then not", {{u"square"_s, true}, {u"width"_s, 50}}, wide, {50, 300});
        row("border rounded up", {{u"enableborder"_s, true}, {u"bordersize"_s, 2.4}}, {100, 100}, {106, 106});
        row("border alone is left of nothing",
            {{u"lockratios"_s, true}, {u"scale"_s, 0}, {u"enableborder"_s, true}, {u"bordersize"_s, 2}}, wide,
            {4, 4});
        row("shadow", {{u"enableshadow"_s, true}, {u"shadowoffset"_s, 5}, {u"shadowblur"_s, 5}}, {100, 100},
            {108, 108});
        row("shadow to the upper left",
            {{u"enableshadow"_s, true}, {u"shadowoffset"_s, -6.5}, {u"shadowblur"_s, 4}}, {100, 100},
            {96, 96});
        row("turned", {{u"rotation"_s, 90}}, {200, 100}, {100, 200});
        row("turned and clipped", {{u"rotation"_s, 90}, {u"clip"_s, true}}, {200, 100}, {200, 100});
        row("turned in full", {{u"rotation"_s, 360}, {u"width"_s, 100.5}}, {200, 100}, {101, 100});
        row("turned by 45", {{u"rotation"_s, -45}}, {100, 100}, {142, 142});
        const QVariantMap sized{{u"width"_s, 300}, {u"height"_s, 200}};
        const auto oriented = [&](int code) {
            QVariantMap map = sized;
            map.insert(u"orientation"_s, code);
            return map;
        };
        for (const int code : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9})
            QTest::addRow("orientation %d", code) << oriented(code) << wide << QSize(300, 200);
        QVariantMap clipped = oriented(6);
        clipped.insert(u"clip"_s, true);
        row("camera picture, clipped", clipped, wide, {200, 300});
        row("the camera's turn replaces the user's", {{u"orientation"_s, 3}, {u"rotation"_s, 45}}, wide,
            wide);
        for (const float odd : {0.0F, -3.0F, kNaN, kInfinity, 1e9F}) {
            QTest::addRow("scale %g", odd)
                << QVariantMap{{u"lockratios"_s, true}, {u"scale"_s, odd}} << wide << QSize(0, 0);
        }
        row("no number as a border", {{u"enableborder"_s, true}, {u"bordersize"_s, kNaN}}, wide, wide);
        row("huge border", {{u"enableborder"_s, true}, {u"bordersize"_s, 1e9}}, wide, {0, 0});
        row("huge blur", {{u"enableshadow"_s, true}, {u"shadowblur"_s, 1e6}}, wide, {0, 0});
        row("no number as an angle", {{u"rotation"_s, kNaN}}, wide, {0, 0});
        row("no number as an angle, clipped", {{u"rotation"_s, kNaN}, {u"clip"_s, true}}, wide, wide);
        row("too many pixels", {{u"width"_s, 30000}, {u"height"_s, 30000}}, wide, {0, 0});
    }
    void sizesTheCanvas()
    {
        QFETCH(const QVariantMap, attributes);
        QFETCH(const QSize, original);
        QFETCH(const QSize, size);
        const QImage result = transformed(pictureOf(original.width(), original.height()), attributes);
        QCOMPARE(result.size(), size);
    }

    void leavesThePixelsOfAPlainPicture()
    {
        const QImage image = pictureOf(40, 30);
        QCOMPARE(greatestDifference(transformed(image, {}), image), 0);
        // A picture without pixels and size is not changed at all, but on the screen it is the empty one.
        const auto nothing = std::make_shared<NSImage>(NSSize{0, 5}, QList<NSImageRepPtr>{});
        QCOMPARE(QFTransformImage::transformImageUsingAttributes(nothing, {}), nothing);
        const NSImagePtr shown =
            QFTransformImage::transformImageUsingAttributesAndScreenResolution(nothing, {});
        QVERIFY(shown != nothing && shown->isEmpty() && shown->size() == NSSize());
    }
    void cropsFramesAndFlips()
    {
        const QImage image = pictureOf(41, 30);
        // The offset is rounded down from the lower left: the odd column stays at the right.
        QCOMPARE(greatestDifference(transformed(image, {{u"square"_s, true}}), image.copy(5, 0, 30, 30)), 0);
        const QImage tall = pictureOf(30, 41);
        // ... and the odd row at the top.
        QCOMPARE(greatestDifference(transformed(tall, {{u"square"_s, true}}), tall.copy(0, 6, 30, 30)), 0);

        const QImage framed = transformed(image, {{u"enableborder"_s, true},
                                                  {u"bordersize"_s, 2},
                                                  {u"bordercolour"_s, colour(1, 0, 0)},
                                                  {u"fliph"_s, true},
                                                  {u"flipv"_s, true}});
        QCOMPARE(framed.pixel(1, 1), qRgb(255, 0, 0));
        QCOMPARE(framed.pixel(44, 33), qRgb(255, 0, 0));
        QCOMPARE(greatestDifference(framed.copy(2, 2, 41, 30), image.mirrored(true, true)), 0);
    }
    void turnsClockwise()
    {
        const QImage image = pictureOf(40, 20);
        const QImage right = transformed(image, {{u"rotation"_s, 90}});
        QCOMPARE(greatestDifference(right, image.transformed(QTransform().rotate(90))), 0);
        // Codes 5 and 7 do each other's work: 5 is mirrored top to bottom and turned left.
        const QImage five = transformed(image, {{u"orientation"_s, 5}});
        QCOMPARE(greatestDifference(five, image.mirrored(false, true).transformed(QTransform().rotate(270))),
                 0);
        const QImage upright = transformed(image, {{u"orientation"_s, 6}});
        QCOMPARE(greatestDifference(upright, right), 0);
    }
    void layersShadowAndGround()
    {
        const QImage image = pictureOf(100, 100);
        QVariantMap attributes{{u"enableshadow"_s, true},
                               {u"shadowoffset"_s, 5},
                               {u"shadowblur"_s, 5},
                               {u"shadowcolour"_s, colour(0, 0, 1)}};
        const QImage open = transformed(image, attributes);
        QCOMPARE(greatestDifference(open.copy(0, 0, 100, 100), image), 0);
        QCOMPARE(qAlpha(open.pixel(107, 0)), 0);
        const QRgb shade = open.pixel(101, 60);
        QVERIFY2(qAlpha(shade) > 200 && qBlue(shade) > 250 && qRed(shade) == 0,
                 qPrintable(QString::number(shade, 16)));

        attributes.insert(u"fillcolour"_s, colour(1, 1, 0));
        attributes.insert(u"rotation"_s, 20);
        const QImage filled = transformed(image, attributes);
        QCOMPARE(filled.pixel(0, 0), qRgb(255, 255, 0)); // the corners that turning left
        for (int x = 0; x < filled.width(); ++x)
            QVERIFY(qAlpha(filled.pixel(x, filled.height() / 2)) == 255);
    }
    void drawsNothingWhereThereIsNothing()
    {
        const auto vector = std::make_shared<NSImage>(NSSize{50, 40}, QList<NSImageRepPtr>{form(0, 0)});
        const QImage result = QFTransformImage::transformImageUsingAttributes(
                                  vector, {{u"enableborder"_s, true}, {u"bordersize"_s, 1}})
                                  ->bitmap();
        QCOMPARE(result.size(), QSize(52, 42));
        QCOMPARE(result.pixel(20, 20), qRgb(0, 0, 0)); // the border's ground, uncovered
    }

    void choosesForms()
    {
        const NSImage image({10, 10}, {form(0, 0), form(20, 20), form(40, 40), form(20, 80)});
        QCOMPARE(QFImage::fullResolutionSize(image), (NSSize{20, 20}));
        QCOMPARE(QFTransformImage::bestRepresentationForRect(image, {0, 0, 5, 5})->pixels(), QSize(40, 40));
        QVERIFY(!QFTransformImage::bestRepresentationForRect(NSImage({10, 10}, {form(0, 0)}), {0, 0, 5, 5}));
        QCOMPARE(QFTransformImage::maximumDimensionSize(NSImage({10, 30}, {})), 30.0F);
        QVERIFY(!QFImage::isJPEGImage(image));
        QVERIFY(QFImage::isJPEGImage(*NSImage::imageWithData(fileOf(pictureOf(9, 9), "JPEG"))));
        QVERIFY(!QFImage::isJPEGImage(*NSImage::imageWithData(fileOf(pictureOf(9, 9), "PNG"))));
        // TIFF files tell by the value of their tag Compression.
        QByteArray tiff = fileOf(pictureOf(9, 9), "TIFF");
        const qsizetype tag = tiff.indexOf(QByteArray("\x03\x01\x03\x00\x01\x00\x00\x00", 8)) + 8;
        QVERIFY(tag > 8 && !QFImage::isJPEGImage(*NSImage::imageWithData(tiff)));
        for (const char code : {6, 7}) {
            tiff[tag] = code;
            QVERIFY(QFImage::isJPEGImage(*NSImage::imageWithData(tiff)));
        }
    }
    void cropsAndScalesPlainPictures()
    {
        const CIImage image = CIImageConversion::ciImage(NSImage(pictureOf(101, 50)));
        QCOMPARE(image.rectForSquareImage(), (NSRect{26, 0, 101, 50}));
        const CIImage middle = image.cropFromCentreToFitSize(50, 50);
        QCOMPARE(middle.extent(), (NSRect{25, 0, 50, 50}));
        QCOMPARE(greatestDifference(middle.pixels({50, 50}), pictureOf(101, 50).copy(25, 0, 50, 50)), 0);
        // The shorter side gets the size.
        QCOMPARE(image.rescaleToMaximumDimension(25).extent(), (NSRect{0, 0, 51, 25}));
        // A crop keeps its place: what lies before it is its edge, extended.
        const QImage moved = image.crop(20, 0, 40, 50).rescaleToMaximumDimension(40).pixels({40, 50});
        QCOMPARE(moved.pixel(3, 10), moved.pixel(19, 10));
        QVERIFY(moved.pixel(25, 10) != moved.pixel(19, 10));
        QVERIFY(image.rescaleToMaximumDimension(kNaN).isEmpty() && image.crop(200, 0, 9, 9).isEmpty());
        const NSImagePtr back = CIImageConversion::imageWithCIImage(middle);
        QCOMPARE(back->size(), (NSSize{50, 50}));
        QCOMPARE(greatestDifference(back->bitmap(), middle.pixels({50, 50})), 0);
    }
    void runsOnSeveralThreads()
    {
        const NSImagePtr image = NSImage::imageWithData(fileOf(pictureOf(300, 200), "JPEG"));
        const QVariantMap attributes{{u"lockratios"_s, true}, {u"scale"_s, 0.3F},
                                     {u"rotation"_s, 7},      {u"enableshadow"_s, true},
                                     {u"shadowblur"_s, 4},    {u"enableborder"_s, true},
                                     {u"bordersize"_s, 2}};
        const QImage expected = QFTransformImage::transformImageUsingAttributes(image, attributes)->bitmap();
        std::atomic<int> wrong = 0;
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&] {
                for (int run = 0; run < 5; ++run) {
                    const NSImagePtr result =
                        QFTransformImage::transformImageUsingAttributes(image, attributes);
                    wrong += result->bitmap() == expected ? 0 : 1;
                }
            });
        }
        threads.clear(); // waits for them
        QCOMPARE(wrong.load(), 0);
    }
};

QTEST_GUILESS_MAIN(QFTransformImageTest)
#include "QFTransformImageTest.moc"
