#pragma once

#include <QList>
#include <QString>
#include <QVariant>

#include <optional>

/// A file that a plug-in wants beside its page.
struct ExtraFile
{
    enum class Kind : quint8 {
        Content, ///< the page's template with other content
        Page,    ///< a whole page
        Data,
        Copy ///< of a file
    };

    Kind kind = Kind::Data;
    QString name;        ///< a safe one; for Kind::Copy the file's own
    QString destination; ///< path inside the published site; nil for the folder of files
    QString title;       ///< of Content; nil: the page's own
    QString text;        ///< of Content and Page
    QByteArray data;
    QString source; ///< of Copy: an absolute path
};

namespace ExtraFiles {

/// What a plug-in answered for `extraFilesNeededInExportFolder`, read. Destinations count from `folder`, a
/// path inside the published site; HTML files without an extension get `extension`. What has a wrong type, no
/// safe name, or a place outside the site makes a record in the current report and is left out. `siteFolder`
/// is where relative paths of files to be copied count from.
[[nodiscard]] QList<ExtraFile> read(const QVariant &answer, const QString &folder, const QString &extension,
                                    const QString &siteFolder);

} // namespace ExtraFiles
