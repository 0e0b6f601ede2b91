#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>

/// Modification date of what is at the path, links followed, in nanoseconds since 1970.
[[nodiscard]] std::optional<qint64> modificationDate(const QString &path);

/// A file that is held on to by a descriptor, whatever name it has. The descriptor allows no reading, so
/// opening needs no permission for that and never waits for the other end of a pipe. Closed at the end: as
/// long as somebody holds a file, no other has its number.
class WatchedFile
{
public:
    /// nullptr when there is nothing at the path.
    [[nodiscard]] static std::shared_ptr<WatchedFile> open(const QString &path);
    ~WatchedFile();
    WatchedFile(const WatchedFile &) = delete;
    WatchedFile &operator=(const WatchedFile &) = delete;

    [[nodiscard]] const QString &path() const { return _path; }
    [[nodiscard]] int descriptor() const { return _descriptor; }
    [[nodiscard]] bool isFolder() const { return _isFolder; }
    /// A path that leads to this very file.
    [[nodiscard]] QByteArray descriptorPath() const;
    /// Where the file is now; after its deletion some text.
    [[nodiscard]] QByteArray currentPath() const;
    /// Without a name, or found neither at its path nor where the kernel says that it is. So neither a new
    /// name nor one of a folder above makes a file gone, but another file in its place does.
    [[nodiscard]] bool isGone() const;

private:
    WatchedFile(QString path, int descriptor, bool isFolder);

    const QString _path;
    const int _descriptor;
    const bool _isFolder;
};
