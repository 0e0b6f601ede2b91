#pragma once

#include <QString>

/// The path of a file that a document names, if it lies in the document's folder or below it: nil for
/// absolute names, for names that lead out of the folder ("..", links that point elsewhere) and for what does
/// not exist. Links in folders are followed; a link that is itself named is answered as a link, if its target
/// lies inside.
[[nodiscard]] QString containedPath(const QString &folder, const QString &name);
