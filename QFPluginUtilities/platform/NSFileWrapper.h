#pragma once

#include "platform/QFExport.h"

#include <QByteArray>
#include <QDateTime>
#include <QMap>
#include <QString>

#include <memory>
#include <optional>

class NSFileWrapper;
using NSFileWrapperPtr = std::shared_ptr<NSFileWrapper>;

/// A file, symbolic link or folder held in memory, as styled text carries it. Edited in place and shared.
class QF_EXPORT NSFileWrapper
{
public:
    enum class Kind : quint8 { RegularFile, SymbolicLink, Directory };

    /// What is kept of a file's attributes.
    struct Attributes
    {
        std::optional<quint32> posixPermissions; ///< the low twelve mode bits
        QDateTime modificationDate;              ///< invalid when unknown
        friend bool operator==(const Attributes &, const Attributes &) = default;
    };

    [[nodiscard]] static NSFileWrapperPtr regularFileWithContents(const QByteArray &contents);
    [[nodiscard]] static NSFileWrapperPtr symbolicLinkWithDestination(const QString &destination);
    /// Null children are left out; each is known by the name it stands under.
    [[nodiscard]] static NSFileWrapperPtr
    directoryWithNamedFileWrappers(const QMap<QString, NSFileWrapperPtr> &children);
    /// Null children are left out; a child is known by its preferred file name, made unique among its
    /// siblings.
    [[nodiscard]] static NSFileWrapperPtr directoryWithFileWrappers(const QList<NSFileWrapperPtr> &children);

    /// Reads what lies at `path`: a regular file whole, a link as a link, a folder with all that is in it.
    /// File name and preferred file name are the path's last component. nullptr for what is missing, cannot
    /// be read or is neither (devices, sockets), for folders nested deeper than 64 levels, and for files
    /// larger than `maximumBytes` in sum, of which each file in a folder takes 256 beside its own size.
    [[nodiscard]] static NSFileWrapperPtr
    wrapperWithPath(const QString &path, qint64 maximumBytes = qint64(2) * 1024 * 1024 * 1024);

    [[nodiscard]] Kind kind() const { return _kind; }
    [[nodiscard]] bool isRegularFile() const { return _kind == Kind::RegularFile; }
    [[nodiscard]] bool isSymbolicLink() const { return _kind == Kind::SymbolicLink; }
    [[nodiscard]] bool isDirectory() const { return _kind == Kind::Directory; }

    /// Bytes of a regular file; nil for the other kinds.
    [[nodiscard]] QByteArray regularFileContents() const { return _contents; }
    /// What a link points to, as written in it; nil for the other kinds.
    [[nodiscard]] QString symbolicLinkDestination() const { return _destination; }
    /// Children of a folder by the name each is written under.
    [[nodiscard]] const QMap<QString, NSFileWrapperPtr> &fileWrappers() const { return _children; }

    /// Name that the file was read from; nil for one made in memory.
    [[nodiscard]] QString filename() const { return _filename; }
    void setFilename(const QString &name) { _filename = name; }
    /// Name that the file would like to have. Read as data only: it may hold separators, "..", anything.
    [[nodiscard]] QString preferredFilename() const { return _preferredFilename; }
    void setPreferredFilename(const QString &name) { _preferredFilename = name; }
    /// Bytes of a picture that stands for the file; nil for none.
    [[nodiscard]] QByteArray icon() const { return _icon; }
    void setIcon(const QByteArray &icon) { _icon = icon; }
    [[nodiscard]] const Attributes &fileAttributes() const { return _attributes; }
    void setFileAttributes(const Attributes &attributes) { _attributes = attributes; }

    /// Writes the wrapper to `path`, which must not exist. `atomically`: through a temporary neighbour that
    /// is renamed when whole; otherwise straight, so that a failure can leave a part behind. Names of a
    /// folder's children are reduced to their last component, and where nothing sensible is left, nothing is
    /// written. Links are written as links and never followed. Permissions (without set-id bits) and date are
    /// set where the file system takes them. False when anything could not be written, for folders nested
    /// deeper than 64 levels too.
    [[nodiscard]] bool writeToPath(const QString &path, bool atomically) const;

private:
    explicit NSFileWrapper(Kind kind) : _kind(kind) {}

    Kind _kind;
    QByteArray _contents;
    QString _destination;
    QMap<QString, NSFileWrapperPtr> _children;
    QString _filename;
    QString _preferredFilename;
    QByteArray _icon;
    Attributes _attributes;
};
