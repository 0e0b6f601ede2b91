#pragma once

#include "host/DocumentResult.h"
#include "platform/NSFileWrapper.h"

#include <QByteArray>
#include <QMap>
#include <QString>

/// The readable form of a styled text. docs/styled-text.md describes it for people.
namespace StyledTextJSON {

/// Reads the form. Attached files are named relative to `baseFolder` and must lie inside it. Malformed JSON
/// and a structure that does not add up are errors, with the line and column or the path of the value. A
/// known key with a value of a wrong type counts as absent, and an attached file that cannot be read is left
/// out; both make a record in the current report. Runs with equal attributes share one dictionary. Linear in
/// the input.
DocumentResult read(const QByteArray &bytes, const QString &baseFolder);

struct Written
{
    QByteArray json; ///< UTF-8, ends with a newline
    /// What the attachments hold, by the path that the JSON names, which is relative and starts with the
    /// files folder.
    QMap<QString, NSFileWrapperPtr> files;
};

/// Writes the form, one line for each run, keys sorted: equal texts give equal bytes. Attachments name files
/// in the folder `filesFolder`; writing these is the caller's work. What JSON cannot hold (values of other
/// classes, floats that are no numbers) is left out with a record in the current report.
[[nodiscard]] Written write(const NSAttributedString &text, const QString &filesFolder);

} // namespace StyledTextJSON
