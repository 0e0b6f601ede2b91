#include "tools/qf/Command.h"

#include "host/preview/DescriptorLimit.h"
#include "host/preview/PreviewServer.h"
#include "host/preview/PreviewSession.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr const char *kHelp = R"(Usage: qf preview [options] SITE

Shows the site in the folder SITE in the browser, and makes it anew whenever something in the folder changes: the
pages that are open are reloaded. What is wrong with the site is shown in the browser too. Ends with Ctrl-C.

The site is built into a temporary folder and served on this machine only. The address is printed on standard
output.

  --port N    serve on port N (default: any that is free)
  --no-open   open no browser
  --jobs N    make pages in N worker processes (default: one for each processor)
  --quiet     print the address and problems only

Exit codes: 0 ended; 1 failed; 2 wrong usage.
)";

/// The pipe through which the event loop hears of a signal.
std::array<int, 2> signalPipe{-1, -1}; // NOLINT: used by a signal handler

void noteSignal(int /*signal*/)
{
    const int error = errno; // of what has been interrupted
    const char byte = 0;
    static_cast<void>(::write(signalPipe.at(1), &byte, 1) == 1); // a full pipe has told enough
    errno = error;
}

/// Has the event loop end with an interruption, and what stands in the way of that be cleared away as always.
bool endsWithSignals(QObject &owner)
{
    if (::pipe2(signalPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return false;
    auto *const notifier = new QSocketNotifier(signalPipe.at(0), QSocketNotifier::Read, &owner);
    QObject::connect(notifier, &QSocketNotifier::activated, &owner, [] { QCoreApplication::quit(); });
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        if (std::signal(signal, noteSignal) == SIG_IGN)
            std::signal(signal, SIG_IGN); // somebody wants it so: nohup does
    }
    return true;
}

/// Reads a number; false for wrong usage.
bool readNumber(const QCommandLineParser &parser, const QString &option, int least, int most, int &number)
{
    bool isNumber = true;
    if (parser.isSet(option))
        number = parser.value(option).toInt(&isNumber);
    return isNumber && (!parser.isSet(option) || (number >= least && number <= most));
}

void openBrowser(const QString &address)
{
    if (!QProcess::startDetached(u"xdg-open"_s, {address}))
        complain(u"note: there is no xdg-open to open a browser with; the address is "_s + address);
}

QString counted(qsizetype count, const QString &one)
{
    return QString::number(count) + u' ' + one + (count == 1 ? u""_s : u"s"_s);
}

void printBuild(const PreviewReport &report, bool isQuiet)
{
    // What the build itself reports, and that has a kind, it has printed.
    const QFReportRecord first = report.problems.value(0);
    if (report.outcome == PreviewReport::Outcome::Failed)
        complain(first.kind.isEmpty() ? u"not built: "_s + first.message : u"not built"_s);
    else if (!isQuiet)
        complain(u"built: "_s + counted(report.written, u"changed file"_s) + u", "_s +
                 counted(report.problems.size(), u"problem"_s));
}

/// The built copy would be part of the site, and each build a reason for another one.
bool holdsTemporaryFiles(const QFileInfo &site)
{
    const QString temporary = QFileInfo(QDir::tempPath()).canonicalFilePath();
    const QString way = QDir(site.canonicalFilePath()).relativeFilePath(temporary);
    return !temporary.isEmpty() && way != u".." && !way.startsWith(u"../");
}

int serve(const QString &site, quint16 port, const QStringList &options, bool opens, bool isQuiet)
{
    if (!endsWithSignals(*QCoreApplication::instance()))
        return failed(u"there is no room for another pipe"_s);
    DescriptorLimit::raise();
    PreviewSession session(site, QCoreApplication::applicationFilePath(), options);
    if (session.output().isNull())
        return failed(u"there is no room for temporary files"_s);
    PreviewServer server(session.output());
    if (!server.listen(port))
        return failed(u"port "_s + QString::number(port) + u": "_s + server.errorString());
    QObject::connect(&session, &PreviewSession::noted, &server,
                     [](const QString &sentence) { complain(u"note: "_s + sentence); });
    QObject::connect(&session, &PreviewSession::built, &server, [&](const PreviewReport &report) {
        server.show(report);
        printBuild(report, isQuiet);
        if (std::exchange(opens, false))
            openBrowser(server.address());
    });
    if (const int code = writeOutput(server.address().toUtf8() + '\n', {}); code != Done)
        return code;
    session.start();
    return QCoreApplication::exec();
}

} // namespace

int runPreview(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addOptions(
        {{u"port"_s, {}, u"n"_s}, {u"no-open"_s, {}}, {u"jobs"_s, {}, u"n"_s}, {u"quiet"_s, {}}});
    if (const auto code = parsed(parser, arguments, kHelp))
        return *code;
    if (parser.positionalArguments().size() != 1)
        return wrongUsage(u"one site is needed; see qf preview --help"_s);
    int port = 0;
    if (!readNumber(parser, u"port"_s, 1, 65535, port))
        return wrongUsage(u"--port must be a number from 1 to 65535"_s);
    int jobs = 0;
    if (!readNumber(parser, u"jobs"_s, 1, 256, jobs))
        return wrongUsage(u"--jobs must be a number from 1 to 256"_s);
    const QFileInfo site(parser.positionalArguments().constFirst());
    if (!site.isDir())
        return failed(site.filePath() + u": there is no such folder"_s);
    if (holdsTemporaryFiles(site))
        return failed(QDir::tempPath() +
                      u": the folder for temporary files must not lie in the site's folder"_s);
    QStringList options;
    if (jobs > 0)
        options += {u"--jobs"_s, QString::number(jobs)};
    if (parser.isSet(u"quiet"_s))
        options += u"--quiet"_s;
    return serve(site.absoluteFilePath(), static_cast<quint16>(port), options, !parser.isSet(u"no-open"_s),
                 parser.isSet(u"quiet"_s));
}
