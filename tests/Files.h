#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>

/// All of a file; "(no such file)" for what cannot be read.
inline QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no such file)");
}

/// Writes a file anew, and the folders above it.
[[nodiscard]] inline bool write(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}
