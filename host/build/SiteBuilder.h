#pragma once

#include "host/build/ExportParameters.h"
#include "platform/QFReport.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class PluginModules;

struct BuildRequest
{
    QString site;   ///< folder
    QString output; ///< folder; made when it is missing
    BuildMode mode = BuildMode::Export;
    int jobs = 1; ///< worker processes; 0 makes all pages in this process
    int secondsForPage = 300;
    bool everything = false; ///< makes every page, whatever the last build has left
    bool prune = false;      ///< removes what earlier builds made and no page has any more
};

struct BuildEvents
{
    /// `done` of `total` parts are finished; `message` is what a plug-in or the builder says.
    std::function<void(qsizetype done, qsizetype total, const QString &message)> progress = [](auto...) {};
    /// Asked often; once it answers true, no further page is begun.
    std::function<bool()> isCancelled = [] { return false; };
};

struct BuildResult
{
    QString error; ///< a sentence when there was no build at all; nil otherwise
    bool isCancelled = false;
    qsizetype pages = 0;     ///< that the site has, without external ones
    qsizetype made = 0;      ///< that were made anew
    qsizetype failed = 0;    ///< that could not be made or were left out for a fault in site.json
    QStringList failedPages; ///< IDs of those that could not be made
    bool isWhole = true;     ///< false when a file that belongs to no page could not be written
    qsizetype files = 0;     ///< that the published site has
    qsizetype written = 0;   ///< whose bytes have changed
    qint64 bytes = 0;        ///< of all files
    double seconds = 0;
    QList<QFReportRecord> records; ///< problems, those of pages that were not made anew included
    QStringList orphans;           ///< files of earlier builds that no page has any more
    QStringList pruned;            ///< those that were removed
};

namespace SiteBuilder {

/// Builds a site into a folder. A page is made anew only where its bytes could change: if nothing that went
/// into it is different (its entry in site.json, the structure of the site, theme, modules, program, files
/// read), it is left as it is. Two builds of the same site give the same bytes, whatever the number of jobs.
/// Nothing outside the output folder is written. Two builds into one folder at the same time are refused.
/// Sets the folder of the process's preferences.
[[nodiscard]] BuildResult build(const BuildRequest &request, PluginModules &modules,
                                const BuildEvents &events = {});

} // namespace SiteBuilder
