#include "text/QFStrings.h"

#include "platform/NSStringPathExtensions.h"
#include "text/QFCanonicalSearch.h"
#include "text/QFCharacterConverter.h"
#include "text/QFCharsetEncoder.h"
#include "text/QFUnitEncoder.h"
#include "text/QFXMLEscaper.h"
#include "text/SafeFilenameCharacterSet.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

constexpr std::array<bool, 128> makeLiteralUnits()
{
    std::array<bool, 128> literal{};
    for (size_t unit = 0; unit < literal.size(); ++unit)
        literal[unit] =
            (unit >= '0' && unit <= '9') || (unit >= 'A' && unit <= 'Z') || (unit >= 'a' && unit <= 'z');
    for (const char16_t unit : std::u16string_view(u" @:/-_?.=;+()#"))
        literal[unit] = true;
    return literal;
}

constexpr std::array<bool, 128> literalUnits = makeLiteralUnits();

char16_t *writeHexadecimalReference(char16_t *at, char16_t unit)
{
    *at++ = u'&';
    *at++ = u'#';
    *at++ = u'x';
    int shift = unit > 0xFFF ? 12 : unit > 0xFF ? 8 : unit > 0xF ? 4 : 0;
    for (; shift >= 0; shift -= 4)
        *at++ = u"0123456789abcdef"[(unit >> shift) & 0xF];
    *at++ = u';';
    return at;
}

/// Four lower-case hexadecimal digits.
void appendUnitNumber(QString &text, char16_t unit)
{
    for (int shift = 12; shift >= 0; shift -= 4)
        text += QChar(u"0123456789abcdef"[(unit >> shift) & 0xF]);
}

QFUnitEncoder makePHPEncoder()
{
    QFUnitEncoder encoder;
    encoder.setReplacement(u'\\', u"\\\\");
    encoder.setReplacement(u'\'', u"\\'");
    return encoder;
}

} // namespace

QString QFStringUtilities::stringEscapedForXMLElementText(const QString &text)
{
    return escapedForXML(text);
}

QString QFStringUtilities::stringEscapedForHTMLElementText(const QString &text)
{
    return escapedForXML(text);
}

QString QFStringUtilities::stringEscapedForHTMLAttribute(const QString &text)
{
    return escapedForXML(text);
}

QString QFStringUtilities::stringEscapedForInclusionInSingleQuotedPHPString(const QString &text)
{
    static const QFUnitEncoder encoder = makePHPEncoder();
    return encoder.encoded(text);
}

bool QFStringUtilities::needsConversion(char16_t unit)
{
    return unit >= literalUnits.size() || !literalUnits[unit];
}

QString QFStringUtilities::convertToNumericalReferences(const QString &text, bool all)
{
    constexpr qsizetype longestReference = 8; // "&#xffff;"
    constexpr qsizetype chunk = 4096;
    QString converted;
    converted.reserve(text.size());
    for (qsizetype from = 0; from < text.size(); from += chunk) {
        const QStringView units = QStringView(text).sliced(from, std::min(chunk, text.size() - from));
        const qsizetype size = converted.size();
        converted.resize(size + units.size() * longestReference);
        auto *const begin = reinterpret_cast<char16_t *>(converted.data());
        char16_t *at = begin + size;
        for (const QChar unit : units) {
            if (all || needsConversion(unit.unicode()))
                at = writeHexadecimalReference(at, unit.unicode());
            else
                *at++ = unit.unicode();
        }
        converted.resize(at - begin);
    }
    return converted;
}

QString QFStringUtilities::convertToEntities(const QString &text)
{
    return QFCharacterConverter::encodeUnicodeForHTML(text, true);
}

std::optional<QByteArray>
QFStringUtilities::dataUsingHTMLEscapesWithCFStringEncoding(const QString &text, CFStringEncoding encoding)
{
    try {
        return encodedWithReferences(text, encoding);
    } catch (...) {
        return std::nullopt; // no memory
    }
}

std::optional<QByteArray>
QFStringUtilities::dataUsingHTMLEscapesWithNSStringEncoding(const QString &text, NSStringEncoding encoding)
{
    return dataUsingHTMLEscapesWithCFStringEncoding(text,
                                                    CFStringConvertNSStringEncodingToEncoding(encoding));
}

qsizetype QFStringUtilities::replaceOccurrencesOfString(QString &text, const QString &target,
                                                        const QString &withString)
{
    QString replaced;
    qsizetype count = 0;
    qsizetype copied = 0;
    const QFCanonicalSearch search(text, target);
    for (NSRange hit = search.next(0); hit.location != NSNotFound; hit = search.next(hit.end())) {
        replaced.append(QStringView(text).sliced(copied, hit.location - copied));
        replaced.append(withString);
        copied = hit.end();
        ++count;
    }
    if (count > 0)
        text = replaced.append(QStringView(text).sliced(copied));
    return count;
}

bool QFStringUtilities::validWebFilename(const QString &path)
{
    const QString name = NSStringPathExtensions::lastPathComponent(path);
    return std::all_of(name.begin(), name.end(),
                       [](QChar unit) { return unit == u' ' || isSafeInFilenames(unit.unicode()); });
}

QString QFStringUtilities::stringEscapedForFilename(const QString &text)
{
    QString safe;
    safe.reserve(text.size());
    for (const QChar unit : text) {
        if (isSafeInFilenames(unit.unicode()))
            safe += unit.toLower();
        else if (unit == u' ')
            safe += u'-';
        else
            appendUnitNumber(safe, unit.unicode());
    }
    return safe;
}

QString QFStringUtilities::stripRepeatedPathSeparators(const QString &path)
{
    QString stripped;
    stripped.reserve(path.size());
    for (const QChar unit : path) {
        if (unit != u'/' || !stripped.endsWith(u'/'))
            stripped += unit;
    }
    return stripped;
}

void QFStringUtilities::appendForwardSlash(QString &path)
{
    if (!path.endsWith(u'/'))
        path += u'/';
}

QString QFStringUtilities::summarizeToSentences(const QString & /*text*/, quint64 * /*sentences*/)
{
    return {};
}
