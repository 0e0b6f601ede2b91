#include "tools/qf/Command.h"

#include "host/JSONFile.h"
#include "host/TextFile.h"
#include "platform/QFReport.h"
#include "text/NSString+CRC_Checksum.h"
#include "text/NSString+HorspoolFeng.h"
#include "text/NSString+MD5_Checksum.h"
#include "text/QFCharacterConverter.h"
#include "text/QFDataCompress.h"
#include "text/QFStrings.h"

#include <QFile>
#include <QStringDecoder>

#include <array>
#include <cstdio>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr const char *kHelp =
    R"(Usage: qf text OPERATION [arguments] < in > out

Changes text from standard input, which must be UTF-8, and writes bytes to standard output exactly.

  escape-xml                for XML and HTML text
  escape-html-attribute     for attribute values
  escape-php                for PHP literals in apostrophes
  numeric [--all]           hexadecimal references for what is not plain (with --all, for everything)
  entities [--all]          named references; with --all for < > & " too
  encode CHARSET-NUMBER     bytes of a character set, with decimal references for what it cannot hold. The
                            number is decimal or starts with 0x: 0x0600 ASCII, 0x0201 ISO Latin 1,
                            0x08000100 UTF-8, 0x0A01 Shift-JIS, 0x0A03 Big5
  filename                  a safe file name in lower case
  valid-filename            true or false: whether a file of that name (or path) may go onto a web server
  strip-separators          one slash for every run of slashes
  md5, crc                  a digest of the text, in hexadecimal
  replace MAP.json [--recursive]
                            the keys of a JSON object by their strings, all in one pass; see docs/replacement.md
                            for what that finds. --recursive searches what was put in, too
  compress                  any bytes as a zlib stream, which must not be longer than they are

Exit codes: 0 done; 1 failed (input that is not UTF-8, another character set, bytes that do not shrink); 2 wrong
usage.
)";

using Operation = QString (*)(const QString &text, bool all);

struct NamedOperation
{
    QStringView name;
    Operation run;
    bool takesAll;
};

QString hexadecimal(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toHex());
}

constexpr std::array<NamedOperation, 10> kOperations{{
    {u"escape-xml",
     [](const QString &text, bool) { return QFStringUtilities::stringEscapedForXMLElementText(text); },
     false},
    {u"escape-html-attribute",
     [](const QString &text, bool) { return QFStringUtilities::stringEscapedForHTMLAttribute(text); }, false},
    {u"escape-php",
     [](const QString &text, bool) {
         return QFStringUtilities::stringEscapedForInclusionInSingleQuotedPHPString(text);
     },
     false},
    {u"numeric",
     [](const QString &text, bool all) { return QFStringUtilities::convertToNumericalReferences(text, all); },
     true},
    {u"entities",
     [](const QString &text, bool all) { return QFCharacterConverter::encodeUnicodeForHTML(text, !all); },
     true},
    {u"filename", [](const QString &text, bool) { return QFStringUtilities::stringEscapedForFilename(text); },
     false},
    {u"valid-filename",
     [](const QString &text, bool) {
         return QFStringUtilities::validWebFilename(text) ? u"true"_s : u"false"_s;
     },
     false},
    {u"strip-separators",
     [](const QString &text, bool) { return QFStringUtilities::stripRepeatedPathSeparators(text); }, false},
    {u"md5", [](const QString &text, bool) { return hexadecimal(MD5_Checksum::md5Checksum(text)); }, false},
    {u"crc", [](const QString &text, bool) { return hexadecimal(CRC_Checksum::crcChecksum(text)); }, false},
}};

/// All of standard input, or nothing when it is not UTF-8.
std::optional<QString> readInput()
{
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = input.readAll();
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::ConvertInitialBom);
    QString text = decoder.decode(bytes);
    if (decoder.hasError() || input.error() != QFile::NoError)
        return {};
    return text;
}

int inputFailed()
{
    return failed(u"standard input is not UTF-8"_s);
}

int encode(const QString &charset)
{
    bool ok = false;
    const quint32 encoding = charset.toUInt(&ok, 0);
    if (!ok)
        return wrongUsage(u"encode needs the number of a character set; see qf text --help"_s);
    const std::optional<QString> text = readInput();
    if (!text)
        return inputFailed();
    const auto bytes = QFStringUtilities::dataUsingHTMLEscapesWithCFStringEncoding(*text, encoding);
    return bytes ? writeOutput(*bytes, {}) : failed(u"there is no character set "_s + charset);
}

/// False, with a complaint, where the map holds something else than strings.
bool readSubstrings(const QString &path, QVariantMap &substrings)
{
    QString error;
    const std::optional<QJsonObject> map = JSONFile::read(path, error);
    if (!map) {
        complain(error);
        return false;
    }
    for (auto pair = map->begin(); pair != map->end(); ++pair) {
        if (!pair->isString() || pair.key().isEmpty()) {
            complain(path + u": the keys must not be empty and the values must be strings"_s);
            return false;
        }
        substrings.insert(pair.key(), pair->toString());
    }
    return true;
}

int replace(const QString &path, bool recursively)
{
    QVariantMap substrings;
    if (!readSubstrings(path, substrings))
        return Failed;
    std::optional<QString> text = readInput();
    if (!text)
        return inputFailed();
    QFReport report;
    {
        const QFReport::Installed installed(report);
        HorspoolPang::replaceSubstrings(*text, substrings, recursively);
    }
    const int code = writeOutput(utf8WithReferences(*text), {});
    return report.records().isEmpty() ? code : Failed; // it did not end by itself
}

int compress()
{
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return failed(u"standard input cannot be read"_s);
    const QByteArray bytes = input.readAll();
    const QByteArray packed = QFDataCompress::compress(bytes.isNull() ? QByteArray("") : bytes);
    return packed.isNull() ? Failed : writeOutput(packed, {}); // what was wrong has been logged
}

} // namespace

int runText(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addOptions({{u"all"_s, {}}, {u"recursive"_s, {}}});
    if (const auto code = parsed(parser, arguments, kHelp))
        return *code;
    const QStringList words = parser.positionalArguments();
    const QString name = words.value(0);
    const bool all = parser.isSet(u"all"_s);
    if (name == u"encode" && words.size() == 2 && !all)
        return encode(words.at(1));
    if (name == u"replace" && words.size() == 2 && !all)
        return replace(words.at(1), parser.isSet(u"recursive"_s));
    if (parser.isSet(u"recursive"_s))
        return wrongUsage(u"--recursive belongs to replace; see qf text --help"_s);
    if (name == u"compress" && words.size() == 1 && !all)
        return compress();
    for (const NamedOperation &operation : kOperations) {
        if (operation.name != name || words.size() != 1 || (all && !operation.takesAll))
            continue;
        const std::optional<QString> text = readInput();
        return text ? writeOutput(utf8WithReferences(operation.run(*text, all)), {}) : inputFailed();
    }
    return wrongUsage(u"that is no operation; see qf text --help"_s);
}
