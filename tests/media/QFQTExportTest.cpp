#include "media/QFQTExport.h"
#include "media/QFImage.h"
#include "platform/QFReport.h"
#include "tests/Files.h"
#include "tests/Rows.h"
#include "tests/codecs/ExifMaker.h"
#include "tests/media/Pictures.h"

#include <QFile>
#include <QImageReader>
#include <QTemporaryDir>

#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

constexpr qint32 code(const char (&name)[5])
{
    return name[0] << 24 | name[1] << 16 | name[2] << 8 | name[3];
}

} // namespace

class QFQTExportTest : public QObject
{
    Q_OBJECT

    QTemporaryDir _folder;

    QString written(const QByteArray &bytes, const QString &name) const
    {
        const QString path = _folder.filePath(name);
        return write(path, bytes) ? path : QString();
    }

private Q_SLOTS:
    void writesEachFormat_data()
    {
        const Rows<qint32, QByteArray> row({"format", "written"});
        row("GIF", code("GIFf"), "gif");
        row("PNG", code("PNGf"), "png");
        row("TIFF", code("TIFF"), "tiff");
        row("BMP", code("BMPf"), "bmp");
        row("JPEG", code("JPEG"), "jpeg");
        row("anything else", code("MooV"), "jpeg");
        row("none", -1, "jpeg");
    }
    void writesEachFormat()
    {
        QFETCH(const qint32, format);
        const QString path = _folder.filePath(u"any.suffix"_s);
        const auto exporter = QFQTExport::exporterWithData(fileOf(pictureOf(40, 30), "PNG"));
        exporter->setDestination(path);
        exporter->setFormat(format);
        QCOMPARE(exporter->exportImage(), 0);
        QImageReader reader(path);
        reader.setDecideFormatFromContent(true);
        QTEST(reader.format(), "written");
        QVERIFY(greatestDifference(reader.read().convertToFormat(QImage::Format_RGB32), pictureOf(40, 30)) <
                60);
    }
    void hasFourQualities()
    {
        const auto sizeAt = [&](qint32 quality) {
            const auto exporter = QFQTExport::exporterWithData(fileOf(pictureOf(400, 300), "PNG"));
            exporter->setDestination(_folder.filePath(u"quality.jpg"_s));
            exporter->setQuality(quality);
            return exporter->exportImage() == 0 ? contents(exporter->destination()).size() : -1;
        };
        const qsizetype threeQuarters = sizeAt(0);
        QVERIFY(sizeAt(256) < sizeAt(512) && sizeAt(512) < threeQuarters && threeQuarters < sizeAt(1024));
        // High quality is no more than the general one.
        QCOMPARE(sizeAt(768), threeQuarters);
        QCOMPARE(sizeAt(1023), threeQuarters);
    }
    void fitsIntoASize()
    {
        const auto exported = [&](float width, float height, bool square) {
            const auto exporter = QFQTExport::exporterWithData(fileOf(pictureOf(400, 200), "PNG"));
            exporter->setDestination(_folder.filePath(u"sized.png"_s));
            exporter->setFormat(code("PNGf"));
            exporter->setWidth(width);
            exporter->setHeight(height);
            exporter->setSquareImage(square);
            return exporter->exportImage() == 0 ? QImage(exporter->destination()).size() : QSize();
        };
        QCOMPARE(exported(100, 100, false), QSize(100, 50));
        QCOMPARE(exported(99.2F, 99.2F, false), QSize(100, 50)); // rounded up
        QCOMPARE(exported(800, 800, false), QSize(800, 400));
        QCOMPARE(exported(100, 0, false), QSize(400, 200)); // one size alone asks for nothing
        QCOMPARE(exported(100, 100, true), QSize(50, 50));
    }
    void sharesItsAttributes()
    {
        const QString source =
            written(ExifMaker::inJPEG(fileOf(pictureOf(40, 20), "JPEG"), 6), u"oriented.jpg"_s);
        const auto exporter = QFQTExport::exporterWithFile(source);
        exporter->setDestination(_folder.filePath(u"turned.png"_s));
        exporter->setFormat(code("PNGf"));
        const auto attributes = std::make_shared<QVariantMap>();
        exporter->setAttributes(attributes);
        QCOMPARE(exporter->exportImage(), 0);
        QCOMPARE(attributes->value(u"orientation"_s).toInt(), 6);
        QCOMPARE(QImage(exporter->destination()).size(), QSize(20, 40));

        // ... and for another map as well.
        exporter->setAttributes(std::make_shared<QVariantMap>());
        QCOMPARE(exporter->exportImage(), 0);
        QVERIFY(exporter->attributes()->contains(u"orientation"_s));

        // Without attributes the picture stays as it is stored.
        const auto plain = QFQTExport::exporterWithFile(source);
        plain->setDestination(_folder.filePath(u"plain.png"_s));
        plain->setFormat(code("PNGf"));
        QCOMPARE(plain->exportImage(), 0);
        QCOMPARE(QImage(plain->destination()).size(), QSize(40, 20));
    }
    void failsBeforeWriting()
    {
        const QString target = _folder.filePath(u"never.jpg"_s);
        const QString missing = _folder.filePath(u"missing"_s);
        QTest::ignoreMessage(QtWarningMsg, qPrintable(u"[QFQTExport getImageDescription] failed for "_s +
                                                      missing + u" with status=-43\n"_s));
        for (const auto &exporter :
             {QFQTExport::exporterWithFile(missing), QFQTExport::exporterWithData("no picture")}) {
            exporter->setDestination(target);
            QCOMPARE(exporter->exportImage(), -50);
            QCOMPARE(exporter->status(), -50);
        }
        QVERIFY(!QFile::exists(target));
        const auto exporter = QFQTExport::exporterWithData(fileOf(pictureOf(4, 3), "PNG"));
        QCOMPARE(exporter->exportImage(), -50);
    }
    void answersTheSystemsErrors()
    {
        const auto status = [](const QString &destination) {
            const auto exporter = QFQTExport::exporterWithData(fileOf(pictureOf(4, 3), "PNG"));
            exporter->setDestination(destination);
            return exporter->exportImage();
        };
        QCOMPARE(status(_folder.filePath(u"no/folder.jpg"_s)), ENOENT);
        QCOMPARE(status(_folder.path()), EISDIR);
        QCOMPARE(status(_folder.filePath(u"a\0b"_s)), ENOENT);
        const auto exporter = QFQTExport::exporterWithData(fileOf(pictureOf(4, 3), "PNG"));
        exporter->setDestination(_folder.path());
        QCOMPARE(exporter->exportImage(), EISDIR);
        exporter->setDestination(_folder.filePath(u"after.jpg"_s));
        QCOMPARE(exporter->exportImage(), 0);
        QCOMPARE(exporter->status(), 0);
        QCOMPARE(exporter->exportedBytes(), contents(exporter->destination()));
    }
    void leavesAnEmptyFileBehind_data()
    {
        const Rows<QByteArray, QVariantMap> row({"source", "attributes"});
        const QByteArray jpeg = fileOf(pictureOf(400, 300), "JPEG");
        row("cut off", jpeg.left(jpeg.size() / 2), {});
        row("cut off, framed", jpeg.left(jpeg.size() / 2), {{u"enableborder"_s, true}, {u"bordersize"_s, 2}});
        row("scaled to nothing", jpeg, {{u"lockratios"_s, true}, {u"scale"_s, 0}});
    }
    void leavesAnEmptyFileBehind()
    {
        QFETCH(const QByteArray, source);
        QFETCH(const QVariantMap, attributes);
        const QString path = written("old", u"broken.jpg"_s);
        const auto exporter = QFQTExport::exporterWithData(source);
        exporter->setDestination(path);
        if (!attributes.isEmpty())
            exporter->setAttributes(std::make_shared<QVariantMap>(attributes));
        QTest::ignoreMessage(QtWarningMsg, "Failed to write image to disk");
        QCOMPARE(exporter->exportImage(), 0);
        QVERIFY(QFile::exists(path));
        QVERIFY(contents(path).isEmpty());
    }
    void writesOverItsOwnSource()
    {
        const QString path = written(fileOf(pictureOf(40, 30), "PNG"), u"own.png"_s);
        const auto exporter = QFQTExport::exporterWithFile(path);
        exporter->setDestination(path);
        exporter->setFormat(code("PNGf"));
        QCOMPARE(exporter->exportImage(), 0);
        QCOMPARE(greatestDifference(QImage(path).convertToFormat(QImage::Format_RGB32), pictureOf(40, 30)),
                 0);
    }
    void drawsDirectly()
    {
        const auto exporter = QFQTExport::exporterWithData(fileOf(pictureOf(4, 3), "PNG"));
        exporter->setFlipHorizontally(true);
        exporter->setRotation(90);
        const QImage image = pictureOf(40, 20);
        const QImage turned = exporter->resizedCGImage(image, {40, 20});
        QCOMPARE(greatestDifference(turned, image.mirrored(true, false).transformed(QTransform().rotate(90))),
                 0);
        exporter->setClip(true);
        exporter->setFillColour(NSColor::calibratedRGB(1, 1, 0));
        const QImage clipped = exporter->resizedCGImage(image, {40, 20});
        QCOMPARE(clipped.size(), QSize(40, 20));
        QCOMPARE(clipped.pixel(0, 0), qRgb(255, 255, 0));
        QTest::ignoreMessage(QtWarningMsg, "Could not convert 'NSPatternColorSpace' to RGB colour space");
        exporter->setFillColour(NSColor{0, 0, 0, 1, NSColorSpaceName::Pattern});
        QCOMPARE(exporter->resizedCGImage(image, {40, 20}).pixel(0, 0), qRgb(255, 255, 255));
        QTest::ignoreMessage(QtWarningMsg, "CGBitmapContextCreate returned nil");
        QVERIFY(exporter->resizedCGImage(image, {1e9F, 20}).isNull());
    }
};

QTEST_GUILESS_MAIN(QFQTExportTest)
#include "QFQTExportTest.moc"
