#include "host/build/PageFiller.h"

#include "host/build/SiteNavigation.h"
#include "host/site/PluginCalls.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "plugin/QFAbstractPlugin.h"
#include "plugin/QFExportParams.h"
#include "text/QFStrings.h"

#include <utility>

using namespace Qt::StringLiterals;
using namespace QFStringUtilities;

namespace {

qint64 depthOf(const QString &folder)
{
    return folder.isEmpty() ? 0 : folder.count(u'/') + 1;
}

} // namespace

QString htmlFrom(const QVariant &answer, const QString &operation)
{
    if (isNil(answer))
        return {};
    const QString text = stringValue(answer);
    if (text.isNull())
        reportLoss(u"plugin"_s, u"the plug-in answered something that is no text for "_s + operation);
    return text;
}

PageFiller::PageFiller(const BuildContext &context, qsizetype page, QFAbstractPlugin *plugin,
                       QVariantMap params, QObject *theme, QObject *plainTheme)
    : _context(context), _page(page), _plugin(plugin), _params(std::move(params)), _theme(theme),
      _plainTheme(plainTheme)
{
}

QList<QStringView> PageFiller::placeholders()
{
    return {u"content",    u"sidebar",    u"plugin_header", u"title",    u"site_title", u"language",
            u"base",       u"navigation", u"breadcrumb",    u"previous", u"next",       u"home",
            u"theme_path", u"style",      u"page_id",       u"option",   u"footer"};
}

const PageFiller::Surroundings &PageFiller::surroundings(bool isSubpage)
{
    std::optional<Surroundings> &known = isSubpage ? _ofSubpages : _ofPage;
    if (known)
        return *known;
    QVariantMap params = _params;
    params.insert(kQFExportSubpageKey.toString(), isSubpage);
    const auto html = [&](const QString &operation, auto call) {
        return htmlFrom(guardedCall(operation, [&] { return _plugin ? QVariant(call()) : QVariant(); }),
                        operation);
    };
    known = Surroundings();
    known->sidebar = html(u"sidebarHTML"_s, [&] { return _plugin->sidebarHTML(params); });
    known->header = html(u"pageContentHeaders"_s, [&] { return _plugin->pageContentHeaders(params); });
    return *known;
}

QString PageFiller::filled(const QString &title, const QString &content, const QString &folder)
{
    const bool isSubpage = folder != page().folder;
    QVariantMap params = _params;
    params.insert(kQFExportSubpageKey.toString(), isSubpage);
    _context.parameters.addTemplateParameters(params, page(), depthOf(folder), _theme, _plainTheme);
    QString text = _context.pageTemplate.marked();
    guardedCall(u"updatePageTemplate"_s, [&] {
        if (_plugin)
            _plugin->updatePageTemplate(text, params, depthOf(folder));
    });
    return _context.pageTemplate.filled(text, [&](QStringView name, QStringView argument) {
        if (name == u"content")
            return content;
        if (name == u"title")
            return stringEscapedForHTMLElementText(title.isNull() ? page().title : title);
        if (name == u"sidebar")
            return surroundings(isSubpage).sidebar;
        if (name == u"plugin_header")
            return surroundings(isSubpage).header;
        return name == u"option" ? option(argument.toString()) : textFor(name, folder);
    });
}

/// What stands for a placeholder in a file in the folder, whatever the plug-in.
QString PageFiller::textFor(QStringView placeholder, const QString &folder) const
{
    const SiteNavigation navigation(_context.site, _page, folder);
    const ExportParameters &parameters = _context.parameters;
    if (placeholder == u"site_title")
        return stringEscapedForHTMLElementText(_context.site.title);
    if (placeholder == u"language")
        return stringEscapedForHTMLAttribute(_context.site.language);
    if (placeholder == u"base")
        return stringEscapedForHTMLAttribute(_context.site.baseURL);
    if (placeholder == u"navigation")
        return navigation.menu();
    if (placeholder == u"breadcrumb")
        return navigation.breadcrumb();
    if (placeholder == u"previous")
        return navigation.previous();
    if (placeholder == u"next")
        return navigation.next();
    if (placeholder == u"home")
        return navigation.home();
    if (placeholder == u"theme_path")
        return (parameters.isAbsolute() ? parameters.rootPath() : u"../"_s.repeated(depthOf(folder))) +
               kPublishedTheme + u'/';
    if (placeholder == u"style")
        return stringEscapedForFilename(parameters.styleOf(page()));
    if (placeholder == u"page_id")
        return stringEscapedForHTMLAttribute(page().id);
    return _context.site.footer;
}

/// A theme-specific option as text; empty where it is none.
QString PageFiller::option(const QString &key) const
{
    QVariant value = guardedCall(u"valueForThemeSpecificOptionKey"_s, [&] {
        return _plugin ? _plugin->valueForThemeSpecificOptionKey(key) : QVariant();
    });
    const bool isText = value.convert(QMetaType::fromType<QString>());
    return isText ? stringEscapedForHTMLAttribute(value.toString()) : QString();
}
