#include "Measuring.h"

#include "text/NSString+CRC_Checksum.h"
#include "text/NSString+MD5_Checksum.h"
#include "text/QFCharacterConverter.h"
#include "text/QFHTMLTextWriter.h"
#include "text/QFStrings.h"

#include <QRandomGenerator>
#include <QStringList>

#include <string>

#if defined(QF_HAS_LIBXML2)
#include <libxml/HTMLparser.h>
#endif
#if defined(QF_HAS_ICU)
#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#endif

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype textLength = 10'000'000;

QString repeatedTo(qsizetype length, QStringView piece)
{
    QString text;
    text.reserve(length + piece.size());
    while (text.size() < length)
        text += piece;
    text.truncate(length);
    return text;
}

// Letters, of which one in `every` is a special unit instead.
QString sprinkled(QStringView special, quint32 every)
{
    QRandomGenerator random(1);
    QString text(textLength, Qt::Uninitialized);
    for (QChar &unit : text)
        unit = random.bounded(every) == 0 ? special[random.bounded(special.size())]
                                          : QChar(static_cast<char16_t>(u'a' + random.bounded(26)));
    return text;
}

const QString markup =
    u"<p class=\"note\">The quick brown fox jumps over the lazy dog &amp; goes home, it's late.</p>\n"_s;
const QString french = u"Les élèves ont été reçus à l'école, où la fête a commencé dès l'après-midi. "_s;
const QString japanese = u"これは日本語の文章です。Text und Größe. "_s;

QString plainlyEscaped(const QString &text)
{
    return QString(text)
        .replace(u'&', u"&amp;"_s)
        .replace(u'<', u"&lt;"_s)
        .replace(u'>', u"&gt;"_s)
        .replace(u'\'', u"&apos;"_s)
        .replace(u'"', u"&quot;"_s);
}

void measureEscaping(const char *name, const QString &text)
{
    require(QFStringUtilities::stringEscapedForXMLElementText(text) == plainlyEscaped(text), name);
    const double ours =
        medianMilliseconds([&] { return QFStringUtilities::stringEscapedForXMLElementText(text); });
    const double theirs = medianMilliseconds([&] { return text.toHtmlEscaped(); });
    printRatio(name, ours, "QString::toHtmlEscaped", theirs);
}

QString plainlyEncoded(const QString &text)
{
    const auto &table = QFCharacterConverter::mappingTable();
    QString encoded;
    for (const QChar unit : text) {
        const auto name = table.find(unit.unicode());
        if (name == table.end() || QStringView(u"<>&\"").contains(unit))
            encoded += unit;
        else
            encoded += u'&' + QString::fromStdString(name->second) + u';';
    }
    return encoded;
}

#if defined(QF_HAS_LIBXML2)
std::string encodedByLibxml(const std::string &utf8)
{
    std::string output(utf8.size() * 4, '\0');
    size_t read = 0;
    size_t written = 0;
    while (read < utf8.size()) {
        int inputLength = static_cast<int>(utf8.size() - read);
        int outputLength = static_cast<int>(output.size() - written);
        if (htmlEncodeEntities(reinterpret_cast<unsigned char *>(output.data()) + written, &outputLength,
                               reinterpret_cast<const unsigned char *>(utf8.data()) + read, &inputLength,
                               0) < 0 ||
            inputLength == 0)
            break;
        read += static_cast<size_t>(inputLength);
        written += static_cast<size_t>(outputLength);
    }
    output.resize(written);
    return output;
}
#endif

void measureEntities(const char *name, const QString &text)
{
    require(QFStringUtilities::convertToEntities(text) == plainlyEncoded(text), name);
    const double ours = medianMilliseconds([&] { return QFStringUtilities::convertToEntities(text); });
#if defined(QF_HAS_LIBXML2)
    const std::string utf8 = text.toStdString();
    printRatio(name, ours, "htmlEncodeEntities", medianMilliseconds([&] { return encodedByLibxml(utf8); }));
#else
    printRatio(name, ours, "(no libxml2)", ours);
#endif
}

