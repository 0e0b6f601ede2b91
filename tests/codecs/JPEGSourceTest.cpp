#include "codecs/ImageSource.h"
#include "imaging/ImageOperations.h"
#include "tests/Rows.h"
#include "tests/codecs/TestPictures.h"

#include <QColorSpace>

#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>
#include <lcms2.h>

Q_DECLARE_METATYPE(J_COLOR_SPACE)

using namespace TestPictures;

namespace {

/// Writes files as other programs do: of any colours and markers.
QByteArray written(QSize size, J_COLOR_SPACE space, const std::function<int(int, int, int)> &component,
                   const QByteArray &profile = {}, bool isAdobe = true, QSize sampling = {2, 2})
{
    jpeg_compress_struct encoder{};
    jpeg_error_mgr errors{};
    unsigned char *bytes = nullptr;
    unsigned long length = 0;
    encoder.err = jpeg_std_error(&errors);
    jpeg_create_compress(&encoder);
    jpeg_mem_dest(&encoder, &bytes, &length);
    encoder.image_width = JDIMENSION(size.width());
    encoder.image_height = JDIMENSION(size.height());
    encoder.in_color_space = space;
    encoder.input_components = space == JCS_CMYK ? 4 : (space == JCS_GRAYSCALE ? 1 : 3);
    jpeg_set_defaults(&encoder);
    jpeg_set_quality(&encoder, 100, TRUE);
    encoder.write_Adobe_marker = isAdobe ? TRUE : FALSE;
    if (space == JCS_RGB) {
        encoder.comp_info[0].h_samp_factor = sampling.width();
        encoder.comp_info[0].v_samp_factor = sampling.height();
    }
    jpeg_start_compress(&encoder, TRUE);
    if (!profile.isEmpty())
        jpeg_write_icc_profile(&encoder, reinterpret_cast<const JOCTET *>(profile.constData()),
                               unsigned(profile.size()));
    std::vector<JSAMPLE> row(size_t(size.width() * encoder.input_components));
    for (int y = 0; y < size.height(); ++y) {
        for (size_t i = 0; i < row.size(); ++i)
            row[i] =
                JSAMPLE(component(int(i) % encoder.input_components, int(i) / encoder.input_components, y));
        JSAMPROW pointer = row.data();
        jpeg_write_scanlines(&encoder, &pointer, 1);
    }
    jpeg_finish_compress(&encoder);
    jpeg_destroy_compress(&encoder);
    const QByteArray result(reinterpret_cast<const char *>(bytes), qsizetype(length));
    std::free(bytes);
    return result;
}

QImage imageIn(const QByteArray &bytes)
{
    const ImageSourcePtr source = ImageSource::withData(bytes);
    return source ? source->image() : QImage();
}

bool isNear(QRgb colour, QRgb other, int tolerance = 4)
{
    return std::abs(qRed(colour) - qRed(other)) <= tolerance &&
           std::abs(qGreen(colour) - qGreen(other)) <= tolerance &&
           std::abs(qBlue(colour) - qBlue(other)) <= tolerance;
}

} // namespace

class JPEGSourceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsInks();
    void readsGrey();
    void decodesPartsAndSizes_data();
    void decodesPartsAndSizes();
    void decodesLargeOnes_data();
    void decodesLargeOnes();
    void reducesColoursOfAnySampling_data();
    void reducesColoursOfAnySampling();
    void givesUpOnBrokenCode();
    void boundsScans();
};

void JPEGSourceTest::readsInks()
{
    // Some cyan, no magenta, much yellow, little black.
    const std::array<int, 4> inks{100, 0, 200, 30};
    const QRgb expected = qRgb(155 * 225 / 255, 225, 55 * 225 / 255);
    const auto plain = [&](int i, int, int) { return inks[size_t(i)]; };
    const auto inverted = [&](int i, int, int) { return 255 - inks[size_t(i)]; };
    QVERIFY(isNear(imageIn(written({16, 16}, JCS_CMYK, plain, {}, false)).pixel(5, 5), expected));
    const QByteArray adobe = written({16, 16}, JCS_CMYK, inverted);
    QVERIFY(isNear(imageIn(adobe).pixel(5, 5), expected));
    QVERIFY(isNear(ImageSource::withData(adobe)->scaled({0, 0, 16, 16}, {3, 3}).pixel(1, 1), expected));
}

