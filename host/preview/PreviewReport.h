#pragma once

#include "platform/QFReport.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

/// What the last build of a site came to, for those who look at it in a browser.
struct PreviewReport
{
    enum class Outcome : quint8 {
        Pending, ///< there was no build yet
        Failed,  ///< the last build gave no site
        Built    ///< there is a site, maybe without some of its pages
    };
    Outcome outcome = Outcome::Pending;
    QList<QFReportRecord> problems;
    QHash<QByteArray, QString>
        failedFiles;                 ///< IDs of pages that were not made, by the paths of what lies there
    QByteArray index = "index.html"; ///< name of the file that a folder answers
    qint64 written = 0;              ///< files that are different since, or gone

    /// Reads what `qf build --json` prints, or its report where it has no result to print. `output` is the
    /// built site.
    [[nodiscard]] static PreviewReport ofBuild(const QByteArray &summary, const QByteArray &report,
                                               const QString &output);

    /// Whether browsers show the same for both, as far as it depends on the report.
    [[nodiscard]] bool looksLike(const PreviewReport &other) const
    {
        return outcome == other.outcome && problems == other.problems && failedFiles == other.failedFiles &&
               index == other.index;
    }
};
