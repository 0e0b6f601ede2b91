#include "imaging/RowScaler.h"
#include "imaging/ImageOperations.h"

#include "tests/Rows.h"
#include "tests/imaging/Pictures.h"

#include <cmath>

using ImageOperations::scaled;

namespace {

constexpr quint32 kSeed = 20'24;

QImage scaledByRows(const QImage &image, const QRectF &crop, const QSize &target)
{
    RowScaler scaler(image.width(), crop, target, !image.hasAlphaChannel());
    for (int y = 0; y < image.height(); ++y)
        scaler.addRow(reinterpret_cast<const QRgb *>(image.constScanLine(y)));
    return scaler.takeImage();
}

/// The filter written down plainly, in doubles: one component at one place.
double lanczosAlong(const std::function<double(int)> &at, int length, double begin, double end, int count,
                    int i)
{
    const double step = (end - begin) / count;
    const double stretch = step > 1 ? step * 1.015 : 1;
    const double centre = begin + (i + 0.5) * step - 0.5;
    const auto sinc = [](double x) { return x == 0 ? 1 : std::sin(M_PI * x) / (M_PI * x); };
    double sum = 0;
    double weights = 0;
    for (int n = int(std::floor(centre - 3 * stretch)); n <= std::ceil(centre + 3 * stretch); ++n) {
        const double x = (n - centre) / stretch;
        const double weight = std::abs(x) < 3 ? sinc(x) * sinc(x / 3) : 0;
        const int low = int(std::floor(begin));
        const int high = std::min(length, int(std::ceil(end))) - 1;
        sum += weight * at(std::clamp(n, low, high));
        weights += weight;
    }
    return sum / weights;
}

} // namespace

class RowScalerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsAFlatPictureFlat_data();
    void keepsAFlatPictureFlat();
    void isLanczos_data();
    void isLanczos();
    void sidesAndDirectionsAreAlike();
    void stripesTooFineForTheResultTurnGrey_data();
    void stripesTooFineForTheResultTurnGrey();
    void pixelsOutsideTheCropNeverShow();
    void givesTheVeryPixelsWhereNothingIsScaled();
    void staysPremultiplied();
    void survivesWhatIsOdd();
};

