#include "media/QFQTEXIF.h"

#include "codecs/ExifBlock.h"
#include "platform/Values.h"
#include "tests/Files.h"
#include "tests/Rows.h"
#include "tests/codecs/ExifMaker.h"

#include <QBuffer>
#include <QImage>
#include <QTemporaryDir>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

QByteArray native(qint32 number)
{
    return {reinterpret_cast<const char *>(&number), 4};
}

QByteArray encoded(const char *format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImage image(6, 4, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    image.save(&buffer, format);
    return bytes;
}

/// A PNG or WebP chunk, without its checksum, which nobody looks at here.
QByteArray chunk(const char *name, const QByteArray &bytes, bool isBigEndian)
{
    const QByteArray length = ExifMaker{isBigEndian, {}, {}}.number(bytes.size(), 4);
    return isBigEndian ? length + name + bytes + "sums" : name + length + bytes;
}

ExifMaker camera(bool isBigEndian)
{
    ExifMaker maker;
    maker.isBigEndian = isBigEndian;
    maker.first = {{0x0112, ExifMaker::Short, 1, maker.number(6, 2)}};
    maker.exif = {
        {0x829A, ExifMaker::Rational, 1, maker.number(1, 4) + maker.number(250, 4)},
        {0x8827, ExifMaker::Short, 1, maker.number(400, 2)},
        {0x9000, ExifMaker::Undefined, 4, "0232"},
        {0x9003, ExifMaker::Ascii, 20, QByteArray("2024:05:01 06:07:08\0", 20)},
        {0x9204, ExifMaker::SRational, 1, maker.number(quint32(-1), 4) + maker.number(3, 4)},
        {0xA002, ExifMaker::Long, 1, maker.number(6000, 4)},
    };
    return maker;
}

} // namespace

class QFQTEXIFTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void decodesItems_data();
    void decodesItems();
    void readsOnPastItemsThatAreNoGood();
    void readsPictures_data();
    void readsPictures();
    void readsOrientations_data();
    void readsOrientations();
    void survivesBadBlocks_data();
    void survivesBadBlocks();
    void tellsNoneFromNothing();
};

void QFQTEXIFTest::decodesItems_data()
{
    const Rows<int, QString, QByteArray, QVariant> addRow({"tag", "key", "bytes", "value"});
    const auto rational = [&](const char *name, qint32 numerator, qint32 denominator, float value) {
        addRow(name, 0x829A, u"kQTExifUserDataExposureTime"_s, native(numerator) + native(denominator),
               value);
    };
    rational("rational", 1, 250, 0.004F);
    rational("signed rational", -1, -4, 0.25F);
    rational("unsigned rational beyond the signed ones", -2, 1, -2);
    rational("rational over zero", 5, 0, 0);
    rational("rational that integers cannot divide", std::numeric_limits<qint32>::min(), -1, 2147483648.0F);
    const auto row = [&](const char *name, int tag, const char *key, const QByteArray &bytes,
                         const QVariant &value) {
        addRow(name, tag, u"kQTExifUserData"_s + QString::fromLatin1(key), bytes, value);
    };
    row("short rational", 0x829A, "ExposureTime", QByteArray(6, '\1'), {});
    row("narrow integer", 0xA002, "PixelXDimension", QByteArray("\xFF\xFF"), -1);
    row("wide integer", 0xA002, "PixelXDimension", native(-70000), -70000);
    row("integer of a wrong length", 0xA002, "PixelXDimension", QByteArray(3, '\1'), {});
    row("wide integer for a narrow one", 0x9207, "MeteringMode", native(0x0001FFFF),
        QVariant::fromValue(qint16(-1)));
    row("string with its end", 0x9003, "DateTimeOriginal", QByteArray("2024\0", 5), u"2024\0"_s);
    row("comment with its code", 0x9286, "UserComment", QByteArray("ASCII\0\0\0\xE9", 9), u"ASCII\0\0\0é"_s);
    row("empty string", 0x9286, "UserComment", QByteArray(""), u""_s);
}