void JPEGSourceTest::readsGrey()
{
    const auto ramp = [](int, int x, int) { return x * 255 / 63; };
    QVERIFY(isNear(imageIn(written({64, 8}, JCS_GRAYSCALE, ramp)).pixel(31, 3), qRgb(125, 125, 125), 2));
    // With a profile of linear light the middle is brighter.
    cmsToneCurve *curve = cmsBuildGamma(nullptr, 1.0);
    const cmsHPROFILE profile = cmsCreateGrayProfile(cmsD50_xyY(), curve);
    cmsUInt32Number size = 0;
    QVERIFY(cmsSaveProfileToMem(profile, nullptr, &size));
    QByteArray bytes(qsizetype(size), 0);
    QVERIFY(cmsSaveProfileToMem(profile, bytes.data(), &size));
    cmsCloseProfile(profile);
    cmsFreeToneCurve(curve);
    const QByteArray file = written({64, 8}, JCS_GRAYSCALE, ramp, bytes);
    QVERIFY(isNear(imageIn(file).pixel(31, 3), qRgb(185, 185, 185)));
    QCOMPARE(ImageSource::withData(file)->scaled({0, 0, 64, 8}, {64, 8}), imageIn(file));
    // A profile of other colours, or none at all, changes nothing.
    for (const QByteArray &wrong : {QColorSpace(QColorSpace::AdobeRgb).iccProfile(), QByteArray("broken")})
        QVERIFY(isNear(imageIn(written({64, 8}, JCS_GRAYSCALE, ramp, wrong)).pixel(31, 3),
                       qRgb(125, 125, 125), 2));
}

void JPEGSourceTest::decodesPartsAndSizes_data()
{
    const Rows<int, bool> row({"quality", "isProgressive"});
    row("baseline", 75, false);
    row("full colour", 98, false);
    row("progressive", 75, true);
}

void JPEGSourceTest::decodesPartsAndSizes()
{
    QFETCH(int, quality);
    QFETCH(bool, isProgressive);
    // Sides that are no multiple of a block.
    const QSize size(1597, 1203);
    const ImageSourcePtr source = ImageSource::withData(file(photo(size), "jpeg", quality, isProgressive));
    const QImage whole = source->image();
    QVERIFY(likeness(whole, photo(size)) > 30);
    for (const QRect &part : {QRect(0, 0, 1597, 1203), QRect(333, 0, 900, 1203), QRect(0, 417, 1597, 700),
                              QRect(1581, 1187, 16, 16), QRect(7, 5, 1, 1), QRect(100, 90, 1400, 1100)}) {
        QCOMPARE(source->scaled(part, part.size()), whole.copy(part));
        for (const int divisor : {3, 7, 20}) {
            const QSize target(std::max(1, part.width() / divisor), std::max(1, part.height() / divisor));
            const QImage expected =
                whole.copy(part).scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            QCOMPARE_GE(likeness(source->scaled(part, target), expected), 33.0);
        }
    }
}

void JPEGSourceTest::decodesLargeOnes_data()
{
    const Rows<QByteArray> row({"bytes"});
    const QImage image = photo({4001, 2103});
    row("half colour", file(image, "jpeg", 75));
    row("full colour", file(image, "jpeg", 98));
    row("grey", file(image.convertToFormat(QImage::Format_Grayscale8), "jpeg", 90));
    // Codes are made for the picture: there are only those that it needs.
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setOptimizedWrite(true);
    QVERIFY(writer.write(image));
    row("own codes", buffer.data());
}

void JPEGSourceTest::decodesLargeOnes()
{
    QFETCH(QByteArray, bytes);
    const ImageSourcePtr source = ImageSource::withData(bytes);
    // Decoded in one go by others.
    const QImage expected = QImage::fromData(bytes).convertToFormat(QImage::Format_RGB32);
    const QImage whole = source->image();
    QVERIFY(whole == expected);
    const QRect part(517, 60, 2000, 2003);
    QVERIFY(source->scaled(part, part.size()) == expected.copy(part));
    QCOMPARE_GE(likeness(source->scaled(whole.rect(), {400, 210}),
                         expected.scaled(400, 210, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)),
                33.0);
    // On two threads.
    const QRect strip(0, 1300, 4001, 800);
    const QSize slightlyLess(2500, 500);
    QCOMPARE_GE(
        likeness(source->scaled(strip, slightlyLess), ImageOperations::scaled(expected, strip, slightlyLess)),
        40.0);

    for (const double share : {0.3, 0.7, 0.95}) {
        const ImageSourcePtr cut = ImageSource::withData(bytes.left(qsizetype(share * double(bytes.size()))));
        QVERIFY(cut->image().isNull());
        QVERIFY(cut->scaled(whole.rect(), {400, 210}).isNull());
        QVERIFY(cut->scaled(strip, slightlyLess).isNull());
    }
    for (const double share : {0.3, 0.55, 0.8}) {
        QByteArray broken = bytes;
        broken.replace(qsizetype(share * double(bytes.size())), 3, "\x12\x34\x56");
        const ImageSourcePtr damaged = ImageSource::withData(broken);
        QVERIFY(damaged->image() == damaged->image());
    }
}

