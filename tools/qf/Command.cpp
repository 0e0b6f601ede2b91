#include "tools/qf/Command.h"

#include "platform/QFReport.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMaximumNotes = 20;

} // namespace

std::optional<int> parsed(QCommandLineParser &parser, const QStringList &arguments, const char *help)
{
    parser.addOption({{u"h"_s, u"help"_s}, {}});
    if (!parser.parse(arguments))
        return wrongUsage(parser.errorText());
    if (!parser.isSet(u"help"_s))
        return {};
    std::fputs(help, stdout);
    return Done;
}

void complain(const QString &sentence)
{
    // Names out of files are foreign text: nothing of it may end the line or move the cursor.
    QString line = sentence;
    std::replace_if(
        line.begin(), line.end(), [](QChar unit) { return unit.category() == QChar::Other_Control; }, u' ');
    std::fprintf(stderr, "qf: %s\n", line.toUtf8().constData());
}

int wrongUsage(const QString &sentence)
{
    complain(sentence);
    return WrongUsage;
}

int failed(const QString &sentence)
{
    complain(sentence);
    return Failed;
}

int writeOutput(const QByteArray &bytes, const QString &path)
{
    if (path.isEmpty() || path == u"-") {
        const auto size = static_cast<size_t>(bytes.size());
        if (std::fwrite(bytes.constData(), 1, size, stdout) != size || std::fflush(stdout) != 0)
            return failed(u"standard output could not be written"_s);
        return Done;
    }
    // A file is replaced whole. A device or pipe must be written to: replacing it would put a file in its
    // place.
    const QFileInfo existing(path);
    if (existing.exists() && !existing.isFile()) {
        QFile device(path);
        if (!device.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || device.write(bytes) != bytes.size())
            return failed(path + u": "_s + device.errorString());
        return Done;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return failed(path + u": "_s + file.errorString());
    return Done;
}

void printLosses(const QFReport &report)
{
    qsizetype count = 0;
    for (const QFReportRecord &record : report.records()) {
        if (record.logged || ++count > kMaximumNotes)
            continue;
        const QString file = record.file.isNull() ? QString() : u" ("_s + record.file + u')';
        complain(u"note: "_s + record.message + file);
    }
    if (count > kMaximumNotes)
        complain(u"note: and "_s + QString::number(count - kMaximumNotes) + u" more of the kind"_s);
}

int writeReport(const QFReport &report, const QString &path)
{
    return path.isNull() ? Done : writeOutput(QJsonDocument(report.toJson()).toJson(), path);
}

int printSummary(QJsonObject result, const QFReport &report)
{
    result[u"problems"_s] = report.records().size() + report.omitted();
    result[u"records"_s] = report.toJson();
    return writeOutput(QJsonDocument(result).toJson(QJsonDocument::Compact) + '\n', {});
}

int failedToRead(const QString &error, QFReport &report, const QString &reportPath)
{
    QFReportRecord record;
    record.kind = u"document"_s;
    record.message = error;
    report.add(record);
    const int code = writeReport(report, reportPath);
    return code == Done ? failed(error) : code;
}

QString outputsThatMix(const QCommandLineParser &parser, const QString &resultPath)
{
    const bool hasSummary = parser.isSet(u"json"_s);
    const bool hasReport = parser.value(u"report"_s) == u"-";
    if ((resultPath.isEmpty() || resultPath == u"-") && (hasSummary || hasReport))
        return (hasSummary ? u"--json"_s : u"--report -"_s) +
               u" needs an output file, since the result is on standard output otherwise"_s;
    return hasSummary && hasReport ? u"--json and --report - would mix on standard output"_s : QString();
}