void QFQTEXIFTest::decodesItems()
{
    QFETCH(int, tag);
    QFETCH(QString, key);
    QFETCH(QByteArray, bytes);
    QFETCH(QVariant, value);
    const QVariantMap dictionary = QFQTEXIF::dictionaryFromStore([&](quint32 type) {
        return type == (0x65780000U | uint(tag)) ? std::optional(bytes) : std::nullopt;
    });
    QCOMPARE(dictionary.value(key).metaType(), value.metaType());
    QVERIFY(sameValue(dictionary.value(key), value));
    QCOMPARE(dictionary.size(), value.isValid() ? 1 : 0);
}

void QFQTEXIFTest::readsOnPastItemsThatAreNoGood()
{
    int asked = 0;
    const QVariantMap dictionary =
        QFQTEXIF::dictionaryFromStore([&](quint32 type) -> std::optional<QByteArray> {
            ++asked;
            return type == 0x6578A217 ? std::optional(native(2)) : std::optional(QByteArray(5, '\1'));
        });
    QCOMPARE(asked, 37);
    QCOMPARE(dictionary.size(), 9 + 1); // strings may have any length
    QCOMPARE(dictionary.value(u"kQTExifUserDataSensingMethod"_s).toInt(), 2);
}

void QFQTEXIFTest::readsPictures_data()
{
    QTest::addColumn<QByteArray>("file");
    for (const bool isBigEndian : {false, true}) {
        const QByteArray block = camera(isBigEndian).made();
        const QByteArray named = QByteArray("Exif\0\0", 6) + block;
        const auto row = [&](const char *name, const QByteArray &file) {
            QTest::addRow("%s, %s first", name, isBigEndian ? "high bytes" : "low bytes") << file;
        };
        const QByteArray jpeg = encoded("JPEG");
        const QByteArray png = encoded("PNG");
        row("JPEG", ExifMaker::inJPEG(jpeg, block));
        row("JPEG behind XMP and filling", QByteArray("\xFF\xD8\xFF\xE1\0\x0Ahttp://x\xFF\xFF", 16) +
                                               ExifMaker::inJPEG(jpeg, block).sliced(2));
        row("JPEG with a second block", ExifMaker::inJPEG(ExifMaker::inJPEG(jpeg, 3), block));
        row("PNG", png.first(33) + chunk("eXIf", block, true) + png.sliced(33));
        row("PNG, last, with a JPEG's header", png.chopped(12) + chunk("eXIf", named, true) + png.last(12));
        row("WebP", encoded("WEBP") + chunk("EXIF", block, false));
        row("WebP, with a JPEG's header", encoded("WEBP") + chunk("EXIF", named, false));
        row("TIFF", block);
    }
}

void QFQTEXIFTest::readsPictures()
{
    QFETCH(QByteArray, file);
    QCOMPARE(ExifBlock::inPicture(file).orientation(), std::optional(6));
    const QVariantMap dictionary = QFQTEXIF::dictionaryFromPicture(file);
    QCOMPARE(dictionary.size(), 6);
    QCOMPARE(dictionary.value(u"kQTExifUserDataExposureTime"_s), QVariant(0.004F));
    QCOMPARE(dictionary.value(u"kQTExifUserDataExposureBiasValue"_s), QVariant(-1.0F / 3));
    QCOMPARE(dictionary.value(u"kQTExifUserDataISOSpeedRatings"_s), QVariant::fromValue(qint16(400)));
    QCOMPARE(dictionary.value(u"kQTExifUserDataPixelXDimension"_s), QVariant(6000));
    QCOMPARE(dictionary.value(u"kQTExifUserDataDateTimeOriginal"_s).toString(), u"2024:05:01 06:07:08\0"_s);
    // Undefined bytes are in no order.
    QCOMPARE(native(dictionary.value(u"kQTExifUserDataExifVersion"_s).toInt()), QByteArray("0232"));
}