void JPEGSourceTest::reducesColoursOfAnySampling_data()
{
    const Rows<J_COLOR_SPACE, QSize, double> row({"space", "sampling", "likenessToDecoder"});
    for (const QSize &sampling : {QSize(1, 1), QSize(2, 1), QSize(1, 2), QSize(2, 2), QSize(4, 1)}) {
        QTest::addRow("%d by %d", sampling.width(), sampling.height())
            << JCS_RGB << sampling << (sampling == QSize(1, 1) ? 50.0 : 40.0);
    }
    row("grey", JCS_GRAYSCALE, {1, 1}, 50.0);
}

void JPEGSourceTest::reducesColoursOfAnySampling()
{
    QFETCH(J_COLOR_SPACE, space);
    QFETCH(QSize, sampling);
    QFETCH(double, likenessToDecoder);
    const QImage image = photo({611, 437});
    const auto component = [&](int i, int x, int y) { return (image.pixel(x, y) >> (16 - 8 * i)) & 0xFF; };
    const ImageSourcePtr source =
        ImageSource::withData(written(image.size(), space, component, {}, true, sampling));
    const QImage whole = source->image();
    for (const QRect &part : {image.rect(), QRect(45, 51, 500, 301), QRect(16, 32, 64, 80)}) {
        for (const int divisor : {2, 4, 8, 17}) {
            const QImage expected = whole.copy(part).scaled(part.size() / divisor, Qt::IgnoreAspectRatio,
                                                            Qt::SmoothTransformation);
            QCOMPARE_GE(likeness(source->scaled(part, expected.size()), expected), 33.0);
        }
        // Of all coefficients; only how colour comes between its samples is not the same as elsewhere.
        for (const double factor : {0.53, 0.8}) {
            const QSize target = part.size() * factor;
            const QImage expected = ImageOperations::scaled(whole, part, target);
            QCOMPARE_GE(likeness(source->scaled(part, target), expected), likenessToDecoder);
        }
    }
}

/// What our own reader cannot read through, the common decoder gets to judge, at any size.
void JPEGSourceTest::givesUpOnBrokenCode()
{
    const QSize size(61, 43);
    const QByteArray bytes = file(photo(size), "jpeg", 75);
    const auto scaled = [&](const QByteArray &file, const QSize &target) {
        const ImageSourcePtr source = ImageSource::withData(file);
        return source ? source->scaled({QPoint(), size}, target) : QImage();
    };
    const qsizetype code = bytes.indexOf("\xFF\xDA");
    for (qsizetype length = bytes.size(); length >= 0; length -= 3) {
        const QByteArray cut = bytes.left(length);
        for (const QSize &target : {QSize(40, 28), QSize(15, 10)})
            QCOMPARE(scaled(cut, target).isNull(), imageIn(cut).isNull());
    }
    for (qsizetype at = code + 14; at < bytes.size() - 2; at += 7) {
        for (const char wrong : {'\x00', '\x7F', '\xFE', '\xFF'}) {
            QByteArray broken = bytes;
            broken[at] = wrong;
            if (!imageIn(broken).isNull())
                QCOMPARE(scaled(broken, {40, 28}).size(), QSize(40, 28));
        }
    }
}

void JPEGSourceTest::boundsScans()
{
    // The last scan, thousands of times: each time the decoder goes over all of the picture.
    QByteArray bytes = file(photo({800, 600}), "jpeg", 75, true);
    const QByteArray scan = bytes.mid(bytes.lastIndexOf("\xFF\xDA")).chopped(2);
    bytes.chop(2);
    bytes += scan.repeated(3000) + "\xFF\xD9";
    QVERIFY(imageIn(bytes).isNull());

    // 16 megapixels of arithmetic codes without a code.
    const QByteArray start = QByteArray::fromHex("ffd8 ffdb004300") + QByteArray(64, 1) +
                             QByteArray::fromHex("ffca000b080fa00fa001011100");
    const auto withScans = [&](int count) {
        return start + QByteArray::fromHex("ffda00080101 00000000") +
               QByteArray::fromHex("ffda00080101 00013f00").repeated(count) + "\xFF\xD9";
    };
    const auto isRead = [](const QByteArray &file) {
        return !ImageSource::withData(file)->scaled({0, 0, 4000, 4000}, {8, 8}).isNull();
    };
    QVERIFY(isRead(withScans(10)));
    QVERIFY(!isRead(withScans(50)));
}

QTEST_GUILESS_MAIN(JPEGSourceTest)
#include "JPEGSourceTest.moc"
