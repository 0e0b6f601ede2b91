#include "tests/Rows.h"
#include "text/NSString+CRC_Checksum.h"
#include "text/NSString+MD5_Checksum.h"
#include "text/QFDataCompress.h"

#include <QCryptographicHash>
#include <QTest>

#include <array>

#include <zlib.h>

using namespace Qt::StringLiterals;

class ChecksumsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void digests_data();
    void digests();
    void digestsPieceByPiece();
    void compresses();
    void compressesNothingThatDoesNotShrink_data();
    void compressesNothingThatDoesNotShrink();
};

namespace {

/// Bit by bit, as the checksum is defined.
QByteArray plainCRC(const QByteArray &bytes)
{
    quint32 crc = 0xFFFFFFFF;
    for (const char byte : bytes) {
        crc ^= quint32(uchar(byte)) << 24;
        for (int bit = 0; bit < 8; bit++)
            crc = (crc >> 31) != 0 ? (crc << 1) ^ 0x04C11DB7U : crc << 1;
    }
    crc = ~crc;
    return QByteArray::fromRawData(reinterpret_cast<const char *>(&crc), sizeof crc).toHex(); // little-endian
}

} // namespace

void ChecksumsTest::digests_data()
{
    const Rows<QString, QByteArray, QByteArray> row({"text", "crc", "md5"});
    row("check value", u"123456789"_s, "181989fc", "25f9e794323b453885f5181f1b624d0b");
    row("empty", u""_s, "00000000", "d41d8cd98f00b204e9800998ecf8427e");
    const QByteArray accented("Caf\xc3\xa9 \xf0\x9f\x8c\xb2\0after", 17);
    row("not ASCII, NUL", QString::fromUtf8(accented), plainCRC(accented),
        QCryptographicHash::hash(accented, QCryptographicHash::Md5).toHex());
    row("nil", {}, {}, {});
    row("lone surrogate", u"a"_s + QChar(0xD800), {}, {});
}

void ChecksumsTest::digests()
{
    QFETCH(QString, text);
    QTEST(CRC_Checksum::crcChecksum(text).toHex(), "crc");
    QTEST(MD5_Checksum::md5Checksum(text).toHex(), "md5");
    QFETCH(QByteArray, crc);
    QCOMPARE(CRC_Checksum::crcChecksum(text).isNull(), crc.isNull());
    QCOMPARE(MD5_Checksum::md5Checksum(text).isNull(), crc.isNull());
}

void ChecksumsTest::digestsPieceByPiece()
{
    // Pairs of surrogates fall across the border of pieces for one of the two beginnings.
    for (const QString &start : {u""_s, u"x"_s}) {
        const QString text = start + QString::fromUtf8("\xf0\x9f\x8c\xb2").repeated(9000) + u"end"_s;
        QCOMPARE(CRC_Checksum::crcChecksum(text).toHex(), plainCRC(text.toUtf8()));
        QCOMPARE(MD5_Checksum::md5Checksum(text),
                 QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5));
    }
}

void ChecksumsTest::compresses()
{
    const QByteArray bytes(10000, 'q');
    const QByteArray packed = QFDataCompress::compress(bytes);
    std::array<char, 20000> unpacked;
    uLongf length = unpacked.size();
    QCOMPARE(uncompress(reinterpret_cast<Bytef *>(unpacked.data()), &length,
                        reinterpret_cast<const Bytef *>(packed.constData()), uLong(packed.size())),
             Z_OK);
    QCOMPARE(QByteArray(unpacked.data(), qsizetype(length)), bytes);
}

void ChecksumsTest::compressesNothingThatDoesNotShrink_data()
{
    const Rows<QByteArray> row({"bytes"});
    row("empty", "");
    row("short", QByteArray("\x8f\x01\x7c\xee\x30\x94\x5a\xd2\x66\x1b", 10));
    row("compressed", QFDataCompress::compress(QByteArray(10000, 'q')));
}

void ChecksumsTest::compressesNothingThatDoesNotShrink()
{
    QFETCH(QByteArray, bytes);
    QTest::ignoreMessage(QtWarningMsg, "zlib compress failed with error -5");
    QVERIFY(QFDataCompress::compress(bytes).isNull());
}

QTEST_GUILESS_MAIN(ChecksumsTest)

#include "ChecksumsTest.moc"
