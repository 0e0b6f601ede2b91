#pragma once

#include "platform/QFExport.h"

#include <QString>
#include <QStringView>

/// Path components as the platform splits them: pure text, no file is looked at. QFileInfo differs for
/// trailing slashes, "/" and names that start with a dot.
namespace NSStringPathExtensions {

/// "b" of "/a/b/"; "/" of "/"; empty of an empty path.
[[nodiscard]] QF_EXPORT QString lastPathComponent(QStringView path);
/// "gz" of "a.tar.gz"; empty of ".tiff", "a." and "a".
[[nodiscard]] QF_EXPORT QString pathExtension(QStringView path);
/// "a.tar" of "a.tar.gz", "/a/b" of "/a/b.tiff"; a trailing slash goes; "a." is kept whole.
[[nodiscard]] QF_EXPORT QString stringByDeletingPathExtension(QStringView path);
/// "/a" of "/a/b", "/" of "/a", empty of "a".
[[nodiscard]] QF_EXPORT QString stringByDeletingLastPathComponent(QStringView path);
/// Joined with one slash; runs of slashes collapse and a trailing one goes.
[[nodiscard]] QF_EXPORT QString stringByAppendingPathComponent(QStringView path, QStringView component);
/// "x.jpg" of "x" and "jpg"; nothing is appended to an empty path or "/".
[[nodiscard]] QF_EXPORT QString stringByAppendingPathExtension(QStringView path, QStringView extension);

} // namespace NSStringPathExtensions
