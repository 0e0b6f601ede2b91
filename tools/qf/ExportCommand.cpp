#include "tools/qf/Command.h"
#include "tools/qf/ExportPage.h"

#include "export/CVHTML.h"
#include "host/DocumentReader.h"
#include "host/TextFile.h"
#include "platform/NSFont.h"
#include "platform/NSUserDefaults.h"
#include "platform/QFReport.h"

#include <QDir>
#include <QJsonObject>

#include <array>
#include <cmath>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr const char *kHelp =
    R"(Usage: qf export [options] DOCUMENT

Exports a styled text as HTML. DOCUMENT is styled-text JSON, an archive, HTML or Markdown, told apart by
content; "-" is standard input. The HTML goes to standard output exactly, in UTF-8, with no newline added.

Pages and files:
  -o FILE                 write the HTML to FILE, whole or not at all
  --to DIR                folder for the files that the text embeds (default: the current one)
  --images-folder NAME    folder in the addresses of these files (default: as --to, so that the files
                          folder is used)
  --prefix P              start of the names of these files (default: image)
  --files-folder NAME     name of the files folder (default: files)
  --assets-folder NAME    name of the assets folder (default: assets)
  --template FILE         the exporter's template: text around each %TAG% (default: just the HTML). List items
                          are exported through it too, so it suits texts without lists
  --page FILE             page to put the finished HTML into, for each %TAG% in it; suits all texts
  --content-tag TAG       the tag (default: content)
  --depth N               folders between the page and where the site says it lies (default: 0)

Looks:
  --default-font "Family,PostScriptName,size"   the font that needs no markup (default: Helvetica, 12)
  --allow-web-unsafe-fonts                      write fonts that not all browsers have by their own names
  --uppercase-colors                            write #FF0000 instead of #ff0000
  --image-format F        ask for images in JPEG, PNG or GIF
  --image-quality Q       ask for Best, High, Medium or Low. For now pictures are written as they are

Problems:
  --report FILE           write a JSON list of all that failed or was left out ("-": standard output,
                          with -o)
  --strict                exit with 1 when that list is not empty
  --json                  with -o: print a summary as JSON on standard output

Exit codes: 0 done; 1 failed, or problems with --strict; 2 wrong usage.
)";

struct ExportOptions
{
    QString document;
    QString output;
    QString toPath;
    QString imagesFolder;
    QString prefix;
    QString pageTemplate = u"%content%"_s;
    QString contentTag;
    qint64 depth = 0;
    std::optional<NSFont> defaultFont;
    QString page;                         ///< around the finished HTML; nil for none
    std::unique_ptr<ExportPage> fromPage; ///< nullptr without an image option
};

void addOptions(QCommandLineParser &parser)
{
    parser.addOptions({{u"to"_s, {}, u"dir"_s, u"."_s},
                       {u"images-folder"_s, {}, u"name"_s},
                       {u"prefix"_s, {}, u"prefix"_s, u"image"_s},
                       {u"template"_s, {}, u"file"_s},
                       {u"page"_s, {}, u"file"_s},
                       {u"content-tag"_s, {}, u"tag"_s, u"content"_s},
                       {u"depth"_s, {}, u"n"_s, u"0"_s},
                       {u"default-font"_s, {}, u"font"_s},
                       {u"allow-web-unsafe-fonts"_s, {}},
                       {u"uppercase-colors"_s, {}},
                       {u"image-format"_s, {}, u"format"_s},
                       {u"image-quality"_s, {}, u"quality"_s},
                       {u"files-folder"_s, {}, u"name"_s},
                       {u"assets-folder"_s, {}, u"name"_s},
                       {u"o"_s, {}, u"file"_s},
                       {u"report"_s, {}, u"file"_s},
                       {u"strict"_s, {}},
                       {u"json"_s, {}}});
}

/// "Family,PostScriptName,size"
std::optional<NSFont> fontFromOption(const QString &option)
{
    const QStringList parts = option.split(u',');
    if (parts.size() != 3)
        return {};
    bool ok = false;
    const float size = parts.at(2).trimmed().toFloat(&ok);
    if (!ok || !std::isfinite(size) || size <= 0)
        return {};
    NSFont font = NSFont::fontWithName(parts.at(1).trimmed(), size);
    font.familyName = parts.at(0).trimmed();
    if (font.familyName.isEmpty() || font.fontName.isEmpty())
        return {};
    return font;
}

template <size_t n>
QString spelledAs(const std::array<QStringView, n> &names, const QString &given)
{
    for (const QStringView name : names) {
        if (name.compare(given, Qt::CaseInsensitive) == 0)
            return name.toString();
    }
    return {};
}

