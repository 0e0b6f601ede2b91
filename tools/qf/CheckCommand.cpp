#include "tools/qf/Command.h"

#include "host/build/SiteBuilder.h"
#include "host/check/SiteCheck.h"
#include "host/plugins/PluginModules.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QThread>

using namespace Qt::StringLiterals;

namespace {

constexpr const char *kHelp = R"(Usage: qf check [options] SITE

Looks a site over: links, pictures, scripts and style sheets that lead to nothing, missing assets, pictures without
alternative text, files that an earlier build has left or nobody made, media files that two pictures share.

  -o OUT        look at the site as it was last built into OUT, instead of building it for this
  --json        print the findings as JSON
  --strict      exit with 1 when there are any

Exit codes: 0 done; 1 failed, or findings with --strict; 2 wrong usage.
)";

/// Builds the site into a folder of its own; an error sentence when there is none.
QString built(const QString &site, const QString &output, QFReport &report)
{
    BuildRequest request;
    request.site = site;
    request.output = output;
    request.jobs = QThread::idealThreadCount();
    PluginModules modules;
    const BuildResult result = SiteBuilder::build(request, modules);
    for (const QFReportRecord &record : result.records)
        report.add(record);
    return result.error;
}

QByteArray asJson(const QList<SiteFinding> &findings)
{
    QJsonArray array;
    for (const SiteFinding &finding : findings)
        array.append(QJsonObject{
            {u"kind"_s, finding.kind}, {u"file"_s, finding.file}, {u"message"_s, finding.message}});
    return QJsonDocument(array).toJson();
}

QByteArray asText(const QList<SiteFinding> &findings)
{
    QString text;
    QString file;
    for (const SiteFinding &finding : findings) {
        if (finding.file != file)
            text += finding.file + u":\n"_s;
        file = finding.file;
        text += u"    "_s + finding.kind + u": "_s + finding.message + u'\n';
    }
    if (findings.isEmpty())
        text = u"nothing found\n"_s;
    return text.toUtf8();
}

} // namespace

int runCheck(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addOptions({{u"o"_s, {}, u"folder"_s}, {u"json"_s, {}}, {u"strict"_s, {}}});
    if (const auto code = parsed(parser, arguments, kHelp))
        return *code;
    const QStringList sites = parser.positionalArguments();
    const bool isBuilt = parser.isSet(u"o"_s);
    if (sites.size() > 1 || (sites.isEmpty() && !isBuilt))
        return wrongUsage(u"one site is needed; see qf check --help"_s);
    QLoggingCategory::setFilterRules(u"qf.*=false"_s);
    QFReport report;
    const QTemporaryDir folder;
    QString error = isBuilt ? QString() : built(sites.constFirst(), folder.path(), report);
    const QString output = isBuilt ? parser.value(u"o"_s) : folder.path();
    const QList<SiteFinding> findings =
        error.isNull() ? SiteCheck::check(output, error) : QList<SiteFinding>();
    if (!error.isNull())
        return failed(error);
    printLosses(report);
    const int code = writeOutput(parser.isSet(u"json"_s) ? asJson(findings) : asText(findings), {});
    return code == Done && parser.isSet(u"strict"_s) && !findings.isEmpty() ? Failed : code;
}
