#include "host/preview/HTTPRequest.h"

#include <QList>

#include <algorithm>
#include <optional>

namespace {

HTTPRequest refused(int status)
{
    HTTPRequest request;
    request.status = status;
    return request;
}

bool isTokenByte(char byte)
{
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
           QByteArrayView("!#$%&'*+-.^_`|~").contains(byte);
}

bool isToken(const QByteArray &text)
{
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), isTokenByte);
}

/// Nothing when an escape is none, or hides a slash or a zero byte.
std::optional<QByteArray> decoded(const QByteArray &text)
{
    QByteArray result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) != '%') {
            result.append(text.at(i));
            continue;
        }
        const QByteArray digits = text.mid(i + 1, 2);
        const QByteArray byte = QByteArray::fromHex(digits);
        if (byte.toHex() != digits.toLower() || byte.size() != 1 || byte.at(0) == '/' || byte.at(0) == '\0')
            return {};
        result.append(byte);
        i += 2;
    }
    return result;
}

bool readTarget(const QByteArray &target, HTTPRequest &request)
{
    const auto isVisible = [](char byte) { return byte > ' ' && byte < '\x7f' && byte != '#'; };
    if (!target.startsWith('/') || !std::all_of(target.begin(), target.end(), isVisible))
        return false;
    const qsizetype mark = target.indexOf('?');
    const qsizetype end = mark < 0 ? target.size() : mark;
    const std::optional<QByteArray> path = decoded(target.left(end));
    if (!path)
        return false;
    request.path = *path;
    request.query = target.mid(end);
    const QList<QByteArray> names = path->split('/');
    return std::none_of(names.begin(), names.end(),
                        [](const QByteArray &name) { return name == "." || name == ".."; });
}

/// The status that the request line leads to.
int readLine(const QByteArray &line, HTTPRequest &request)
{
    const QList<QByteArray> words = line.split(' ');
    if (words.size() != 3 || !isToken(words.at(0)) ||
        (words.at(2) != "HTTP/1.1" && words.at(2) != "HTTP/1.0"))
        return 400;
    if (words.at(0) != "GET" && words.at(0) != "HEAD")
        return 405;
    request.isHead = words.at(0) == "HEAD";
    return readTarget(words.at(1), request) ? 200 : 400;
}

bool readHeader(const QByteArray &line, HTTPRequest &request)
{
    const qsizetype colon = line.indexOf(':');
    const QByteArray name = line.left(std::max<qsizetype>(colon, 0)).toLower();
    const QByteArray value = line.mid(colon + 1).trimmed();
    const bool isText = std::none_of(value.begin(), value.end(), [](char byte) {
        return (byte >= '\0' && byte < ' ' && byte != '\t') || byte == '\x7f';
    });
    if (!isToken(name) || !isText)
        return false;
    const bool counts = name == "host" || name == "content-length" || name == "transfer-encoding";
    if (counts && request.headers.contains(name))
        return false;
    request.headers.insert(name, value);
    return true;
}

} // namespace

HTTPRequest HTTPRequest::parse(const QByteArray &received)
{
    const qsizetype lineEnd = received.indexOf("\r\n");
    if (lineEnd > kMaximumLine || (lineEnd < 0 && received.size() > kMaximumLine))
        return refused(414);
    const qsizetype end = received.indexOf("\r\n\r\n");
    if (end > kMaximumHead || (end < 0 && received.size() > kMaximumHead))
        return refused(431);
    if (end < 0)
        return {};

    HTTPRequest request;
    request.status = readLine(received.left(lineEnd), request);
    for (qsizetype at = lineEnd + 2; at < end + 2 && request.status == 200;) {
        const qsizetype next = received.indexOf("\r\n", at);
        if (!readHeader(received.mid(at, next - at), request))
            request.status = 400;
        at = next + 2;
    }
    const QByteArray length = request.headers.value("content-length", "0");
    if (request.status == 200 && (length != "0" || request.headers.contains("transfer-encoding")))
        request.status = 413;
    return request.status == 200 ? request : refused(request.status);
}
