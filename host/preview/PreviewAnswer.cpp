#include "host/preview/PreviewAnswer.h"

#include "host/preview/ByteRange.h"
#include "host/preview/PreviewPages.h"

#include <QFile>
#include <QMimeDatabase>

#include <algorithm>
#include <array>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kMaximumPage = 32 << 20; ///< larger ones are sent as they are
constexpr quint16 kUsualPort = 80;        ///< which browsers leave out

constexpr std::array<std::pair<int, const char *>, 14> kReasons{{{200, "OK"},
                                                                 {206, "Partial Content"},
                                                                 {302, "Found"},
                                                                 {400, "Bad Request"},
                                                                 {403, "Forbidden"},
                                                                 {404, "Not Found"},
                                                                 {405, "Method Not Allowed"},
                                                                 {408, "Request Timeout"},
                                                                 {413, "Content Too Large"},
                                                                 {414, "URI Too Long"},
                                                                 {416, "Range Not Satisfiable"},
                                                                 {431, "Request Header Fields Too Large"},
                                                                 {500, "Internal Server Error"},
                                                                 {503, "Service Unavailable"}}};

QByteArray reasonOf(int status)
{
    for (const auto &[known, reason] : kReasons) {
        if (known == status)
            return reason;
    }
    return "Error";
}

bool namesHTML(const QString &file)
{
    const QString extension = file.mid(file.lastIndexOf(u'.') + 1).toLower();
    return extension == u"html" || extension == u"htm" || extension == u"php";
}

PreviewAnswer answerOf(const QByteArray &body, const QByteArray &type, int status = 200)
{
    PreviewAnswer answer;
    answer.status = status;
    answer.type = type;
    answer.body = body;
    answer.size = body.size();
    return answer;
}

/// The answer to one request.
class Answering
{
public:
    Answering(const HTTPRequest &request, const PreviewSite &site) : _request(request), _site(site) {}

    [[nodiscard]] PreviewAnswer answer() const;

private:
    [[nodiscard]] QByteArray host() const { return _request.headers.value("host").toLower(); }
    [[nodiscard]] bool isForUs() const;
    [[nodiscard]] bool isForPage() const;
    [[nodiscard]] QByteArray scriptTag() const { return PreviewPages::scriptTag(host(), _site.version); }
    [[nodiscard]] PreviewAnswer own() const;
    [[nodiscard]] PreviewAnswer fileAt(const QByteArray &path) const;
    [[nodiscard]] PreviewAnswer page(const PreviewFolder::Found &found, bool isXHTML) const;
    [[nodiscard]] PreviewAnswer part(PreviewFolder::Found found, const QByteArray &type) const;
    [[nodiscard]] PreviewAnswer redirection() const;
    [[nodiscard]] PreviewAnswer report(int status, const QString &heading, const QString &page = {}) const;

    const HTTPRequest &_request;
    const PreviewSite &_site;
};

/// Whether the browser believes to talk to this machine. A name of somebody else's that leads here would
/// otherwise let that somebody's pages read the site.
bool Answering::isForUs() const
{
    QByteArray name = host();
    const QByteArray port = ':' + QByteArray::number(_site.port);
    if (name.endsWith(port))
        name.chop(port.size());
    else if (_site.port != kUsualPort)
        return false;
    return name == "127.0.0.1" || name == "localhost";
}

/// Whether a person would look at the answer, rather than a page take it in.
bool Answering::isForPage() const
{
    return _request.headers.value("accept").contains("text/html") &&
           _request.headers.value("sec-fetch-dest", "document") == "document";
}

PreviewAnswer Answering::answer() const
{
    if (!isForUs())
        return PreviewAnswer::refusal(403);
    if (_request.path.startsWith("/.qf/"))
        return own();
    const PreviewReport &state = _site.report;
    if (isForPage() && state.outcome == PreviewReport::Outcome::Pending)
        return report(503, u"The site is being built"_s);
    if (isForPage() && state.outcome == PreviewReport::Outcome::Failed)
        return report(500, u"The site could not be built"_s);
    const QByteArray path = _request.path.mid(1);
    if (path.isEmpty() || path.endsWith('/'))
        return fileAt(path + state.index);
    return fileAt(path);
}

PreviewAnswer Answering::own() const
{
    if (_request.path == PreviewPages::kScriptPath)
        return answerOf(PreviewPages::script(), "text/javascript; charset=utf-8");
    if (_request.path != PreviewPages::kEventsPath)
        return PreviewAnswer::refusal(404);
    PreviewAnswer answer = answerOf({}, "text/event-stream");
    answer.isEventStream = true;
    return answer;
}

