#include "text/QFStrings.h"

#include "tests/text/TextTestData.h"

#include <QTest>

#include <cerrno>

#include <iconv.h>

using namespace Qt::StringLiterals;
using QFStringUtilities::dataUsingHTMLEscapesWithCFStringEncoding;
using QFStringUtilities::dataUsingHTMLEscapesWithNSStringEncoding;

namespace {

// The plain way: one converter over the text, called again after each unit that it refuses.
QByteArray convertedByIconv(const char *charset, const QString &text)
{
    const iconv_t converter = iconv_open(charset, "UCS-2");
    QByteArray bytes(text.size() * 8 + 16, Qt::Uninitialized);
    auto *from = const_cast<char *>(reinterpret_cast<const char *>(text.utf16()));
    size_t left = static_cast<size_t>(text.size()) * 2;
    char *to = bytes.data();
    size_t room = static_cast<size_t>(bytes.size());
    while (left > 0 && iconv(converter, &from, &left, &to, &room) == static_cast<size_t>(-1)) {
        if (errno != EILSEQ)
            qFatal("the text ends in the middle of a character, or the room was too small");
        char16_t unit = 0;
        memcpy(&unit, from, sizeof unit);
        const QByteArray reference = "&#" + QByteArray::number(unit) + ';';
        memcpy(to, reference.constData(), static_cast<size_t>(reference.size()));
        to += reference.size();
        room -= static_cast<size_t>(reference.size());
        from += 2;
        left -= 2;
    }
    iconv_close(converter);
    bytes.truncate(to - bytes.data());
    return bytes;
}

} // namespace

class QFCharsetTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writesAsIconvDoes();
    void writesReferencesForWhatTheSetLacks();
    void answersNilForOtherSets();
    void mapsTheOtherNumbering();
};

void QFCharsetTest::writesAsIconvDoes()
{
    QRandomGenerator random(42);
    QStringList texts{{}};
    for (char32_t unit = 0; unit <= 0xFFFF; ++unit)
        texts.first() += QChar(static_cast<char16_t>(unit));
    for (const qsizetype length : lengthsAroundBlocks())
        texts += randomText(random, u"abcdefghijklmnopqrstuvwxyz\u007F\u0080\u00FF\u0100\u4E00\u8000\xDC00",
                            length);
    for (const auto &[encoding, charset] : {std::pair(kCFStringEncodingASCII, "ASCII"),
                                            {kCFStringEncodingISOLatin1, "LATIN1"},
                                            {kCFStringEncodingUTF8, "UTF-8"},
                                            {kCFStringEncodingShiftJIS, "SHIFT-JIS"},
                                            {kCFStringEncodingBig5, "BIG-5"}}) {
        for (const QString &text : std::as_const(texts))
            QVERIFY2(dataUsingHTMLEscapesWithCFStringEncoding(text, encoding) ==
                         convertedByIconv(charset, text),
                     charset);
    }
}

void QFCharsetTest::writesReferencesForWhatTheSetLacks()
{
    QCOMPARE(dataUsingHTMLEscapesWithCFStringEncoding(u"caf\u00E9"_s, kCFStringEncodingASCII),
             QByteArray("caf&#233;"));
    QCOMPARE(dataUsingHTMLEscapesWithCFStringEncoding(u"\u00E9"_s, kCFStringEncodingISOLatin1),
             QByteArray("\xE9"));
    // Each half on its own, though UTF-8 could hold the whole.
    QCOMPARE(dataUsingHTMLEscapesWithCFStringEncoding(u"\U0001F600"_s, kCFStringEncodingUTF8),
             QByteArray("&#55357;&#56832;"));
    const auto empty = dataUsingHTMLEscapesWithCFStringEncoding(u""_s, kCFStringEncodingBig5);
    QVERIFY(empty && !empty->isNull() && empty->isEmpty());
}

void QFCharsetTest::answersNilForOtherSets()
{
    for (const CFStringEncoding encoding : {kCFStringEncodingMacRoman, kCFStringEncodingUTF16,
                                            kCFStringEncodingWindowsLatin1, kCFStringEncodingInvalidId})
        QVERIFY(!dataUsingHTMLEscapesWithCFStringEncoding(u"a"_s, encoding));
}

void QFCharsetTest::mapsTheOtherNumbering()
{
    QCOMPARE(dataUsingHTMLEscapesWithNSStringEncoding(u"\u00E9"_s, NSUTF8StringEncoding),
             QByteArray("\xC3\xA9"));
    QCOMPARE(dataUsingHTMLEscapesWithNSStringEncoding(u"\u4E00"_s, 0x80000A03), QByteArray("\xA4\x40"));
    QCOMPARE(CFStringConvertNSStringEncodingToEncoding(NSShiftJISStringEncoding), kCFStringEncodingShiftJIS);
    for (const NSStringEncoding unknown :
         {NSStringEncoding(0), NSStringEncoding(77), NSStringEncoding(0x180000A03)})
        QCOMPARE(CFStringConvertNSStringEncodingToEncoding(unknown), kCFStringEncodingInvalidId);
    QVERIFY(!dataUsingHTMLEscapesWithNSStringEncoding(u"a"_s, NSMacOSRomanStringEncoding));
}

QTEST_APPLESS_MAIN(QFCharsetTest)
#include "QFCharsetTest.moc"