// As an export appends: many short pieces, entities and line breaks at once.
void measureWriter(qsizetype pieceLength)
{
    QList<QStringView> pieces;
    const QString text = repeatedTo(textLength, french + u'\n');
    for (qsizetype from = 0; from < text.size(); from += pieceLength)
        pieces.append(QStringView(text).sliced(from, std::min(pieceLength, text.size() - from)));
    const auto written = [&] {
        QFHTMLTextWriter writer(text.size());
        for (const QStringView piece : std::as_const(pieces))
            writer.appendText(piece);
        return writer.take();
    };
    const auto inPasses = [&] {
        QString output;
        output.reserve(text.size() * 2);
        for (const QStringView piece : std::as_const(pieces))
            output += QFStringUtilities::convertToEntities(piece.toString());
        return output.replace(u"\r\n"_s, u"\n"_s).replace(u"\r"_s, u"\n"_s).replace(u"\n"_s, u"<br />"_s);
    };
    require(written() == inPasses(), "writer");
    const std::string name = "writer, pieces of " + std::to_string(pieceLength) + " units";
    const double ours = medianMilliseconds(written);
    printRatio(name.c_str(), ours, "conversion and passes", medianMilliseconds(inPasses));
    std::printf("%44s %9.1f ns a piece\n", "", ours * 1e6 / static_cast<double>(pieces.size()));
}

#if defined(QF_HAS_ICU)
QByteArray encodedByICU(const char *charset, const QString &text)
{
    UErrorCode status = U_ZERO_ERROR;
    UConverter *converter = ucnv_open(charset, &status);
    ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_ESCAPE, UCNV_ESCAPE_XML_DEC, nullptr, nullptr,
                          &status);
    QByteArray bytes(text.size() * 8, Qt::Uninitialized);
    const int32_t length = ucnv_fromUChars(converter, bytes.data(), static_cast<int32_t>(bytes.size()),
                                           reinterpret_cast<const UChar *>(text.utf16()),
                                           static_cast<int32_t>(text.size()), &status);
    ucnv_close(converter);
    bytes.truncate(length);
    return bytes;
}
#endif

void measureCharset(const char *name, const char *charset, CFStringEncoding encoding, const QString &text)
{
    const auto encoded = [&] {
        return QFStringUtilities::dataUsingHTMLEscapesWithCFStringEncoding(text, encoding);
    };
    const double ours = medianMilliseconds(encoded);
#if defined(QF_HAS_ICU)
    require(encoded() == encodedByICU(charset, text), name);
    printRatio(name, ours, "ICU with references",
               medianMilliseconds([&] { return encodedByICU(charset, text); }));
#else
    Q_UNUSED(charset);
    printRatio(name, ours, "(no ICU)", ours);
#endif
}

/// Over ASCII text, so units are bytes: the checksum against the digest, and how much it takes a second.
void measureChecksum()
{
    const QString text = repeatedTo(textLength, markup);
    require(CRC_Checksum::crcChecksum(u"123456789"_s).toHex() == "181989fc", "checksum");
    const double ours = medianMilliseconds([&] { return CRC_Checksum::crcChecksum(text); });
    printRatio("checksum", ours, "MD5", medianMilliseconds([&] { return MD5_Checksum::md5Checksum(text); }));
    std::printf("%44s %9.2f GB/s\n", "", static_cast<double>(textLength) / ours / 1e6);
}

} // namespace

int main()
{
    measureChecksum();
    measureEscaping("XML escaping, clean", sprinkled(u"é€", 10));
    measureEscaping("XML escaping, markup", repeatedTo(textLength, markup));
    measureEscaping("XML escaping, dense (1 in 5)", sprinkled(u"<>&'\"", 5));
    measureEscaping("XML escaping, every unit", repeatedTo(textLength, u"<>&'\""));

    measureEntities("entities, accented text", repeatedTo(textLength, french));
    measureEntities("entities, 2 % accented", sprinkled(u"éàüö…“”", 50));
    measureEntities("entities, 20 % accented", sprinkled(u"éàüö…“”", 5));
    measureEntities("entities, ASCII", sprinkled(u"x", 5));
    measureEntities("entities, Japanese", repeatedTo(textLength, japanese));

    for (const qsizetype pieceLength : {10, 50, 10000})
        measureWriter(pieceLength);

    measureCharset("ASCII, accented text", "US-ASCII", kCFStringEncodingASCII,
                   repeatedTo(textLength, french));
    measureCharset("ISO Latin 1, accented text", "ISO-8859-1", kCFStringEncodingISOLatin1,
                   repeatedTo(textLength, french));
    measureCharset("ISO Latin 1, Japanese", "ISO-8859-1", kCFStringEncodingISOLatin1,
                   repeatedTo(textLength, japanese));
    measureCharset("UTF-8, accented text", "UTF-8", kCFStringEncodingUTF8, repeatedTo(textLength, french));
    measureCharset("UTF-8, Japanese", "UTF-8", kCFStringEncodingUTF8, repeatedTo(textLength, japanese));
    measureCharset("Shift-JIS, Japanese", "Shift_JIS", kCFStringEncodingShiftJIS,
                   repeatedTo(textLength, japanese));
    measureCharset("Big5, Japanese", "Big5", kCFStringEncodingBig5, repeatedTo(textLength, japanese));
    return 0;
}
