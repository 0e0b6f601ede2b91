#include "codecs/ImageEncoder.h"

#include "codecs/ImageSource.h"
#include "tests/Rows.h"
#include "tests/codecs/TestPictures.h"

#include <QColorSpace>
#include <QSet>

using namespace TestPictures;
using FileType = ImageEncoder::FileType;
using Format = ImageSource::Format;

Q_DECLARE_METATYPE(FileType)

namespace {

QImage readBack(const QByteArray &bytes, Format format)
{
    const ImageSourcePtr source = ImageSource::withData(bytes);
    return source && source->format() == format ? source->image() : QImage();
}

QSet<QRgb> coloursOf(const QImage &image)
{
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            colours.insert(image.pixel(x, y));
    return colours;
}

} // namespace

class ImageEncoderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsPixelsWhereTheFormatDoes_data();
    void keepsPixelsWhereTheFormatDoes();
    void laysTransparencyOnWhite();
    void writesJPEGsOfTheQualityAskedFor();
    void leavesOutMetadata();
    void choosesAPaletteForThePicture();
    void keepsFewColoursExactly();
    void keepsTransparencyOfGIFs();
    void answersNilForNothing();
};

void ImageEncoderTest::keepsPixelsWhereTheFormatDoes_data()
{
    const Rows<FileType, Format, QImage> row({"type", "format", "image"});
    const QImage opaque = photo({53, 31});
    const QImage transparent = withAlpha({53, 31}).convertToFormat(QImage::Format_ARGB32_Premultiplied);
    row("opaque PNG", FileType::PNG, Format::PNG, opaque);
    row("transparent PNG", FileType::PNG, Format::PNG, transparent);
    row("PNG of a pixel", FileType::PNG, Format::PNG, photo({1, 1}));
    row("opaque TIFF", FileType::TIFF, Format::TIFF, opaque);
    row("transparent TIFF", FileType::TIFF, Format::TIFF, transparent);
    row("opaque BMP", FileType::BMP, Format::BMP, opaque);
}

void ImageEncoderTest::keepsPixelsWhereTheFormatDoes()
{
    QFETCH(FileType, type);
    QFETCH(Format, format);
    QFETCH(QImage, image);
    const QImage back = readBack(ImageEncoder::encoded(image, type), format);
    QCOMPARE(back.format(), image.format());
    QCOMPARE(back, image);
}

void ImageEncoderTest::laysTransparencyOnWhite()
{
    QImage image(32, 16, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter(&image).fillRect(16, 0, 16, 16, QColor(255, 0, 0, 128));
    for (const auto &[type, format] :
         {std::pair(FileType::JPEG, Format::JPEG), {FileType::BMP, Format::BMP}}) {
        const QImage back = readBack(ImageEncoder::encoded(image, type, 1), format);
        QCOMPARE(back.format(), QImage::Format_RGB32);
        QCOMPARE_GE(qBlue(back.pixel(4, 8)), 253);
        QVERIFY(std::abs(qGreen(back.pixel(28, 8)) - 127) <= 3 && qRed(back.pixel(28, 8)) >= 252);
    }
}

void ImageEncoderTest::writesJPEGsOfTheQualityAskedFor()
{
    const QImage image = photo({200, 150});
    qsizetype before = 0;
    for (const float factor : {-1.0F, 0.0F, 0.25F, 0.5F, 0.75F, 1.0F}) {
        const QByteArray bytes = ImageEncoder::encoded(image, FileType::JPEG, factor);
        QCOMPARE_GE(bytes.size(), before);
        before = bytes.size();
    }
    QCOMPARE(ImageEncoder::encoded(image, FileType::JPEG, 7).size(), before);
    QVERIFY(!ImageEncoder::encoded(image, FileType::JPEG, NAN).isEmpty());
    QVERIFY(likeness(readBack(ImageEncoder::encoded(image, FileType::JPEG, 1), Format::JPEG), image) > 45);
    QVERIFY(likeness(readBack(ImageEncoder::encoded(image, FileType::JPEG), Format::JPEG), image) > 35);
}

void ImageEncoderTest::leavesOutMetadata()
{
    for (const auto type : {FileType::JPEG, FileType::PNG, FileType::GIF, FileType::TIFF, FileType::BMP}) {
        QImage image = photo({40, 30});
        image.setText(QStringLiteral("Author"), QStringLiteral("a secret name"));
        image.setColorSpace(QColorSpace(QColorSpace::AdobeRgb));
        image.setDotsPerMeterX(11811);
        image.setDotsPerMeterY(11811);
        image.setDevicePixelRatio(2);
        const QByteArray bytes = ImageEncoder::encoded(image, type);
        QVERIFY(!bytes.isEmpty());
        for (const char *trace : {"secret", "Author", "iCCP", "ICC_PROFILE", "acsp", "tEXt", "pHYs", "Exif"})
            QVERIFY2(!bytes.contains(trace), trace);
        // Nothing was converted either: the pixels stand for sRGB.
        QVERIFY(likeness(QImage::fromData(bytes), image) > 25);
    }
}

void ImageEncoderTest::choosesAPaletteForThePicture()
{
    const QImage image = photo({400, 300});
    const QImage back = readBack(ImageEncoder::encoded(image, FileType::GIF), Format::GIF);
    QCOMPARE(back.format(), QImage::Format_RGB32);
    const auto colours = coloursOf(back).size();
    QVERIFY(colours > 200 && colours <= 256);
    QVERIFY(likeness(back, image) > 34);
    // From a distance the errors cancel out.
    const auto smaller = [](const QImage &whole) {
        return whole.scaled(100, 75, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    };
    QVERIFY(likeness(smaller(back), smaller(image)) > 44);
}

void ImageEncoderTest::keepsFewColoursExactly()
{
    QImage image(64, 64, QImage::Format_RGB32);
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x)
            image.setPixel(x, y, qRgb(x / 4 * 16 + 3, y / 4 * 16 + 1, 77));
    QCOMPARE(coloursOf(image).size(), 256);
    QCOMPARE(readBack(ImageEncoder::encoded(image, FileType::GIF), Format::GIF), image);
    const QImage pixel = photo({1, 1});
    QCOMPARE(readBack(ImageEncoder::encoded(pixel, FileType::GIF), Format::GIF), pixel);
}

void ImageEncoderTest::keepsTransparencyOfGIFs()
{
    const QImage image = withAlpha({300, 200});
    const QImage back = readBack(ImageEncoder::encoded(image, FileType::GIF), Format::GIF);
    QCOMPARE(back.format(), QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            QCOMPARE(qAlpha(back.pixel(x, y)), qAlpha(image.pixel(x, y)) < 128 ? 0 : 255);
    QVERIFY(likeness(back, image) > 30);
    QImage nothing(5, 5, QImage::Format_ARGB32_Premultiplied);
    nothing.fill(Qt::transparent);
    QCOMPARE(readBack(ImageEncoder::encoded(nothing, FileType::GIF), Format::GIF), nothing);
}

void ImageEncoderTest::answersNilForNothing()
{
    for (const auto type : {FileType::JPEG, FileType::PNG, FileType::GIF, FileType::TIFF, FileType::BMP})
        QVERIFY(ImageEncoder::encoded(QImage(), type).isNull());
    // JPEG and GIF have no such sides.
    const QImage wide(70'000, 1, QImage::Format_RGB32);
    QVERIFY(ImageEncoder::encoded(wide, FileType::JPEG).isNull());
    QVERIFY(ImageEncoder::encoded(wide, FileType::GIF).isNull());
}

QTEST_APPLESS_MAIN(ImageEncoderTest)
#include "ImageEncoderTest.moc"