/// Makes the page that carries the image options; an error sentence for unknown names.
QString readImageOptions(const QCommandLineParser &parser, ExportOptions &options)
{
    constexpr std::array<QStringView, 3> formats{u"JPEG", u"PNG", u"GIF"};
    constexpr std::array<QStringView, 4> qualities{u"Best", u"High", u"Medium", u"Low"};
    const bool hasFormat = parser.isSet(u"image-format"_s);
    const bool hasQuality = parser.isSet(u"image-quality"_s);
    const QString format = spelledAs(formats, parser.value(u"image-format"_s));
    const QString quality = spelledAs(qualities, parser.value(u"image-quality"_s));
    if (hasFormat && format.isNull())
        return u"--image-format must be JPEG, PNG or GIF"_s;
    if (hasQuality && quality.isNull())
        return u"--image-quality must be Best, High, Medium or Low"_s;
    if (hasFormat || hasQuality)
        options.fromPage = std::make_unique<ExportPage>(format, quality);
    return {};
}

/// Reads what the options say by themselves; an error sentence for wrong usage.
QString readOptions(const QCommandLineParser &parser, ExportOptions &options)
{
    if (parser.positionalArguments().size() != 1)
        return u"one document is needed; see qf export --help"_s;
    options.document = parser.positionalArguments().constFirst();
    options.output = parser.value(u"o"_s);
    options.toPath = parser.value(u"to"_s);
    options.imagesFolder =
        parser.isSet(u"images-folder"_s) ? parser.value(u"images-folder"_s) : options.toPath;
    options.prefix = parser.value(u"prefix"_s);
    options.contentTag = parser.value(u"content-tag"_s);
    if (!parser.isSet(u"template"_s))
        options.pageTemplate = u'%' + options.contentTag + u'%';
    bool isNumber = false;
    options.depth = parser.value(u"depth"_s).toLongLong(&isNumber);
    if (!isNumber || options.depth < 0 || options.depth > 1000)
        return u"--depth must be a number from 0 to 1000"_s;
    if (const QString error = outputsThatMix(parser, options.output); !error.isNull())
        return error;
    if (parser.isSet(u"default-font"_s)) {
        options.defaultFont = fontFromOption(parser.value(u"default-font"_s));
        if (!options.defaultFont)
            return u"--default-font must be \"Family,PostScriptName,size\""_s;
    }
    return readImageOptions(parser, options);
}

/// Reads a template or page into `text`; an error sentence when that fails.
QString readMarkup(const QString &path, QString &text)
{
    const TextFile file = TextFile::read(path);
    text = file.text;
    return file.error;
}

QString readMarkup(const QCommandLineParser &parser, ExportOptions &options)
{
    QString error;
    if (parser.isSet(u"template"_s))
        error = readMarkup(parser.value(u"template"_s), options.pageTemplate);
    if (error.isNull() && parser.isSet(u"page"_s))
        error = readMarkup(parser.value(u"page"_s), options.page);
    return error;
}

QString exported(const ExportOptions &options, const QCommandLineParser &parser,
                 const NSAttributedString &text)
{
    CVHTML exporter;
    exporter.setAllowWebUnsafeFonts(parser.isSet(u"allow-web-unsafe-fonts"_s));
    if (parser.isSet(u"files-folder"_s))
        exporter.setFilesFolderName(parser.value(u"files-folder"_s));
    if (parser.isSet(u"assets-folder"_s))
        exporter.setAssetsFolderName(parser.value(u"assets-folder"_s));
    const QString html = exporter.exportAttributedString(
        text, options.toPath, options.imagesFolder, options.prefix, options.pageTemplate, options.contentTag,
        options.fromPage.get(), options.depth);
    return options.page.isNull() ? html
                                 : QString(options.page).replace(u'%' + options.contentTag + u'%', html);
}

/// Preferences of this run only: what the user has set for other programs must not change what a command
/// prints.
void setPreferences(const QCommandLineParser &parser)
{
    NSUserDefaults &defaults = NSUserDefaults::standardUserDefaults();
    defaults.setFolder(u"/nonexistent"_s);
    if (parser.isSet(u"uppercase-colors"_s))
        defaults.registerDefaults({{u"uppercaseColorCodes"_s, true}});
}

} // namespace

int runExport(const QStringList &arguments)
{
    QCommandLineParser parser;
    addOptions(parser);
    if (const auto code = parsed(parser, arguments, kHelp))
        return *code;
    ExportOptions options;
    if (const QString error = readOptions(parser, options); !error.isNull())
        return wrongUsage(error);
    if (const QString error = readMarkup(parser, options); !error.isNull())
        return failed(error);
    if (!QDir().mkpath(options.toPath))
        return failed(options.toPath + u": the folder cannot be made"_s);
    setPreferences(parser);
    if (options.defaultFont)
        NSFont::setUserFont(*options.defaultFont);

    QFReport report;
    const QFReport::Installed collecting(report);
    const DocumentResult document = DocumentReader::read(options.document);
    if (!document.isValid())
        return failedToRead(document.error, report, parser.value(u"report"_s));
    const QByteArray html = utf8WithReferences(exported(options, parser, document.text));
    printLosses(report);
    int code = writeOutput(html, options.output);
    if (code == Done)
        code = writeReport(report, parser.value(u"report"_s));
    if (code == Done && parser.isSet(u"json"_s))
        code = printSummary({{u"output"_s, options.output}, {u"bytes"_s, html.size()}}, report);
    return code == Done && parser.isSet(u"strict"_s) && !report.records().isEmpty() ? Failed : code;
}
