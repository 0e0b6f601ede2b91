#include "host/DocumentReader.h"

#include "export/NSAttributedString+QFTextViewExtensions.h"
#include "host/HTMLImporter.h"
#include "host/MarkdownImporter.h"
#include "host/ReadFiles.h"
#include "host/StyledTextJSON.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLookedAt = 4096;
constexpr qint64 kPiece = 1 << 20;

bool isBlank(char byte)
{
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n' || byte == '\f';
}

/// What stands behind a byte order mark and blanks.
QByteArrayView contentOf(QByteArrayView bytes)
{
    if (bytes.startsWith("\xEF\xBB\xBF"))
        bytes = bytes.sliced(3);
    while (!bytes.isEmpty() && isBlank(bytes.front()))
        bytes = bytes.sliced(1);
    return bytes;
}

QByteArrayView startOf(QByteArrayView bytes)
{
    return bytes.first(std::min(bytes.size(), kLookedAt));
}

QByteArrayView behindComment(QByteArrayView head)
{
    while (head.startsWith("<!--")) {
        const qsizetype end = head.indexOf("-->");
        if (end < 0)
            return head;
        head = contentOf(head.sliced(end + 3));
    }
    return head;
}

bool startsWithElement(const QByteArray &lowerCased, const char *name)
{
    if (!lowerCased.startsWith(name))
        return false;
    const auto length = static_cast<qsizetype>(qstrlen(name));
    return lowerCased.size() == length || !std::isalnum(static_cast<unsigned char>(lowerCased.at(length)));
}

bool looksLikeHTML(QByteArrayView content)
{
    const QByteArrayView head = behindComment(startOf(content));
    const QByteArray start = head.toByteArray().left(256).toLower();
    constexpr std::array<const char *, 4> roots{"<!doctype html", "<html", "<head", "<body"};
    if (std::any_of(roots.begin(), roots.end(),
                    [&](const char *root) { return startsWithElement(start, root); }))
        return true;
    if (start.startsWith("<?xml") && head.toByteArray().toLower().contains("<html"))
        return true;
    while (!content.isEmpty() && isBlank(content.back()))
        content.chop(1);
    return start.size() > 1 && start.front() == '<' &&
           std::isalpha(static_cast<unsigned char>(start.at(1))) && content.endsWith('>');
}

bool looksLikeJSON(QByteArrayView content)
{
    if (!content.startsWith('{'))
        return false;
    const QByteArrayView inside = contentOf(content.sliced(1));
    return inside.startsWith('"') || inside.startsWith('}');
}

/// Pipes hand out their bytes piece by piece; a file's size is known, or stands at 0 where the system makes
/// the file up as it is read.
QByteArray readAtMost(QFile &file, qint64 limit)
{
    QByteArray bytes = file.isSequential() ? QByteArray() : file.read(std::min(file.size(), limit));
    for (QByteArray piece = file.read(kPiece); !piece.isEmpty() && bytes.size() < limit;
         piece = file.read(kPiece))
        bytes += piece;
    return bytes;
}

DocumentResult readArchive(const QByteArray &bytes)
{
    const std::optional<NSAttributedString> text = QFTextViewExtensions::createStringFromArchive(bytes);
    return text ? DocumentResult{*text, {}} : DocumentResult::failure(u"it is no archive of a styled text"_s);
}

/// Markdown in UTF-8; a byte order mark says when it is not.
QByteArray utf8Of(const QByteArray &bytes)
{
    const auto encoding = QStringConverter::encodingForData(bytes);
    if (!encoding)
        return bytes;
    return QString(QStringDecoder(*encoding).decode(bytes)).toUtf8();
}

} // namespace

DocumentReader::Format DocumentReader::formatOf(const QByteArray &bytes)
{
    if (bytes.startsWith("bplist"))
        return Format::Archive;
    const QByteArrayView content = contentOf(bytes);
    if (content.startsWith("<?xml") || content.startsWith("<!DOCTYPE plist") ||
        content.startsWith("<plist")) {
        if (startOf(content).indexOf("<plist") >= 0)
            return Format::Archive;
    }
    if (looksLikeJSON(content))
        return Format::StyledTextJSON;
    const bool isWide =
        QStringConverter::encodingForData(bytes).value_or(QStringConverter::Utf8) != QStringConverter::Utf8;
    if (looksLikeHTML(isWide ? QByteArrayView(utf8Of(bytes.left(kLookedAt))) : content))
        return Format::HTML;
    return !isWide && bytes.left(kLookedAt).contains('\0') ? Format::Binary : Format::Markdown;
}

DocumentResult DocumentReader::readBytes(const QByteArray &bytes, const QString &baseFolder)
{
    switch (formatOf(bytes)) {
    case Format::Archive:
        return readArchive(bytes);
    case Format::StyledTextJSON:
        return StyledTextJSON::read(bytes, baseFolder);
    case Format::HTML:
        return {HTMLImporter::read(bytes, baseFolder), {}};
    case Format::Markdown:
        return MarkdownImporter::read(utf8Of(bytes), baseFolder);
    case Format::Binary:
        break;
    }
    return DocumentResult::failure(u"it is neither styled text nor HTML nor Markdown"_s);
}

DocumentResult DocumentReader::read(const QString &path)
{
    const bool isStandardInput = path == u"-";
    if (!isStandardInput)
        ReadFiles::note(path);
    QFile file(path);
    const bool isOpen =
        isStandardInput ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    if (!isStandardInput && QFileInfo(path).isDir())
        return DocumentResult::failure(path + u": is a folder"_s);
    if (!isOpen)
        return DocumentResult::failure(path + u": "_s + file.errorString());
    const QByteArray bytes = readAtMost(file, maximumBytes + 1);
    if (file.error() != QFile::NoError)
        return DocumentResult::failure(path + u": "_s + file.errorString());
    if (bytes.size() > maximumBytes)
        return DocumentResult::failure(path + u": is larger than 512 MB"_s);
    DocumentResult result = readBytes(bytes, isStandardInput ? u"."_s : QFileInfo(path).path());
    if (!result.isValid())
        result.error = path + u": "_s + result.error;
    return result;
}
