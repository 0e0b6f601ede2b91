#pragma once

#include <QString>

/// Making movies play while they load.
namespace MovieFlattening {

/// Where it was written, or the reason why not; the other one is nil.
struct Result
{
    QString path;
    QString reason;
};

/// Writes the movie as "flattened.mov" in the folder. A file there is replaced, never written through: it may
/// be a link, or the movie itself. When this fails, it stays as it was, or empty if there was none.
[[nodiscard]] Result flatten(const QString &path, const QString &folder);

} // namespace MovieFlattening
