#pragma once

#include "platform/QFReport.h"
#include "plugin/QFPageError.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

/// What is wrong with one page after a build.
struct PageErrors
{
    QString page; ///< unique ID; nil for the site as a whole
    QList<std::shared_ptr<const QFPageError>> errors;
};

/// How bad a reported error is.
inline constexpr int kPageErrorLoss = 1;    ///< something was left out, as the rules have it
inline constexpr int kPageErrorFailure = 2; ///< something could not be done

/// The records of a build as errors of pages, in the order of the records; neighbours of the same page are
/// together. A reason names the file concerned. All that is said of the pages `failed`, unique IDs, is a
/// failure.
[[nodiscard]] QList<PageErrors> pageErrors(const QList<QFReportRecord> &records, const QStringList &failed);
