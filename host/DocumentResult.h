#pragma once

#include "platform/NSAttributedString.h"

#include <QString>

#include <utility>

/// What reading a document gives: styled text, or one sentence that says why there is none.
struct [[nodiscard]] DocumentResult
{
    NSAttributedString text;
    QString error; ///< nil when the document was read

    [[nodiscard]] bool isValid() const { return error.isNull(); }
    [[nodiscard]] static DocumentResult failure(QString reason) { return {{}, std::move(reason)}; }
};
