#pragma once

#include "host/build/FileDescriptor.h"

#include <QByteArray>
#include <QString>

/// The built site, for reading. No link in it is followed, what is neither file nor folder is not opened, and
/// the builder's own folder does not exist here.
class PreviewFolder
{
public:
    enum class Kind : quint8 { Nothing, File, Folder };
    struct Found
    {
        Kind kind = Kind::Nothing;
        FileDescriptor file;
        qint64 size = 0;
    };

    explicit PreviewFolder(const QString &path);

    /// `path` counts from the folder, without a slash at its start; "" is the folder itself.
    [[nodiscard]] Found find(const QByteArray &path) const;

private:
    const FileDescriptor _root;
};
