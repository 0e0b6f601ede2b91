#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

/// JSON files that people write by hand.
namespace JSONFile {

/// "line 3, column 7" of a byte of the file.
[[nodiscard]] QString positionOf(const QByteArray &bytes, qsizetype offset);

/// The object that a file holds. Nothing for a file that cannot be read, is larger than 64 MB, or holds no
/// JSON or something else than an object; `error` is then a sentence that begins with the path and says
/// where.
[[nodiscard]] std::optional<QJsonObject> read(const QString &path, QString &error);

} // namespace JSONFile
