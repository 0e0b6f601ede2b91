#pragma once

#include "platform/QFExport.h"

#include <QByteArray>
#include <QString>

/// Paths and aliases. The system has no alias files, which stand for others and follow them when these move,
/// so every path is its own resolution; symbolic links are no aliases and stay. Alias records, bytes that do
/// the same, are the library's own.
namespace QFPathUtilities {

/// Answers of the operations with a status.
inline constexpr qint32 kPathFound = 0;
inline constexpr qint32 kPathNotFound = -43;
inline constexpr qint32 kPathEmpty = -50;

/// The path itself, to the letter.
[[nodiscard]] QF_EXPORT QString resolveAlias(const QString &path);
[[nodiscard]] QF_EXPORT QString resolveAliases(const QString &path);

/// The absolute path of a file or folder that exists, in `reference`, which is otherwise left alone.
QF_EXPORT qint32 pathToFSRef(const QString &path, QString *reference);
/// The same.
QF_EXPORT qint32 pathToFSSpec(const QString &path, QString *specification);

/// Bytes that find a file or folder again after it has been moved or renamed, or after the base folder has
/// been, with all that is in it. The base may be nil. Nil when there is nothing at the path. Any thread.
[[nodiscard]] QF_EXPORT QByteArray aliasForPathRelativeTo(const QString &path, const QString &base);
/// Absolute path of the file that such bytes stand for; see AliasRecord for where it is looked for. Nil when
/// it is not found, and for bytes from elsewhere. The user is never asked. A file that is not where it was is
/// searched for, for up to a second. Any thread.
[[nodiscard]] QF_EXPORT QString resolveAliasRelativeTo(const QByteArray &alias, const QString &base,
                                                       bool withoutUI);

} // namespace QFPathUtilities
