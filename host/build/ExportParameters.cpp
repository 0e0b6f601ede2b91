#include "host/build/ExportParameters.h"

#include "host/ReadFiles.h"
#include "host/TextFile.h"
#include "platform/NSStringPathExtensions.h"
#include "platform/QFReport.h"
#include "plugin/QFExportParams.h"
#include "text/QFStrings.h"

#include <QUrl>

#include <utility>

using namespace Qt::StringLiterals;
using namespace NSStringPathExtensions;

namespace {

/// The text of a file that goes into the head; empty for none.
QString textForHead(const QString &path)
{
    if (path.isNull())
        return {};
    ReadFiles::note(path);
    const TextFile file = TextFile::read(path);
    if (!file.error.isNull())
        reportLoss(u"site"_s, file.error, path);
    return file.text;
}

QString styleSheetLink(const QString &address)
{
    return u"<link rel=\"stylesheet\" type=\"text/css\" href=\""_s +
           QFStringUtilities::stringEscapedForHTMLAttribute(address) + u"\" />"_s;
}

} // namespace

void ExportParameters::reportMissing(const SitePage &page, const QStringList &variations) const
{
    for (const QString &name : variations)
        reportLoss(u"site"_s, u"the theme has no variation "_s + name.left(100));
    if (!page.style.isNull() && styleOf(page) != page.style)
        reportLoss(u"site"_s, u"the theme has no style "_s + page.style.left(100));
}

QString ExportParameters::modeName() const
{
    return _mode == BuildMode::Preview   ? u"preview"_s
           : _mode == BuildMode::Publish ? u"publish"_s
                                         : u"export"_s;
}

QString ExportParameters::rootPath() const
{
    if (_mode == BuildMode::Preview)
        return u"/"_s;
    QString path = QUrl(_site.baseURL).path(QUrl::FullyEncoded);
    path = u'/' + path + u'/';
    // Two slashes at the start would name a server.
    return QFStringUtilities::stripRepeatedPathSeparators(path);
}

QString ExportParameters::styleOf(const SitePage &page) const
{
    return _theme.styles.contains(page.style) ? page.style : _theme.styles.value(0);
}

QVariantMap ExportParameters::ofPage(const SitePage &page, const QVariantMap &attributes,
                                     const QString &location) const
{
    const QString root = isAbsolute() ? rootPath() : QString();
    QVariantMap params;
    const auto set = [&params](QStringView key, const QVariant &value) {
        params.insert(key.toString(), value);
    };
    set(kQFExportModeKey, modeName());
    set(kQFExportFilenameKey, page.file());
    set(kQFExportFilenameExtensionKey, page.extension);
    set(kQFExportPageTitleKey, page.title);
    set(kQFExportPagePathKey, page.path());
    set(kQFExportPageLocationKey, location);
    set(kQFExportFilesFolderNameKey, page.filesFolderName());
    set(kQFExportImagesFolderNameKey, page.filesFolderName());
    set(kQFExportAssetsFolderNameKey, QString(u"../"_s.repeated(page.depth()) + kPublishedAssets));
    set(kQFExportPageAttributesKey, attributes);
    set(kQFExportSiteIndexFilenameKey, _site.index);
    set(kQFExportPathToCommonThemeFilesKey, QString(root + kPublishedTheme));
    set(kQFExportPathToCommonPluginFilesKey, QString(root + kPublishedPlugins + u'/' + page.plugin));
    set(kQFExportCommonPathsAreRelativeKey, !isAbsolute());
    set(kQFExportCommonPathsAreAbsoluteKey, isAbsolute());
    set(kQFExportSiteBaseURLKey, _site.baseURL);
    set(kQFExportContentOnlySubpagesKey, _theme.contentOnlySubpages);
    set(kQFExportSubpageKey, false);
    return params;
}

/// Links as a plug-in would write them, but with addresses from the page's depth.
QString ExportParameters::themeLinks(const SitePage &page, const QVariantList &variations, qint64 depth) const
{
    const QString folder = u"../"_s.repeated(depth) + kPublishedTheme + u'/';
    const QString style = QFStringUtilities::stringEscapedForFilename(styleOf(page));
    QString links;
    for (const QString &file : _theme.colourTagFiles) {
        const QString extension = pathExtension(file);
        const QString name = _theme.styleVariationMode != 0
                                 ? file
                                 : stringByDeletingPathExtension(file) + u'-' + style +
                                       (extension.isEmpty() ? u""_s : u'.' + extension);
        links += styleSheetLink(folder + name);
    }
    for (const QVariant &variation : variations) {
        const QVariantMap map = variation.toMap();
        const bool isSheet = map.value(u"Type"_s).toString() == u"Stylesheet";
        const QStringList files = map.value(u"Files"_s).toStringList();
        for (const QString &file : files)
            links += isSheet ? styleSheetLink(folder + file)
                             : u"<script type=\"text/javascript\" src=\""_s +
                                   QFStringUtilities::stringEscapedForHTMLAttribute(folder + file) +
                                   u"\"></script>"_s;
    }
    return links;
}

void ExportParameters::addTemplateParameters(QVariantMap &params, const SitePage &page, qint64 depth,
                                             QObject *themeObject, QObject *plainTheme) const
{
    const auto set = [&params](QStringView key, const QVariant &value) {
        params.insert(key.toString(), value);
    };
    QStringList missing;
    const QVariantList variations = _theme.variationsNamed(page.variations, missing);
    if (depth == page.depth()) // said once, not for each subpage
        reportMissing(page, missing);
    QString css = textForHead(page.css);
    QString header = textForHead(page.header);
    const bool linksFit = isAbsolute() || depth == 1;
    if (!linksFit) {
        // The page's own style sheet stays behind those of the theme.
        if (!css.isEmpty())
            css = u"<style type=\"text/css\" media=\"all\">"_s + css + u"</style>"_s;
        header = themeLinks(page, variations, depth) + std::exchange(css, {}) + header;
    }
    set(kQFExportThemeKey, QVariant::fromValue(linksFit ? themeObject : plainTheme));
    set(kQFExportStyleVariationModeKey, _theme.styleVariationMode);
    set(kQFExportStyleNameKey, styleOf(page));
    set(kQFExportVariationsKey, linksFit ? variations : QVariantList());
    set(kQFExportCustomCSSKey, css);
    set(kQFExportCustomJavaScriptKey, textForHead(page.script));
    set(kQFExportCustomHeaderKey, header);
}
