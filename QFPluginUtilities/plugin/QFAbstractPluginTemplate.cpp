#include "plugin/QFAbstractPlugin.h"

#include "export/CVHTML.h"
#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/NSStringPathExtensions.h"
#include "platform/QFHost.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "plugin/QFAbstractPluginPrivate.h"
#include "plugin/QFExportParams.h"
#include "plugin/QFPluginRecords.h"
#include "text/QFStrings.h"

using namespace Qt::StringLiterals;

namespace {

constexpr QStringView kPlaceholder = u"%plugin_page_style_sheets%";
constexpr qint64 kDeepestCorrection = 4096;
/// Colour-tag and variation files are addressed from here however deep the page lies; meant so.
constexpr qint64 kThemeVariantCorrection = 1;

/// With one slash where the parts meet; elsewhere they may be a URL and keep theirs.
QString joinedComponents(const QString &folder, const QString &file)
{
    if (folder.isEmpty() || file.isEmpty())
        return folder + file;
    qsizetype end = folder.size();
    while (end > 0 && folder[end - 1] == u'/')
        --end;
    qsizetype start = 0;
    while (start < file.size() && file[start] == u'/')
        ++start;
    return folder.left(end) + u'/' + file.mid(start);
}

QString higherBy(qint64 correction, const QString &path)
{
    if (correction > kDeepestCorrection)
        logFailure(qfPluginLog(), u"theme-file"_s,
                   formatted(u"Depth of %d folders for the theme file %@", {correction, path}));
    return u"../"_s.repeated(qBound(qint64(0), correction, kDeepestCorrection)) + path;
}

QString addressOfThemeFile(const QString &file, const QVariantMap &params, qint64 correction)
{
    const QFExportParams exportParams(params);
    const QString common = exportParams.exportPathToCommonThemeFiles();
    if (exportParams.exportCommonPathsAreAbsolute())
        return common.endsWith(u'/') ? common + file : common + u'/' + file;
    if (exportParams.exportCommonPathsAreRelatve())
        return higherBy(correction, joinedComponents(common, file));
    return higherBy(correction, file);
}

/// Writes what stands in a page's head, piece after piece without anything between them.
class HeadMarkup
{
public:
    explicit HeadMarkup(const QVariantMap &params) : _params(params) {}

    void addStyleSheet(const QString &file, qint64 correction)
    {
        _markup += u"<link rel=\"stylesheet\" type=\"text/css\" href=\""_s;
        _markup += addressOfThemeFile(file, _params, correction);
        _markup += u"\" />"_s;
    }
    void addScript(const QString &file, qint64 correction)
    {
        _markup += u"<script type=\"text/javascript\" src=\""_s;
        _markup += addressOfThemeFile(file, _params, correction);
        _markup += u"\"></script>"_s;
    }
    /// The text stored under `key` between `start` and `end`, verbatim; nothing where it is empty or missing.
    void addCustom(QStringView key, QStringView start, QStringView end)
    {
        const QString text = stringValue(_params.value(key.toString()));
        if (text.isEmpty())
            return;
        _markup += start;
        _markup += text;
        _markup += end;
    }

