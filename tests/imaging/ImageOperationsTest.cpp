#include "imaging/ImageOperations.h"

#include "tests/Rows.h"
#include "tests/imaging/Pictures.h"

#include <QColor>
#include <QTransform>

#include <cmath>
#include <limits>

using ImageOperations::Shadow;
using ImageOperations::turned;
using ImageOperations::withShadow;

namespace {

constexpr quint32 kSeed = 7;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// How dark the shadow of a picture is at a pixel, summed up from every pixel of the picture. The move by
/// `offset` is in whole pixels.
double shadowAt(const QImage &image, const QPoint &at, const QPoint &offset, double sigma)
{
    double sum = 0;
    double all = 0;
    const int reach = int(std::ceil(6 * sigma));
    for (int y = -reach; y <= reach; ++y) {
        for (int x = -reach; x <= reach; ++x) {
            const double weight = sigma == 0 ? 1 : std::exp(-(x * x + y * y) / (2 * sigma * sigma));
            const QPoint from = at - offset - QPoint(x, y);
            sum += weight * (image.rect().contains(from) ? qAlpha(image.pixel(from)) / 255.0 : 0);
            all += weight;
        }
    }
    return sum / all;
}

} // namespace

class ImageOperationsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void turnsQuartersExactly_data();
    void turnsQuartersExactly();
    void cutsWhatAQuarterTurnPutsOutside();
    void turnsBackToWhatItWas();
    void turnsClockwiseAboutTheCentre();
    void turnedEdgesAreSmooth();
    void turnsByOddAngles();
    void shadowIsAGaussian_data();
    void shadowIsAGaussian();
    void opaqueAndTransparentPicturesHaveTheSameShadow_data();
    void opaqueAndTransparentPicturesHaveTheSameShadow();
    void moveByAFractionKeepsItsPlace();
    void drawsGroundShadowAndPicture();
    void survivesOddShadows();
};

void ImageOperationsTest::turnsQuartersExactly_data()
{
    const Rows<double, int> row({"degrees", "quarters"});

    row("none", 0.0, 0);
    row("clockwise", 90.0, 1);
    row("half", 180.0, 2);
    row("counter-clockwise", -90.0, 3);
    row("full", 360.0, 0);
    row("many", 90.0 * 4e9 + 270, 3);
    row("no number", kNaN, 0);
    row("infinite", -kInfinity, 0);
}

void ImageOperationsTest::turnsQuartersExactly()
{
    QFETCH(const double, degrees);
    QFETCH(const int, quarters);

    for (const bool isOpaque : {true, false}) {
        const QImage image = noisePicture({101, 70}, isOpaque, kSeed);
        const QImage expected = image.transformed(QTransform().rotate(90.0 * quarters));
        QCOMPARE(turned(image, degrees, expected.size()), expected);
        // A larger canvas with the centre between pixels: up and to the left.
        const QImage placed = turned(image, degrees, expected.size() + QSize(9, 6));
        QCOMPARE(placed.copy(QRect(QPoint(4, 3), expected.size())),
                 expected.convertToFormat(placed.format()));
        QCOMPARE(placed.pixel(3, 3), 0U);
    }
}

void ImageOperationsTest::cutsWhatAQuarterTurnPutsOutside()
{
    const QImage image = noisePicture({100, 60}, true, kSeed);
    const QImage result = turned(image, 90, image.size());
    const QImage whole = image.transformed(QTransform().rotate(90));
    QCOMPARE(result.copy(20, 0, 60, 60), whole.copy(0, 20, 60, 60).convertToFormat(result.format()));
    QCOMPARE(result.pixel(19, 30), 0U);
    QCOMPARE(result.pixel(80, 30), 0U);
}

void ImageOperationsTest::turnsBackToWhatItWas()
{
    const QImage image = smoothPicture({200, 160});
    for (const double degrees : {7.0, -33.0, 90.5, 181.0}) {
        const QImage there = turned(image, degrees, {320, 320});
        const QImage back = turned(there, -degrees, image.size());
        QVERIFY(greatestDifference(image.copy(8, 8, 184, 144), back.copy(8, 8, 184, 144)) <= 3);
    }
}

