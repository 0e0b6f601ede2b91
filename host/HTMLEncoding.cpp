#include "host/HTMLEncoding.h"

#include <QStringDecoder>

#include <array>

namespace {

/// What browsers read for the numbers 128 to 159, which are control characters in Unicode.
constexpr std::array<char16_t, 32> kWindowsCharacters{
    0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x8D,   0x017D, 0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

/// Whether a byte order mark or the page itself says what its encoding is; looks where the decoder looks.
bool namesItsEncoding(const QByteArray &html)
{
    constexpr qsizetype lookedAt = 1024;
    if (QStringConverter::encodingForData(html, u'<'))
        return true;
    const QByteArray head = html.left(lookedAt).toLower();
    const qsizetype meta = head.indexOf("meta ");
    return meta >= 0 && head.indexOf("charset=", meta) >= 0;
}

QString decodedAsWindows(const QByteArray &html)
{
    QString text = QString::fromLatin1(html);
    for (QChar &unit : text)
        unit = windowsCharacter(unit.unicode());
    return text;
}

} // namespace

char16_t windowsCharacter(char16_t number)
{
    return number >= 0x80 && number <= 0x9F ? kWindowsCharacters[number - 0x80U] : number;
}

QString decodedHTML(const QByteArray &html)
{
    const auto encoding = QStringConverter::encodingForHtml(html);
    QStringDecoder decoder = QStringDecoder::decoderForHtml(html);
    if (!decoder.isValid() || encoding == QStringConverter::Latin1)
        return decodedAsWindows(html);
    if (encoding != QStringConverter::Utf8)
        return decoder.decode(html);
    // A half character at the end is an error too, but is seen as one only if something follows.
    QString text = decoder.decode(html);
    if (const QString rest = decoder.decode("\n"); rest != u"\n")
        text += rest;
    return decoder.hasError() && !namesItsEncoding(html) ? decodedAsWindows(html) : text;
}