void RowScalerTest::keepsAFlatPictureFlat_data()
{
    const Rows<QSize, QSize> row({"size", "target"});

    row("shrunk little", {50, 40}, {37, 29});
    row("shrunk much", {500, 401}, {21, 7});
    row("just above fourfold", {401, 401}, {100, 100});
    row("to one pixel", {999, 1001}, {1, 1});
    row("enlarged", {7, 5}, {100, 333});
    row("from one pixel", {1, 1}, {40, 40});
    row("wider and flatter", {10, 700}, {300, 8});
    row("narrower and taller", {700, 10}, {8, 300});
    row("longest side", {65'535, 1}, {3, 40});
    row("tallest side", {1, 65'535}, {5, 2});
}

void RowScalerTest::keepsAFlatPictureFlat()
{
    QFETCH(const QSize, size);
    QFETCH(const QSize, target);

    for (const QRgb colour : {0xffffffffU, 0xff000000U, 0xfffe0180U, 0x80402001U, 0x01010000U, 0xff7f7f81U}) {
        const bool isOpaque = qAlpha(colour) == 255;
        QImage image(size, isOpaque ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied);
        image.fill(colour);
        QImage expected(target, image.format());
        expected.fill(colour);
        QCOMPARE(scaled(image, image.rect(), target), expected);
    }
}

void RowScalerTest::isLanczos_data()
{
    const Rows<QRectF, QSize> row({"crop", "target"});

    row("shrunk", {0, 0, 60, 45}, {41, 23});
    row("enlarged", {0, 0, 60, 45}, {97, 90});
    row("between pixels", {3.25, 4.5, 50.3, 33.75}, {20, 30});
    row("in one direction", {0, 0, 60, 45}, {60, 20});
    row("up and down at once", {0, 0, 60, 45}, {25, 80});
}

void RowScalerTest::isLanczos()
{
    QFETCH(const QRectF, crop);
    QFETCH(const QSize, target);

    const QImage image = noisePicture({60, 45}, true, kSeed);
    const QImage result = scaledByRows(image, crop, target);
    QCOMPARE(result.size(), target);
    for (int y = 0; y < target.height(); y += 3) {
        for (int x = 0; x < target.width(); ++x) {
            const auto inRow = [&](int row) {
                return lanczosAlong([&](int column) { return qGreen(image.pixel(column, row)); }, 60,
                                    crop.left(), crop.right(), target.width(), x);
            };
            const double expected = std::clamp(
                lanczosAlong(inRow, 45, crop.top(), crop.bottom(), target.height(), y), 0.0, 255.0);
            QVERIFY2(std::abs(qGreen(result.pixel(x, y)) - expected) < 0.75,
                     qPrintable(QStringLiteral("%1, %2").arg(x).arg(y)));
        }
    }
}

void RowScalerTest::sidesAndDirectionsAreAlike()
{
    const QImage image = noisePicture({431, 297}, false, kSeed);
    const auto transposed = [](const QImage &of) { return of.transformed(QTransform(0, 1, 1, 0, 0, 0)); };
    for (const QSize target : {QSize(100, 200), QSize(50, 31), QSize(500, 31), QSize(600, 500)}) {
        const QImage result = scaled(image, image.rect(), target);
        QVERIFY(greatestDifference(scaled(image.mirrored(true, true), image.rect(), target),
                                   result.mirrored(true, true)) <= 1);
        const QImage other = transposed(image);
        QVERIFY(greatestDifference(scaled(other, other.rect(), target.transposed()), transposed(result)) <=
                1);
    }
}

void RowScalerTest::stripesTooFineForTheResultTurnGrey_data()
{
    const Rows<double, int> row({"period", "target"});

    row("single pixels", 2.0, 300);
    row("just too fine", 4.0, 300);
    row("far too fine", 2.7, 100);
    row("after means", 9.1, 60);
    row("as wide as the means", 6.67, 50);
}

void RowScalerTest::stripesTooFineForTheResultTurnGrey()
{
    QFETCH(const double, period);
    QFETCH(const int, target);

    QImage image(1000, 1000, QImage::Format_RGB32);
    for (int y = 0; y < 1000; ++y) {
        for (int x = 0; x < 1000; ++x) {
            const int column = int(std::lround(127.5 + 127.5 * std::sin(2 * M_PI * x / period)));
            const int row = int(std::lround(127.5 + 127.5 * std::sin(2 * M_PI * y / period)));
            image.setPixel(x, y, qRgb(column, row, 0));
        }
    }
    const QImage result = scaled(image, image.rect(), {target, target});
    // Edges ring.
    for (int y = 6; y < target - 6; ++y) {
        for (int x = 6; x < target - 6; ++x) {
            QVERIFY(std::abs(qRed(result.pixel(x, y)) - 127) < 12);
            QVERIFY(std::abs(qGreen(result.pixel(x, y)) - 127) < 12);
        }
    }
}

void RowScalerTest::pixelsOutsideTheCropNeverShow()
{
    for (const QSize target : {QSize(20, 15), QSize(5, 5), QSize(100, 100), QSize(40, 30)}) {

        const QRect crop(11, 7, 40, 30);
        QImage image(80, 60, QImage::Format_RGB32);
        image.fill(Qt::white);
        for (int y = crop.top(); y <= crop.bottom(); ++y) {
            for (int x = crop.left(); x <= crop.right(); ++x)
                image.setPixelColor(x, y, QColor(30, 60, 90));
        }
        QImage expected(target, QImage::Format_RGB32);
        expected.fill(QColor(30, 60, 90));
        QCOMPARE(scaled(image, crop, target), expected);
        QCOMPARE(scaledByRows(image, crop, target), expected);
    }
}

void RowScalerTest::givesTheVeryPixelsWhereNothingIsScaled()
{
    const QImage image = noisePicture({61, 47}, false, kSeed);
    QCOMPARE(scaled(image, image.rect(), image.size()), image);
    QCOMPARE(scaledByRows(image, QRectF(5, 6, 30, 20), {30, 20}), image.copy(5, 6, 30, 20));
}

void RowScalerTest::staysPremultiplied()
{
    const QImage image = noisePicture({300, 200}, false, kSeed);
    for (const QSize target : {QSize(200, 133), QSize(40, 20), QSize(411, 500)}) {
        const QImage result = scaled(image, image.rect(), target);
        QVERIFY(result.format() == QImage::Format_ARGB32_Premultiplied && isPremultiplied(result));
    }
}

void RowScalerTest::survivesWhatIsOdd()
{
    const QImage image = noisePicture({20, 10}, true, kSeed);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const QRectF &crop : {QRectF(nan, 0, 5, 5), QRectF(0, 0, nan, 1e300), QRectF(-5, -5, 1e9, 1e9),
                               QRectF(19.9999999, 9.9999999, 0, 0), QRectF(400, 300, 5, 5)})
        scaledByRows(image, crop, {7, 300});
    // Too few rows: the last one stands for the others.
    const QImage cut = scaledByRows(image, QRectF(0, 0, 20, 40), {20, 40});
    QCOMPARE(cut.copy(0, 39, 20, 1), image.copy(0, 9, 20, 1));
    QVERIFY(!scaledByRows(image, QRectF(0, 0, 20, 400), {10, 10}).isNull());
    QVERIFY(RowScaler(5, QRectF(0, 0, 5, 5), {3, 3}, true).takeImage().isNull());
    QVERIFY(scaled({}, QRect(0, 0, 5, 5), {5, 5}).isNull());
    QVERIFY(scaled(image, QRect(50, 50, 5, 5), {5, 5}).isNull());
}

QTEST_APPLESS_MAIN(RowScalerTest)
#include "RowScalerTest.moc"
