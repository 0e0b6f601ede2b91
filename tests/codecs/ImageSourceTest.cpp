#include "codecs/ImageSource.h"

#include "codecs/ImageEncoder.h"
#include "tests/Files.h"
#include "tests/Rows.h"
#include "tests/codecs/TestPictures.h"

#include <QColorSpace>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtEndian>

#include <sys/stat.h>
#include <tiffio.h>

using namespace TestPictures;
using Format = ImageSource::Format;
using FileType = ImageEncoder::FileType;

namespace {

QImage imageIn(const QByteArray &bytes)
{
    const ImageSourcePtr source = ImageSource::withData(bytes);
    return source ? source->image() : QImage();
}

struct Sample
{
    const char *name;
    Format format;
    QByteArray bytes;
};

QList<Sample> samples(const QImage &image)
{
    return {{"JPEG", Format::JPEG, file(image, "jpeg", 100)},
            {"progressive JPEG", Format::JPEG, file(image, "jpeg", 100, true)},
            {"PNG", Format::PNG, file(image, "png")},
            {"GIF", Format::GIF, ImageEncoder::encoded(image, FileType::GIF)},
            {"TIFF", Format::TIFF, file(image, "tiff")},
            {"BMP", Format::BMP, file(image, "bmp")},
            {"WebP", Format::WebP, file(image, "webp", 100)},
            {"PPM", Format::Other, file(image, "ppm")}};
}

int heard = 0; ///< what libtiff has said to the host

/// A file's header that promises a picture of 50,000 x 50,000 pixels.
QByteArray bomb(QByteArray file, qsizetype widthAt, qsizetype heightAt, bool isShort, bool isBigEndian)
{
    constexpr quint16 kSide = 50'000;
    for (const qsizetype at : {widthAt, heightAt}) {
        char *bytes = file.data() + at;
        if (isShort)
            isBigEndian ? qToBigEndian<quint16>(kSide, bytes) : qToLittleEndian<quint16>(kSide, bytes);
        else
            isBigEndian ? qToBigEndian<quint32>(kSide, bytes) : qToLittleEndian<quint32>(kSide, bytes);
    }
    return file;
}

} // namespace

class ImageSourceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void leavesMessagesOfTIFFToTheHost();
    void tellsFormatsByContent();
    void readsPixelsOfAllKinds_data();
    void readsPixelsOfAllKinds();
    void convertsProfiles_data();
    void convertsProfiles();
    void scalesAndCropsAlike();
    void failsOnWhatIsCutOff();
    void survivesBrokenBytes();
    void refusesWhatIsTooLarge_data();
    void refusesWhatIsTooLarge();
    void readsRegularFilesOnly();
};

/// Comes first: handlers set after the first picture get everything.
void ImageSourceTest::leavesMessagesOfTIFFToTheHost()
{
    const TIFFErrorHandler hear = [](const char *, const char *, va_list) { ++heard; };
    TIFFSetErrorHandler(hear);
    TIFFSetWarningHandler(hear);
    // Damages of the directory, which comes last.
    const QByteArray whole = file(photo({16, 8}), "tiff");
    const auto readDamaged = [&](const auto &read) {
        for (qsizetype i = 1; i < 200; ++i) {
            QByteArray damaged = whole;
            damaged[whole.size() - i] = '\x7E';
            (void)read(damaged);
        }
    };
    readDamaged(imageIn);
    QCOMPARE(heard, 0);
    readDamaged([](const QByteArray &bytes) { return heard > 0 ? QImage() : QImage::fromData(bytes); });
    QVERIFY(heard > 0);
}

void ImageSourceTest::tellsFormatsByContent()
{
    const QImage image = photo({61, 47});
    for (const Sample &sample : samples(image)) {
        const ImageSourcePtr source = ImageSource::withData(sample.bytes);
        QVERIFY2(source, sample.name);
        QCOMPARE(source->format(), sample.format);
        QCOMPARE(source->size(), image.size());
        QCOMPARE(source->data(), sample.bytes);
        QCOMPARE(source->image().format(), QImage::Format_RGB32);
        QVERIFY2(likeness(source->image(), image) > 30, sample.name);
    }
    for (const char *text : {"", "P", "GIF89", "<svg width='9' height='9'/>", "%PDF-1.4", "RIFF....WAVE"})
        QVERIFY2(!ImageSource::withData(text), text);
}

