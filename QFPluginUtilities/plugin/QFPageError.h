#pragma once

#include "platform/QFExport.h"

#include <QString>

/// An error that a plug-in or the host reports about a page. Subclasses fill the answers.
class QF_EXPORT QFPageError
{
public:
    QFPageError() = default;
    virtual ~QFPageError();
    QFPageError(const QFPageError &) = delete;
    QFPageError &operator=(const QFPageError &) = delete;

    /// Severity, greater for worse: 0 here.
    [[nodiscard]] virtual int level() const;
    /// A sentence for people: nil here.
    [[nodiscard]] virtual QString reason() const;
};
