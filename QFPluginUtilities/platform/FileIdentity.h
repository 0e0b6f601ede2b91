#pragma once

#include <QByteArray>

#include <optional>

/// What a file is, whatever it is called and wherever it lies. Any thread.
struct FileIdentity
{
    enum class Kind : quint8 { File, Folder, Link, Other };

    enum class Agreement {
        Same,
        Different,
        Unknown, ///< the file system gives no proof
    };

    quint64 device = 0;
    quint64 inode = 0;
    qint32 handleType = 0;
    QByteArray handle;               ///< the file system's own name of the file; empty where it has none
    std::optional<qint64> birthTime; ///< nanoseconds since 1970
    qint64 size = 0;                 ///< bytes
    qint64 modificationTime = 0;     ///< nanoseconds since 1970
    Kind kind = Kind::Other;

    /// Of what stands at a path, relative to the folder that is open as `folder` or to the current one. Of a
    /// symbolic link itself, not of its target. Nothing where there is nothing, for a link that leads
    /// nowhere, and without leave to look.
    [[nodiscard]] static std::optional<FileIdentity> at(int folder, const QByteArray &path);
    [[nodiscard]] static std::optional<FileIdentity> at(const QByteArray &path);

    /// Whether both are of one file. The handle proves it, else the moment at which the inode was made. The
    /// inode's number alone proves nothing: file systems give it to the next file as soon as one is deleted.
    [[nodiscard]] Agreement agreementWith(const FileIdentity &other) const;

    /// Whether the other may be a copy: of one kind, size and moment of the last change.
    [[nodiscard]] bool looksLike(const FileIdentity &other) const;
};