void ImageSourceTest::readsPixelsOfAllKinds_data()
{
    const Rows<QImage> row({"image"});
    const QImage plain = photo({37, 23});
    for (const auto format : {QImage::Format_Mono, QImage::Format_Indexed8, QImage::Format_Grayscale8,
                              QImage::Format_Grayscale16, QImage::Format_RGB888, QImage::Format_RGBX64})
        QTest::addRow("opaque %d", format) << plain.convertToFormat(format);
    row("alpha", withAlpha({37, 23}));
    row("alpha of 16 bits", withAlpha({37, 23}).convertToFormat(QImage::Format_RGBA64));
    QImage indexed = plain.convertToFormat(QImage::Format_Indexed8);
    indexed.setColor(indexed.pixelIndex(5, 5), 0);
    row("a transparent colour", indexed);
}

void ImageSourceTest::readsPixelsOfAllKinds()
{
    QFETCH(QImage, image);
    const bool hasAlpha = image.hasAlphaChannel();
    const QImage expected =
        image.convertToFormat(hasAlpha ? QImage::Format_ARGB32 : QImage::Format_RGB32)
            .convertToFormat(hasAlpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    const QImage read = imageIn(file(image, "png"));
    QCOMPARE(read.format(), expected.format());
    QVERIFY(likeness(read, expected) > 55);
    // An alpha that hides nothing is none.
    QImage needless = photo({9, 9}, QImage::Format_ARGB32);
    QCOMPARE(imageIn(file(needless, "png")), photo({9, 9}));
}

void ImageSourceTest::convertsProfiles_data()
{
    const Rows<QByteArray, QImage> row({"format", "image"});
    for (const char *format : {"png", "tiff", "webp", "jpeg"})
        QTest::addRow("%s", format) << QByteArray(format) << photo({80, 60});
    row("png with alpha", "png", withAlpha({80, 60}));
}

void ImageSourceTest::convertsProfiles()
{
    QFETCH(QByteArray, format);
    QFETCH(QImage, image);
    const auto written = [&](const QColorSpace &space) {
        QImage tagged = image;
        tagged.setColorSpace(space);
        return file(tagged, format.constData(), 100);
    };
    const QImage plain = imageIn(written({}));
    QCOMPARE(imageIn(written(QColorSpace(QColorSpace::SRgb))), plain);
    QImage expected = plain;
    expected.setColorSpace(QColorSpace(QColorSpace::AdobeRgb));
    expected.convertToColorSpace(QColorSpace(QColorSpace::SRgb));
    const QImage converted = imageIn(written(QColorSpace(QColorSpace::AdobeRgb)));
    QVERIFY(!converted.colorSpace().isValid());
    QVERIFY(likeness(converted, expected) > 42);
    QVERIFY(likeness(converted, plain) < 35);
}

void ImageSourceTest::scalesAndCropsAlike()
{
    for (const Sample &sample : samples(photo({340, 250}))) {
        const ImageSourcePtr source = ImageSource::withData(sample.bytes);
        const QImage whole = source->image();
        const QRect crop(71, 39, 200, 160);
        QCOMPARE(source->scaled(whole.rect(), whole.size()), whole);
        QVERIFY2(likeness(source->scaled(crop, crop.size()), whole.copy(crop)) > 50, sample.name);
        const auto smooth = [&](const QImage &part, QSize size) {
            return part.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        };
        QVERIFY(likeness(source->scaled(whole.rect(), {85, 62}), smooth(whole, {85, 62})) > 28);
        QVERIFY(likeness(source->scaled(crop, {50, 40}), smooth(whole.copy(crop), {50, 40})) > 28);
        QVERIFY(source->scaled(crop.translated(80, 0), {50, 40}).isNull());
        QVERIFY(source->scaled(crop, {0, 40}).isNull());
        QVERIFY(source->scaled({}, {50, 40}).isNull());
    }
}

void ImageSourceTest::failsOnWhatIsCutOff()
{
    for (const Sample &sample : samples(photo({90, 70}))) {
        for (const double share : {0.1, 0.5, 0.9}) {
            const auto length = static_cast<qsizetype>(share * static_cast<double>(sample.bytes.size()));
            const ImageSourcePtr source = ImageSource::withData(sample.bytes.left(length));
            QVERIFY2(!source || source->image().isNull(), sample.name);
            QVERIFY2(!source || source->scaled({QPoint(), source->size()}, {30, 20}).isNull(), sample.name);
        }
    }
    // Only the end marker is missing.
    const QByteArray whole = file(photo({90, 70}), "jpeg", 90);
    QCOMPARE(imageIn(whole.chopped(2)), imageIn(whole));
    const QByteArray progressive = file(photo({90, 70}), "jpeg", 90, true);
    QCOMPARE(imageIn(progressive.chopped(2)), imageIn(progressive));
    // Scans are missing, though each that is there is whole.
    const qsizetype lastScan = progressive.lastIndexOf("\xFF\xDA");
    QVERIFY(imageIn(progressive.left(lastScan)).isNull());
}

void ImageSourceTest::survivesBrokenBytes()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    QRandomGenerator random(seed);
    for (const Sample &sample : samples(photo({64, 48}))) {
        for (int round = 0; round < 60; ++round) {
            QByteArray broken = sample.bytes;
            for (int i = 0; i < 4; ++i)
                broken[random.bounded(static_cast<int>(broken.size()))] =
                    static_cast<char>(random.bounded(256));
            const ImageSourcePtr source = ImageSource::withData(broken);
            if (!source || source->size().width() > 2000 || source->size().height() > 2000)
                continue;
            (void)source->image();
            (void)source->scaled({QPoint(), source->size()}, {7, 5});
        }
    }
}