void ImageOperationsTest::turnsClockwiseAboutTheCentre()
{
    QImage image(201, 201, QImage::Format_RGB32);
    image.fill(Qt::white);
    image.setPixel(180, 100, 0xff000000U);
    const double angle = 30 * M_PI / 180;
    const QImage result = turned(image, 30, image.size());
    const QPoint expected(int(std::lround(100 + 80 * std::cos(angle))),
                          int(std::lround(100 + 80 * std::sin(angle))));
    QVERIFY(qGreen(result.pixel(expected)) < 160);
    QCOMPARE(qGreen(result.pixel(expected + QPoint(4, 4))), 255);
}

void ImageOperationsTest::turnedEdgesAreSmooth()
{
    QImage image(300, 200, QImage::Format_RGB32);
    image.fill(QColor(200, 100, 50));
    const QImage result = turned(image, 7, {400, 300});
    double area = 0;
    int between = 0;
    for (int y = 0; y < 300; ++y) {
        for (int x = 0; x < 400; ++x) {
            const int alpha = qAlpha(result.pixel(x, y));
            area += alpha / 255.0;
            between += alpha > 0 && alpha < 255 ? 1 : 0;
        }
    }
    QVERIFY(std::abs(area - 300 * 200) < 40);
    QVERIFY(between > 800 && between < 2'400);
    QVERIFY(isPremultiplied(result));
    QCOMPARE(result.pixel(200, 150), qRgb(200, 100, 50));
    QVERIFY(isPremultiplied(turned(noisePicture({90, 80}, false, kSeed), 21, {100, 100})));
}

void ImageOperationsTest::turnsByOddAngles()
{
    for (const QSize size : {QSize(1, 1), QSize(1, 50), QSize(3, 3), QSize(50, 2)}) {
        const QImage image = noisePicture(size, false, kSeed);
        for (const double degrees : {1e-300, 1e300, 45.0, -1e-9, 89.99999999})
            QCOMPARE(turned(image, degrees, {20, 30}).size(), QSize(20, 30));
    }
    QVERIFY(turned({}, 7, {5, 5}).isNull());
    QVERIFY(turned(noisePicture({5, 5}, true, kSeed), 7, {0, 5}).isNull());
    const QImage grey = smoothPicture({30, 20}).convertToFormat(QImage::Format_Grayscale8);
    QCOMPARE(turned(grey, 90, {20, 30}),
             grey.convertToFormat(QImage::Format_RGB32).transformed(QTransform().rotate(90)));
    // As many threads as there are make no difference: the upper half is turned alike on a canvas too small
    // for two of them.
    const QImage image = noisePicture({1'200, 900}, true, kSeed);
    const QImage large = turned(image, 12, {1'000, 1'000});
    const QImage small = turned(image, 12, {1'000, 200});
    QCOMPARE(large.copy(0, 400, 1'000, 200), small);
}

void ImageOperationsTest::shadowIsAGaussian_data()
{
    const Rows<double, double> row({"blur", "tolerance"});

    row("sharp", 0.0, 0.002);
    row("by kernel, small", 1.2, 0.003);
    row("by kernel, large", 5.9, 0.003);
    row("by means, small", 6.1, 0.015);
    row("by means, large", 24.0, 0.015);
}

void ImageOperationsTest::shadowIsAGaussian()
{
    QFETCH(const double, blur);
    QFETCH(const double, tolerance);

    // A disc and a bar, half transparent; partly beyond the canvas.
    QImage image(60, 50, QImage::Format_ARGB32_Premultiplied);
    image.fill(0);
    for (int y = 0; y < 50; ++y) {
        for (int x = 0; x < 60; ++x) {
            if (std::hypot(x - 22, y - 25) < 14 || (x > 45 && x < 49))
                image.setPixel(x, y, 0xff000000U);
        }
    }
    const QPoint position(-5, 8);
    const QPoint offset(-7, 4);
    const QImage result = withShadow(QImage(), position, {}, {70, 66}, Qt::transparent);
    QCOMPARE(result.pixel(0, 0), 0U);
    // The picture itself is drawn elsewhere, so that only the shadow is seen.
    const Shadow shadow{QPointF(offset) - QPointF(100, 0), blur, Qt::black};
    const QImage seen = withShadow(image, position + QPoint(100, 0), shadow, {70, 66}, Qt::transparent);
    double worst = 0;
    for (int y = 0; y < 66; y += 3) {
        for (int x = 0; x < 70; ++x) {
            const double expected = shadowAt(image, QPoint(x, y) - position, offset, blur / 3);
            worst = std::max(worst, std::abs(qAlpha(seen.pixel(x, y)) / 255.0 - expected));
        }
    }
    QVERIFY2(worst <= tolerance, qPrintable(QString::number(worst)));
}

void ImageOperationsTest::opaqueAndTransparentPicturesHaveTheSameShadow_data()
{
    const Rows<QPointF, double> row({"offset", "blur"});

    row("sharp", {5, 5}, 0.0);
    row("fraction only", {5.25, 3.75}, 0.0);
    row("small", {5.5, 6.5}, 3.0);
    row("large", {5.5, -6.25}, 30.0);
    row("up and to the left", {-15.5, -3}, 9.0);
}

void ImageOperationsTest::opaqueAndTransparentPicturesHaveTheSameShadow()
{
    QFETCH(const QPointF, offset);
    QFETCH(const double, blur);

    const QImage opaque = noisePicture({90, 70}, true, kSeed);
    const QImage other = opaque.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const Shadow shadow{offset, blur, QColor(200, 20, 10, 180)};
    QVERIFY(greatestDifference(withShadow(opaque, {10, 5}, shadow, {120, 100}, Qt::white),
                               withShadow(other, {10, 5}, shadow, {120, 100}, Qt::white)) <= 3);
}

void ImageOperationsTest::moveByAFractionKeepsItsPlace()
{
    QImage image(1, 1, QImage::Format_ARGB32_Premultiplied);
    image.fill(0xff000000U);
    for (const double blur : {0.0, 0.6, 3.0, 12.0}) {
        const Shadow shadow{{-79.75, 0.25}, blur, Qt::black};
        const QImage seen = withShadow(image, {100, 20}, shadow, {41, 41}, Qt::white);
        double x = 0;
        double y = 0;
        double all = 0;
        for (int row = 0; row < 41; ++row) {
            for (int column = 0; column < 41; ++column) {
                const double dark = 255 - qGreen(seen.pixel(column, row));
                x += dark * column;
                y += dark * row;
                all += dark;
            }
        }
        QVERIFY(all > 200);
        QVERIFY(std::abs(x / all - 20.25) < 0.1 && std::abs(y / all - 20.25) < 0.1);
    }
}

void ImageOperationsTest::drawsGroundShadowAndPicture()
{
    const QImage image = noisePicture({40, 30}, true, kSeed);
    const Shadow shadow{{10, 10}, 0, QColor(255, 0, 0, 128)};
    const QImage onWhite = withShadow(image, {2, 3}, shadow, {60, 50}, Qt::white);
    QVERIFY(!onWhite.hasAlphaChannel());
    QCOMPARE(onWhite.copy(2, 3, 40, 30), image);
    QCOMPARE(onWhite.pixel(0, 0), qRgb(255, 255, 255));
    QCOMPARE(onWhite.pixel(47, 38), qRgb(255, 127, 127));

    const QImage onNothing = withShadow(image, {2, 3}, shadow, {60, 50}, QColor());
    QCOMPARE(onNothing.pixel(59, 49), 0U);
    QCOMPARE(onNothing.pixel(47, 38), qRgba(128, 0, 0, 128) & 0xffff0000U);
    QVERIFY(isPremultiplied(onNothing));
}

void ImageOperationsTest::survivesOddShadows()
{
    for (const bool isOpaque : {true, false}) {
        const QImage image = noisePicture({30, 20}, isOpaque, kSeed);
        for (const double blur : {kNaN, -5.0, 1e6, kInfinity, 1e-300, 6.0}) {
            for (const double offset : {kNaN, kInfinity, -1e300, 0.999999999999, -12.5}) {
                const Shadow shadow{{offset, -offset}, blur, Qt::black};
                const QImage drawn = withShadow(image, {-3, 2}, shadow, {40, 25}, Qt::white);
                QCOMPARE(drawn.size(), QSize(40, 25));
                QCOMPARE(drawn.pixel(5, 21 - 2), qRgb(255, 255, 255) & drawn.pixel(5, 19));
            }
        }
        const int far = std::numeric_limits<int>::max();
        QCOMPARE(withShadow(image, {far, -far}, {}, {4, 4}, Qt::red).pixel(0, 0), qRgb(255, 0, 0));
    }
}

QTEST_APPLESS_MAIN(ImageOperationsTest)
#include "ImageOperationsTest.moc"
