#include "tools/qf/Command.h"
#include "tools/qf/ProgressBar.h"

#include "host/build/PageErrors.h"
#include "host/build/SiteBuilder.h"
#include "host/plugins/PluginModules.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>
#include <QLoggingCategory>
#include <QThread>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr const char *kHelp = R"(Usage: qf build [options] SITE -o OUT

Builds the site in the folder SITE into the folder OUT: every page by its plug-in, theme, style sheets, scripts and
assets. Files are written whole or not at all, and only where their bytes change; pages that cannot have changed
since the last build are left as they are.

  -o OUT              folder of the published site
  --mode MODE         export (default): a folder that can be opened and copied anywhere;
                      publish: for the server at the site's base URL; preview: for a server at "/"
  --jobs N            make pages in N worker processes (default: one for each processor). 0 makes them in
                      this process, where a plug-in that crashes ends the build
  --page-seconds N    end a worker whose page takes longer (default: 300)
  --all               make every page anew
  --prune             remove files of earlier builds that no page has any more
  --report FILE       write a JSON list of all problems ("-": standard output)
  --json              print the summary as JSON on standard output
  --strict            exit with 1 when there was any problem
  --quiet             print problems only

Exit codes: 0 done; 1 failed, a page could not be made, or problems with --strict; 2 wrong usage.
)";

constexpr std::array<std::pair<QStringView, BuildMode>, 3> kModes{
    {{u"export", BuildMode::Export}, {u"publish", BuildMode::Publish}, {u"preview", BuildMode::Preview}}};

constexpr qsizetype kMaximumShown = 100; ///< problems

volatile std::sig_atomic_t interruptions = 0; // NOLINT: set by a signal handler

/// The first interruption ends the build after the pages that have begun, the second one at once.
void interrupt(int signal)
{
    if (interruptions != 0) {
        std::signal(signal, SIG_DFL);
        std::raise(signal);
    }
    interruptions = 1;
}

/// Reads the options; an error sentence for wrong usage.
QString readRequest(const QCommandLineParser &parser, BuildRequest &request)
{
    if (parser.positionalArguments().size() != 1 || parser.value(u"o"_s).isEmpty())
        return u"one site and an output folder are needed; see qf build --help"_s;
    request.site = parser.positionalArguments().constFirst();
    request.output = parser.value(u"o"_s);
    const auto mode = std::find_if(kModes.begin(), kModes.end(),
                                   [&](const auto &known) { return known.first == parser.value(u"mode"_s); });
    if (mode == kModes.end())
        return u"--mode must be export, publish or preview"_s;
    request.mode = mode->second;
    bool isNumber = true;
    request.jobs =
        parser.isSet(u"jobs"_s) ? parser.value(u"jobs"_s).toInt(&isNumber) : QThread::idealThreadCount();
    if (!isNumber || request.jobs < 0 || request.jobs > 256)
        return u"--jobs must be a number from 0 to 256"_s;
    request.secondsForPage = parser.value(u"page-seconds"_s).toInt(&isNumber);
    if (!isNumber || request.secondsForPage < 1 || request.secondsForPage > 1000000)
        return u"--page-seconds must be a positive number"_s;
    request.everything = parser.isSet(u"all"_s);
    request.prune = parser.isSet(u"prune"_s);
    const bool hasReport = parser.value(u"report"_s) == u"-";
    return hasReport && parser.isSet(u"json"_s) ? u"--json and --report - would mix on standard output"_s
                                                : QString();
}

QString counted(qsizetype count, const QString &one, const QString &many)
{
    return QString::number(count) + u' ' + (count == 1 ? one : many);
}

/// Problems by page, those of the site first.
void printProblems(const BuildResult &result)
{
    for (const PageErrors &page : pageErrors(
             result.records.first(std::min(result.records.size(), kMaximumShown)), result.failedPages)) {
        complain(page.page.isNull() ? u"the site:"_s : u"page "_s + page.page + u':');
        for (const auto &error : page.errors)
            complain((error->level() < kPageErrorFailure ? u"    note: "_s : u"    "_s) + error->reason());
    }
    if (result.records.size() > kMaximumShown)
        complain(u"    and "_s + QString::number(result.records.size() - kMaximumShown) + u" more"_s);
}