void QFQTEXIFTest::readsOrientations_data()
{
    const Rows<int, int, int> row({"type", "value", "orientation"});
    for (int code = 1; code <= 8; ++code)
        QTest::addRow("%d", code) << int(ExifMaker::Short) << code << code;
    row("in a wide number", int(ExifMaker::Long), 8, 8);
    row("0", int(ExifMaker::Short), 0, 0);
    row("9", int(ExifMaker::Short), 9, 0);
    row("negative", int(ExifMaker::Long), -1, 0);
    row("a byte", int(ExifMaker::Byte), 6, 0);
    row("of an unknown type", 99, 6, 0);
}

void QFQTEXIFTest::readsOrientations()
{
    QFETCH(int, type);
    QFETCH(int, value);
    QFETCH(int, orientation);
    for (const bool isBigEndian : {false, true}) {
        ExifMaker maker{isBigEndian, {}, {}};
        const int size = type == ExifMaker::Long ? 4 : type == ExifMaker::Byte ? 1 : 2;
        maker.first = {{0x0112, quint16(type), 1, maker.number(quint32(value), size)}};
        QCOMPARE(ExifBlock::withData(maker.made()).orientation().value_or(0), orientation);
    }
}

void QFQTEXIFTest::survivesBadBlocks_data()
{
    const Rows<QByteArray> addRow({"block"});
    const ExifMaker maker = camera(false);
    const auto row = [&](const char *name, ExifMaker made, const ExifMaker::Entry &entry) {
        made.exif = {entry};
        addRow(name, made.made());
    };
    row("a count that overflows", maker, {0x9286, ExifMaker::Rational, 0x20000001, maker.number(0, 4)});
    row("a count beyond the end", maker, {0x9286, ExifMaker::Ascii, 0xFFFFFFFF, maker.number(8, 4)});
    row("an offset beyond the end", maker, {0x9286, ExifMaker::Ascii, 5, maker.number(0xFFFFFFFF, 4)});
    row("an unknown type", maker, {0x9286, 14, 1, "x"});
    row("no type", maker, {0x9286, 0, 1, "x"});
    addRow("a directory that is its own EXIF directory",
           QByteArray("II*\0\x08\0\0\0\1\0\x69\x87\4\0\1\0\0\0\x08\0\0\0\0\0\0\0", 26));
    addRow("a directory at itself", QByteArray("II*\0\0\0\0\0", 8));
    addRow("a directory beyond the end", QByteArray("MM\0*\xFF\xFF\xFF\xFF", 8));
    addRow("no directory", QByteArray("MM\0*", 4));
}

void QFQTEXIFTest::survivesBadBlocks()
{
    QFETCH(QByteArray, block);
    for (qsizetype length = 0; length <= block.size(); ++length)
        QCOMPARE(QFQTEXIF::dictionaryFromPicture(block.first(length)), QVariantMap());
}

void QFQTEXIFTest::tellsNoneFromNothing()
{
    const QTemporaryDir folder;
    const QString plain = folder.filePath(u"plain"_s);
    QVERIFY(write(plain, encoded("JPEG")));
    QVERIFY(!QFQTEXIF::getImageEXIF(plain));
    QCOMPARE(QFQTEXIF::getImageEXIFUsingQuickTime(plain), QVariantMap());

    const QString photo = folder.filePath(u"photo"_s);
    QVERIFY(write(photo, ExifMaker::inJPEG(encoded("JPEG"), camera(true).made())));
    QCOMPARE(QFQTEXIF::getImageEXIF(photo).value_or(QVariantMap()).size(), 6);
    QCOMPARE(QFQTEXIF::getImageEXIFUsingQuickTime(photo).size(), 6);

    const QByteArray line = "Couldn't create image source for '" + folder.path().toUtf8() + "'";
    QTest::ignoreMessage(QtWarningMsg, line.constData());
    QVERIFY(!QFQTEXIF::getImageEXIF(folder.path()));
    QCOMPARE(QFQTEXIF::getImageEXIFUsingQuickTime(folder.path()), QVariantMap());
}

QTEST_GUILESS_MAIN(QFQTEXIFTest)
#include "QFQTEXIFTest.moc"