PreviewAnswer Answering::fileAt(const QByteArray &path) const
{
    const QString failedPage = _site.report.failedFiles.value(path);
    if (isForPage() && !failedPage.isNull())
        return report(500, u"This page could not be made"_s, failedPage);
    PreviewFolder::Found found = _site.folder.find(path);
    if (found.kind == PreviewFolder::Kind::Folder && !_request.path.endsWith('/'))
        return redirection();
    if (found.kind != PreviewFolder::Kind::File)
        return isForPage() ? report(404, u"There is no page at "_s + QString::fromUtf8(_request.path))
                           : PreviewAnswer::refusal(404);

    std::array<char, 512> start = {};
    const qint64 count = ::pread(found.file.number(), start.data(), start.size(), 0);
    const QString name = QFile::decodeName(path);
    const QMimeType type = QMimeDatabase().mimeTypeForFileNameAndData(
        name, QByteArray(start.data(), std::max<qint64>(count, 0)));
    // What a page is, servers tell by its name: XHTML in a file of HTML would be read more strictly.
    const bool isHTML = namesHTML(name) || type.inherits(u"text/html"_s);
    const bool isXHTML = !isHTML && type.inherits(u"application/xhtml+xml"_s);
    if ((isHTML || isXHTML) && isForPage() && found.size <= kMaximumPage)
        return page(found, isXHTML);
    const QByteArray mime = isHTML ? "text/html" : type.name().toLatin1();
    const bool isPlain = !isHTML && type.inherits(u"text/plain"_s) && !type.inherits(u"application/xml"_s);
    return part(std::move(found), isPlain ? mime + "; charset=utf-8" : mime);
}

PreviewAnswer Answering::page(const PreviewFolder::Found &found, bool isXHTML) const
{
    QByteArray html(found.size, Qt::Uninitialized);
    html.truncate(std::max<qint64>(found.file.read(html.data(), html.size()), 0));
    // A page in another encoding says so itself, which the answer must not overrule.
    const QByteArray type = isXHTML ? "application/xhtml+xml" : "text/html";
    return answerOf(PreviewPages::withScript(html, scriptTag(), isXHTML),
                    html.isValidUtf8() ? type + "; charset=utf-8" : type);
}

/// Of a file, what the request asks for: movies are read so.
PreviewAnswer Answering::part(PreviewFolder::Found found, const QByteArray &type) const
{
    PreviewAnswer answer = answerOf({}, type);
    answer.headers = "Accept-Ranges: bytes\r\n";
    answer.size = found.size;
    // With If-Range, part of what was sent before; but nothing of that has a name.
    const QByteArray asked =
        _request.headers.contains("if-range") ? QByteArray() : _request.headers.value("range");
    const std::optional<ByteRange> range = ByteRange::asked(asked, found.size);
    const QByteArray whole = QByteArray::number(found.size);
    if (range && range->count == 0) {
        answer = PreviewAnswer::refusal(416);
        answer.headers = "Content-Range: bytes */" + whole + "\r\n";
        return answer;
    }
    if (range) {
        answer.status = 206;
        answer.headers += "Content-Range: bytes " + QByteArray::number(range->first) + '-' +
                          QByteArray::number(range->first + range->count - 1) + '/' + whole + "\r\n";
        answer.size = range->count;
        ::lseek(found.file.number(), range->first, SEEK_SET);
    }
    answer.file = std::move(found.file);
    return answer;
}

/// To the folder, so that addresses in its page count from there. The path has no empty names, since it was
/// found: so it cannot start with two slashes, which would name another server.
PreviewAnswer Answering::redirection() const
{
    PreviewAnswer answer = PreviewAnswer::refusal(302);
    answer.headers = "Location: " + _request.path.toPercentEncoding("/") + '/' + _request.query + "\r\n";
    return answer;
}

PreviewAnswer Answering::report(int status, const QString &heading, const QString &page) const
{
    return answerOf(PreviewPages::reportPage(heading, _site.report, page, scriptTag()),
                    "text/html; charset=utf-8", status);
}

} // namespace

PreviewAnswer PreviewAnswer::to(const HTTPRequest &request, const PreviewSite &site)
{
    if (request.status != 200)
        return refusal(request.status);
    PreviewAnswer answer = Answering(request, site).answer();
    if (!request.isHead)
        return answer;
    answer.body.clear();
    answer.file = {};
    answer.isEventStream = false;
    return answer;
}

PreviewAnswer PreviewAnswer::refusal(int status)
{
    PreviewAnswer answer = answerOf(QByteArray::number(status) + ' ' + reasonOf(status) + '\n',
                                    "text/plain; charset=utf-8", status);
    if (status == 405)
        answer.headers = "Allow: GET, HEAD\r\n";
    return answer;
}

QByteArray PreviewAnswer::head() const
{
    QByteArray head = "HTTP/1.1 " + QByteArray::number(status) + ' ' + reasonOf(status) +
                      "\r\nContent-Type: " + type + "\r\n" + headers;
    if (!isEventStream)
        head += "Content-Length: " + QByteArray::number(size) + "\r\n";
    return head + "Cache-Control: no-store\r\n"
                  "Cross-Origin-Resource-Policy: same-origin\r\n"
                  "Connection: close\r\n\r\n";
}
