#pragma once

#include <QString>

/// What tells that a file is the one it was, unchanged: the system changes `changed` with every write, and
/// nobody can set it. All zero for what is not there.
struct FileStamp
{
    quint64 inode = 0;
    qint64 size = 0;
    qint64 modified = 0; ///< nanoseconds since 1970
    qint64 changed = 0;

    [[nodiscard]] static FileStamp ofFile(const QString &path);
    [[nodiscard]] bool exists() const { return inode != 0; }
    friend bool operator==(const FileStamp &, const FileStamp &) = default;
};

/// Nanoseconds since 1970, on the clock of the stamps.
[[nodiscard]] qint64 nowForStamps();
