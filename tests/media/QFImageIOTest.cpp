#include "media/QFImageIO.h"

#include "tests/Files.h"
#include "tests/Rows.h"
#include "tests/codecs/ExifMaker.h"

#include <QBuffer>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace {

constexpr QRgb kRed = 0xFFFF0000;
constexpr QRgb kGreen = 0xFF00FF00;
constexpr QRgb kBlue = 0xFF0000FF;

/// Red above, green to the left of blue below: no turn or mirror of it looks the same.
QByteArray picture(const char *format)
{
    QImage image(96, 64, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, y < 32 ? kRed : x < 48 ? kGreen : kBlue);
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, format, 95);
    return bytes;
}

QChar colourAt(const QImage &image, double x, double y)
{
    const QRgb colour = image.pixel(int(image.width() * x), int(image.height() * y));
    return qRed(colour) > 128 ? u'R' : qGreen(colour) > 128 ? u'G' : u'B';
}

/// The colours of the four quarters, row by row.
QString quarters(const QImage &image)
{
    QString colours;
    for (const double y : {0.2, 0.8}) {
        for (const double x : {0.2, 0.8})
            colours += colourAt(image, x, y);
    }
    return colours;
}

} // namespace

class QFImageIOTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void turnsThumbnailsUpright_data();
    void turnsThumbnailsUpright();
    void sizesThumbnails_data();
    void sizesThumbnails();
    void tellsProperties();
    void answersNothingForWhatIsNoPicture();
    void wrapsRasters();
};

void QFImageIOTest::turnsThumbnailsUpright_data()
{
    const Rows<int, QString> row({"orientation", "colours"});
    row("as it is", 1, u"RRGB"_s);
    row("mirrored", 2, u"RRBG"_s);
    row("upside down", 3, u"BGRR"_s);
    row("upside down, mirrored", 4, u"GBRR"_s);
    row("along the falling diagonal", 5, u"RGRB"_s);
    row("to the right", 6, u"GRBR"_s);
    row("along the rising diagonal", 7, u"BRGR"_s);
    row("to the left", 8, u"RBRG"_s);
}

void QFImageIOTest::turnsThumbnailsUpright()
{
    QFETCH(int, orientation);
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"photo"_s);
    QVERIFY(write(path, ExifMaker::inJPEG(picture("JPEG"), orientation)));
    const QImage thumbnail = QFImageIO::thumbnailFromFile(path, 48);
    QCOMPARE(thumbnail.size(), orientation < 5 ? QSize(48, 32) : QSize(32, 48));
    QTEST(quarters(thumbnail), "colours");
    const QImage image = QFImageIO::imageFromFile(path); // as it is stored
    QCOMPARE(image.size(), QSize(96, 64));
    QCOMPARE(quarters(image), u"RRGB"_s);
}

void QFImageIOTest::sizesThumbnails_data()
{
    const Rows<int, QSize> row({"size", "expected"});
    row("smaller", 30, {30, 20});
    row("one side vanishes", 1, {1, 1});
    row("its own size", 96, {96, 64});
    row("never enlarged", 1000, {96, 64});
    row("no size", 0, {});
    row("negative", -5, {});
}

void QFImageIOTest::sizesThumbnails()
{
    QFETCH(int, size);
    QFETCH(QSize, expected);
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"picture"_s);
    QVERIFY(write(path, picture("PNG")));
    const QImage thumbnail = QFImageIO::thumbnailFromFile(path, size);
    QCOMPARE(thumbnail.isNull(), expected.isEmpty());
    if (!thumbnail.isNull())
        QCOMPARE(thumbnail.size(), expected);
}

void QFImageIOTest::tellsProperties()
{
    const QTemporaryDir folder;
    ExifMaker maker;
    maker.first = {{0x0112, ExifMaker::Short, 1, maker.number(5, 2)}};
    maker.exif = {{0x8827, ExifMaker::Short, 1, maker.number(400, 2)}};
    const QByteArray photo = ExifMaker::inJPEG(picture("JPEG"), maker.made());
    const QVariantMap expected{
        {u"PixelWidth"_s, 96},
        {u"PixelHeight"_s, 64},
        {u"Orientation"_s, 5},
        {u"{Exif}"_s, QVariantMap{{u"kQTExifUserDataISOSpeedRatings"_s, QVariant::fromValue(qint16(400))}}}};
    QVERIFY(write(folder.filePath(u"photo"_s), photo));
    QCOMPARE(QFImageIO::propertiesFromFile(folder.filePath(u"photo"_s)), expected);
    QCOMPARE(QFImageIO::propertiesFromData(photo.chopped(50)), expected); // the header is enough
    const QVariantMap plain{{u"PixelWidth"_s, 96}, {u"PixelHeight"_s, 64}};
    QCOMPARE(QFImageIO::propertiesFromData(picture("BMP")), plain);
    QCOMPARE(QFImageIO::propertiesFromData(picture("TIFF")).value(u"Orientation"_s).toInt(), 1);
}

void QFImageIOTest::answersNothingForWhatIsNoPicture()
{
    const QTemporaryDir folder;
    QVERIFY(write(folder.filePath(u"text.jpg"_s), "no picture"));
    QVERIFY(write(folder.filePath(u"cut.jpg"_s), picture("JPEG").first(40)));
    for (const QString &path : {folder.path(), folder.filePath(u"none"_s), folder.filePath(u"text.jpg"_s),
                                folder.filePath(u"cut.jpg"_s), u"/dev/zero"_s, QString()}) {
        QVERIFY(QFImageIO::imageFromFile(path).isNull());
        QVERIFY(QFImageIO::thumbnailFromFile(path, 10).isNull());
        QVERIFY(QFImageIO::propertiesFromFile(path).isEmpty());
    }
    QVERIFY(QFImageIO::propertiesFromData({}).isEmpty());
}

void QFImageIOTest::wrapsRasters()
{
    QVERIFY(!QFImageIO::imageFromCGImage({}));
    QImage raster(5, 3, QImage::Format_Grayscale8);
    raster.fill(0x40);
    raster.setDevicePixelRatio(2);
    const NSImagePtr image = QFImageIO::imageFromCGImage(raster);
    QVERIFY(image);
    QCOMPARE(image->size(), (NSSize{5, 3}));
    QCOMPARE(image->bitmap().pixel(4, 2), 0xFF404040);
}

QTEST_GUILESS_MAIN(QFImageIOTest)
#include "QFImageIOTest.moc"
