#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/// Something that is wrong with a published site.
struct SiteFinding
{
    QString kind;    ///< "broken-link", "missing-asset", "missing-anchor", "missing-alt", "orphan",
                     ///< "stray-file", "missing-file" or "written-twice"
    QString file;    ///< path inside the published site of the page or file concerned
    QString message; ///< a sentence for people
};

namespace SiteCheck {

/// Looks over a published site: whether every address in its pages and style sheets that lies in the site
/// leads to a file and a place in it, pictures have a text for those who cannot see them, files are what the
/// last build has left, and no two files had one name. By file. `error` is a sentence when the folder was not
/// built by `SiteBuilder`. Reads every page once, and those that links lead into twice.
[[nodiscard]] QList<SiteFinding> check(const QString &output, QString &error);

} // namespace SiteCheck
