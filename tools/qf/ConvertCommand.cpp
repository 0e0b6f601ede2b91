#include "tools/qf/Command.h"

#include "export/CVHTMLFileWrapper.h"
#include "export/NSAttributedString+QFTextViewExtensions.h"
#include "host/DocumentReader.h"
#include "host/StyledTextJSON.h"
#include "platform/QFReport.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

constexpr const char *kHelp =
    R"(Usage: qf convert [options] IN OUT

Converts a document into styled-text JSON or an archive. IN is styled-text JSON, an archive, HTML or Markdown,
told apart by content; "-" is standard input. OUT is JSON when its name ends in ".json" or is "-" (standard
output), else an archive. What a JSON form embeds is written into the folder OUT.files beside it.

  --to json|archive    say what OUT is
  --report FILE        write a JSON list of all that failed or was left out ("-": standard output)
  --strict             exit with 1 when that list is not empty
  --json               print a summary as JSON on standard output

Exit codes: 0 done; 1 failed, or problems with --strict; 2 wrong usage.
)";

int writeArchive(const NSAttributedString &text, const QString &path)
{
    const QByteArray archive = QFTextViewExtensions::createArchiveFromSelection(text, {0, text.length()});
    if (archive.isNull())
        return failed(u"an empty text has no archive"_s);
    return writeOutput(archive, path);
}

/// Writes what the text embeds, then the JSON, so that a JSON file is never without its files.
int writeJSON(const NSAttributedString &text, const QString &path)
{
    const bool isStandardOutput = path == u"-";
    const QString folderName = QFileInfo(path).fileName() + u".files"_s;
    const StyledTextJSON::Written written = StyledTextJSON::write(text, folderName);
    if (isStandardOutput && !written.files.isEmpty())
        return failed(u"the document embeds files, which need a file beside them: name OUT"_s);
    const QDir folder(QFileInfo(path).path());
    if (!written.files.isEmpty() && !folder.mkpath(folderName))
        return failed(folder.filePath(folderName) + u": the folder cannot be made"_s);
    for (auto file = written.files.begin(); file != written.files.end(); ++file) {
        if (!CVHTMLFileWrapper::writeToFile(*file.value(), folder.filePath(file.key())))
            return failed(folder.filePath(file.key()) + u": cannot be written"_s);
    }
    return writeOutput(written.json, path);
}

} // namespace

int runConvert(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addOptions(
        {{u"to"_s, {}, u"form"_s}, {u"report"_s, {}, u"file"_s}, {u"strict"_s, {}}, {u"json"_s, {}}});
    if (const auto code = parsed(parser, arguments, kHelp))
        return *code;
    if (parser.positionalArguments().size() != 2)
        return wrongUsage(u"a document and an output are needed; see qf convert --help"_s);
    const QString output = parser.positionalArguments().at(1);
    const QString form = parser.value(u"to"_s);
    if (parser.isSet(u"to"_s) && form != u"json" && form != u"archive")
        return wrongUsage(u"--to must be json or archive"_s);
    if (const QString error = outputsThatMix(parser, output); !error.isNull())
        return wrongUsage(error);

    QFReport report;
    const QFReport::Installed collecting(report);
    const DocumentResult document = DocumentReader::read(parser.positionalArguments().constFirst());
    if (!document.isValid())
        return failedToRead(document.error, report, parser.value(u"report"_s));
    const bool isJSON = form.isEmpty() ? output == u"-" || output.endsWith(u".json") : form == u"json";
    int code = isJSON ? writeJSON(document.text, output) : writeArchive(document.text, output);
    printLosses(report);
    if (code == Done)
        code = writeReport(report, parser.value(u"report"_s));
    if (code == Done && parser.isSet(u"json"_s))
        code = printSummary({{u"output"_s, output},
                             {u"units"_s, document.text.length()},
                             {u"runs"_s, document.text.runs().size()}},
                            report);
    return code == Done && parser.isSet(u"strict"_s) && !report.records().isEmpty() ? Failed : code;
}