    [[nodiscard]] const QString &markup() const { return _markup; }

private:
    const QVariantMap &_params;
    QString _markup;
};

/// "colours-dusk.css" of "colours.css" and the style "Dusk".
QString fileOfStyle(const QString &file, const QString &safeStyle)
{
    const QString extension = NSStringPathExtensions::pathExtension(file);
    return NSStringPathExtensions::stringByDeletingPathExtension(file) + u'-' + safeStyle +
           (extension.isEmpty() ? QString() : u'.' + extension);
}

void addColourTagFiles(HeadMarkup &head, const QVariantMap &params)
{
    const bool isPerStyle = intValue(params.value(kQFExportStyleVariationModeKey.toString())) == 0;
    const QString style = QFStringUtilities::stringEscapedForFilename(
        stringValue(params.value(kQFExportStyleNameKey.toString())));
    QObject *const theme = objectValue(params.value(kQFExportThemeKey.toString()));
    for (const QString &file : QFHost::colourTagFiles(theme))
        head.addStyleSheet(isPerStyle ? fileOfStyle(file, style) : file, kThemeVariantCorrection);
}

void addVariation(HeadMarkup &head, const QVariantMap &variation)
{
    const QString type = stringValue(variation.value(u"Type"_s));
    for (const QString &file : stringsIn(variation.value(u"Files"_s))) {
        if (type == u"Stylesheet")
            head.addStyleSheet(file, kThemeVariantCorrection);
        else if (type == u"Javascript")
            head.addScript(file, kThemeVariantCorrection);
    }
}

void addVariations(HeadMarkup &head, const QVariantMap &params)
{
    const QVariant variations = params.value(kQFExportVariationsKey.toString());
    if (variations.typeId() != QMetaType::QVariantList)
        return;
    for (const QVariant &variation : variations.toList())
        addVariation(head, dictionaryValue(variation).value_or(QVariantMap()));
}

/// In one pass; `QString::replace` would move the text behind each batch of hits.
QString replacedPlaceholders(const QString &text, const QString &markup)
{
    QString filled;
    qsizetype copied = 0;
    for (qsizetype hit = text.indexOf(kPlaceholder, 0, Qt::CaseInsensitive); hit >= 0;
         hit = text.indexOf(kPlaceholder, copied, Qt::CaseInsensitive)) {
        filled += QStringView(text).sliced(copied, hit - copied);
        filled += markup;
        copied = hit + kPlaceholder.size();
    }
    if (copied == 0)
        return text;
    filled += QStringView(text).sliced(copied);
    return filled;
}

QVariantMap namedRecord(const QString &name)
{
    return name.isNull() ? QVariantMap() : QVariantMap{{kQFSubpageNameKey.toString(), name}};
}

} // namespace

QString QFAbstractPlugin::pathToThemeFile(const QString &file, const QVariantMap &params,
                                          qint64 correction) const
{
    return addressOfThemeFile(file, params, correction);
}

QString &QFAbstractPlugin::updatePageTemplate(QString &pageTemplate, const QVariantMap &params, qint64 depth)
{
    HeadMarkup head(params); // the theme, which is asked for files, may destroy this plug-in
    head.addStyleSheet(u"styles.css"_s, depth);
    addColourTagFiles(head, params);
    addVariations(head, params);
    head.addCustom(kQFExportCustomCSSKey, u"<style type=\"text/css\" media=\"all\">", u"</style>");
    head.addScript(u"javascript.js"_s, depth);
    head.addCustom(kQFExportCustomJavaScriptKey, u"<script type=\"text/javascript\" language=\"JavaScript\">",
                   u"</script>");
    head.addCustom(kQFExportCustomHeaderKey, u"", u"");
    pageTemplate = replacedPlaceholders(pageTemplate, head.markup());
    return pageTemplate;
}

std::unique_ptr<CVHTML> QFAbstractPlugin::exporterWithParams(const QVariantMap &params) const
{
    const QFExportParams exportParams(params);
    auto exporter = std::make_unique<CVHTML>();
    exporter->setFilesFolderName(exportParams.exportFilesFolderName());
    exporter->setAssetsFolderName(exportParams.exportAssetsFolderName());
    exporter->setImagesFolderName(exportParams.exportImagesFolderName());
    return exporter;
}

QVariantMap QFAbstractPlugin::contentOnlySubpageWithHTML(const QString &HTML, const QString &name)
{
    QVariantMap record = namedRecord(name);
    if (!HTML.isNull())
        record.insert(kQFSubpageSubstitutionsKey.toString(),
                      QVariantMap{{kQFSubpageContentKey.toString(), HTML}});
    return record;
}

QVariantMap QFAbstractPlugin::contentOnlySubpageWithEntireHTML(const QString &HTML, const QString &name)
{
    QVariantMap record = namedRecord(name);
    if (!HTML.isNull())
        record.insert(kQFSubpageEntireHTMLKey.toString(), HTML);
    return record;
}

QVariantMap QFAbstractPlugin::contentOnlySubpageWithData(const QVariant &data, const QString &name)
{
    QVariantMap record = namedRecord(name);
    if (!isNil(data))
        record.insert(kQFSubpageContentDataKey.toString(), data);
    return record;
}

QVariantMap QFAbstractPlugin::customSubpageWithData(const QVariant &data, const QString &name,
                                                    const QString &destination)
{
    QVariantMap record = contentOnlySubpageWithData(data, name);
    if (!destination.isNull())
        record.insert(kQFSubpageDestinationKey.toString(), destination);
    return record;
}