void printSummary(const BuildResult &result, const QString &output)
{
    const QLocale plain = QLocale::c();
    const QString text =
        counted(result.pages, u"page"_s, u"pages"_s) + u" ("_s + QString::number(result.made) + u" made, "_s +
        QString::number(result.failed) + u" failed), "_s + counted(result.files, u"file"_s, u"files"_s) +
        u" ("_s + QString::number(result.written) + u" changed), "_s + plain.formattedDataSize(result.bytes) +
        u", "_s + QString::number(result.seconds, 'f', 2) + u" s, "_s +
        counted(result.records.size(), u"problem"_s, u"problems"_s) + u": "_s + output + u'\n';
    std::fputs(text.toUtf8().constData(), stdout);
    if (!result.pruned.isEmpty())
        std::printf("%s removed\n", qPrintable(counted(result.pruned.size(), u"orphan"_s, u"orphans"_s)));
    if (!result.orphans.isEmpty())
        std::printf("%s of earlier builds left; --prune removes them\n",
                    qPrintable(counted(result.orphans.size(), u"file"_s, u"files"_s)));
}

QJsonObject asJson(const BuildResult &result, const QString &output)
{
    return {{u"output"_s, output},
            {u"pages"_s, result.pages},
            {u"made"_s, result.made},
            {u"failed"_s, result.failed},
            {u"failedPages"_s, QJsonArray::fromStringList(result.failedPages)},
            {u"files"_s, result.files},
            {u"written"_s, result.written},
            {u"pruned"_s, result.pruned.size()},
            {u"bytes"_s, result.bytes},
            {u"seconds"_s, result.seconds},
            {u"cancelled"_s, result.isCancelled},
            {u"orphans"_s, QJsonArray::fromStringList(result.orphans)}};
}

BuildResult build(const BuildRequest &request, bool isQuiet)
{
    PluginModules modules;
    ProgressBar bar(!isQuiet);
    BuildEvents events;
    events.progress = [&bar](qsizetype done, qsizetype total, const QString &message) {
        bar.show(done, total, message);
    };
    events.isCancelled = [] { return interruptions != 0; };
    return SiteBuilder::build(request, modules, events);
}

} // namespace

int runBuild(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addOptions({{u"o"_s, {}, u"folder"_s},
                       {u"mode"_s, {}, u"mode"_s, u"export"_s},
                       {u"jobs"_s, {}, u"n"_s},
                       {u"page-seconds"_s, {}, u"n"_s, u"300"_s},
                       {u"all"_s, {}},
                       {u"prune"_s, {}},
                       {u"report"_s, {}, u"file"_s},
                       {u"json"_s, {}},
                       {u"strict"_s, {}},
                       {u"quiet"_s, {}}});
    if (const auto code = parsed(parser, arguments, kHelp))
        return *code;
    BuildRequest request;
    if (const QString error = readRequest(parser, request); !error.isNull())
        return wrongUsage(error);
    // What is logged is in the report too, with the page that it belongs to.
    QLoggingCategory::setFilterRules(u"qf.*=false"_s);
    std::signal(SIGINT, interrupt);
    std::signal(SIGTERM, interrupt);
    const BuildResult result = build(request, parser.isSet(u"quiet"_s));
    QFReport report;
    for (const QFReportRecord &record : result.records)
        report.add(record);
    if (!result.error.isNull())
        return failedToRead(result.error, report, parser.value(u"report"_s));
    printProblems(result);
    if (result.isCancelled)
        complain(u"interrupted; the pages that were not reached are as they were"_s);
    int code = writeReport(report, parser.value(u"report"_s));
    if (code == Done && parser.isSet(u"json"_s))
        code = printSummary(asJson(result, request.output), report);
    else if (!parser.isSet(u"quiet"_s) && parser.value(u"report"_s) != u"-")
        printSummary(result, request.output);
    const bool hasProblems = parser.isSet(u"strict"_s) && !result.records.isEmpty();
    const bool isDone = result.failed == 0 && result.isWhole && !result.isCancelled && !hasProblems;
    return code != Done ? code : isDone ? Done : Failed;
}
