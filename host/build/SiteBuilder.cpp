#include "host/build/SiteBuilder.h"

#include "host/build/OutputPlace.h"
#include "host/build/PageFiller.h"
#include "host/build/SiteBuild.h"
#include "host/site/SiteReader.h"
#include "platform/NSUserDefaults.h"

#include <QDir>
#include <QElapsedTimer>

#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// A copy of the site's preferences, which plug-ins may change as they like; empty where the site has none.
QString preferencesFor(const Site &site, const QString &output)
{
    OutputFolder folder(output);
    const QString inside = folder.stagingFolder().mid(output.size() + 1) + u"/preferences"_s;
    const QFileInfoList files =
        QDir(site.folder + u"/preferences"_s).entryInfoList({u"*.plist"_s}, QDir::Files);
    for (const QFileInfo &file : files) {
        QString error;
        if (folder.copy(inside + u'/' + file.fileName(), file.filePath(), error) ==
            OutputFolder::Outcome::Failed)
            reportLoss(u"build"_s, u"preferences could not be read: "_s + error, file.filePath());
    }
    return folder.pathOf(inside);
}

BuildResult failure(const QString &error, const QFReport &report)
{
    BuildResult result;
    result.error = error;
    result.records = report.records();
    return result;
}

} // namespace

BuildResult SiteBuilder::build(const BuildRequest &request, PluginModules &modules, const BuildEvents &events)
{
    QElapsedTimer timer;
    timer.start();
    QFReport report;
    const QFReport::Installed collecting(report);
    QString error;
    const std::optional<Site> site = SiteReader::read(request.site, error);
    const std::optional<SiteTheme> theme = site ? SiteTheme::read(site->theme, error) : std::nullopt;
    if (!theme)
        return failure(error, report);
    const OutputPlace place(request.output, site->folder, error);
    if (!error.isNull())
        return failure(error, report);
    const QString preferences = preferencesFor(*site, place.path());
    NSUserDefaults::standardUserDefaults().setFolder(preferences);

    const ExportParameters parameters(*site, *theme, request.mode);
    const PageTemplate pageTemplate(theme->pageTemplate, PageFiller::placeholders());
    const BuildContext context{*site, *theme, parameters, pageTemplate, modules, place.path()};
    SiteBuild build(request, context, events, preferences);
    build.run();
    build.result.records = report.records() + build.result.records;
    build.result.seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    return std::move(build.result);
}
