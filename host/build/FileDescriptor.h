#pragma once

#include <QByteArray>
#include <QString>

#include <utility>

/// An open file or folder of the system, closed with its owner. Names inside an open folder lead nowhere
/// else, whatever happens to the folder's path meanwhile.
class FileDescriptor
{
public:
    FileDescriptor() = default;
    FileDescriptor(FileDescriptor &&other) noexcept : _descriptor(std::exchange(other._descriptor, -1)) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        std::swap(_descriptor, other._descriptor);
        return *this;
    }
    ~FileDescriptor();

    /// `flags` are those of open(2). Links are followed here …
    [[nodiscard]] static FileDescriptor open(const QString &path, int flags);
    /// … but not here.
    [[nodiscard]] FileDescriptor openIn(const QByteArray &name, int flags) const;
    /// A folder in this one; nothing but a folder, and no link to one.
    [[nodiscard]] FileDescriptor folderIn(const QByteArray &name) const;

    [[nodiscard]] bool isOpen() const { return _descriptor >= 0; }
    [[nodiscard]] int number() const { return _descriptor; }
    /// A path that leads to this very folder, for what takes only paths.
    [[nodiscard]] QString path() const
    {
        return QStringLiteral("/proc/self/fd/") + QString::number(_descriptor);
    }

    /// Size of a regular file; -1 for everything else.
    [[nodiscard]] qint64 sizeOfFile() const;
    /// As many bytes as there are, up to the size; -1 for a failure.
    [[nodiscard]] qint64 read(char *bytes, qint64 size) const;
    [[nodiscard]] bool write(const char *bytes, qint64 size) const;
    /// False when what was written may not have arrived.
    [[nodiscard]] bool close();

private:
    int _descriptor = -1;
};