void ImageSourceTest::refusesWhatIsTooLarge_data()
{
    const Rows<QByteArray> row({"bytes"});
    const QImage image = photo({40, 30});
    row("PNG", bomb(file(image, "png"), 16, 20, false, true));
    row("GIF", bomb(ImageEncoder::encoded(image, FileType::GIF), 6, 8, true, false));
    row("BMP", bomb(file(image, "bmp"), 18, 22, false, false));
    const QByteArray jpeg = file(image, "jpeg");
    const qsizetype frame = jpeg.indexOf("\xFF\xC0");
    row("JPEG", bomb(jpeg, frame + 7, frame + 5, true, true));
    row("PPM", "P6\n50000 50000\n255\n");
}

void ImageSourceTest::refusesWhatIsTooLarge()
{
    QFETCH(QByteArray, bytes);
    const ImageSourcePtr source = ImageSource::withData(bytes);
    QVERIFY(!source || source->image().isNull());
}

void ImageSourceTest::readsRegularFilesOnly()
{
    const QTemporaryDir folder;
    const QByteArray bytes = file(photo({20, 10}), "png");
    const QString path = folder.filePath(QStringLiteral("a picture.jpg"));
    QVERIFY(write(path, bytes));
    const QString link = folder.filePath(QStringLiteral("link"));
    const QString nowhere = folder.filePath(QStringLiteral("nowhere"));
    const QString pipe = folder.filePath(QStringLiteral("pipe"));
    const QString empty = folder.filePath(QStringLiteral("empty.png"));
    QVERIFY(QFile::link(path, link) && QFile::link(nowhere + u'x', nowhere));
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QVERIFY(write(empty, ""));

    for (const QString &good : {path, link}) {
        const ImageSourcePtr source = ImageSource::withFile(good);
        QVERIFY(source && source->format() == Format::PNG && source->data() == bytes);
    }
    for (const QString &bad : {nowhere, pipe, empty, folder.path(), QStringLiteral("/dev/zero"), QString(),
                               path + QStringLiteral("x"), path + QChar(u'\0')})
        QVERIFY2(!ImageSource::withFile(bad), qPrintable(bad));
}

QTEST_GUILESS_MAIN(ImageSourceTest)
#include "ImageSourceTest.moc"
