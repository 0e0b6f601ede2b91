#pragma once

#include "platform/NSFileWrapper.h"

#include <QString>

/// Writing the files that a page embeds.
namespace CVHTMLFileWrapper {

/// Writes the wrapper to `path`, over a file that lies there: it is removed first, then the wrapper is
/// written straight, so that a failure can leave a part behind. A link at the path is removed itself and its
/// target left alone. A folder or anything else in the way stays, and nothing is written. False when the path
/// could not be made free or the wrapper not be written.
[[nodiscard]] QF_EXPORT bool writeToFile(const NSFileWrapper &wrapper, const QString &path);

/// Removes a symbolic link that lies at the path, so that what is written there next does not go to the
/// link's target. Anything else stays.
QF_EXPORT void removeLink(const QString &path);

} // namespace CVHTMLFileWrapper
