#include "host/preview/PreviewFolder.h"

#include "host/site/Site.h"

#include <QFile>

#include <algorithm>
#include <fcntl.h>
#include <utility>

PreviewFolder::PreviewFolder(const QString &path) : _root(FileDescriptor::open(path, O_RDONLY | O_DIRECTORY))
{
}

PreviewFolder::Found PreviewFolder::find(const QByteArray &path) const
{
    QList<QByteArray> names = path.split('/');
    const QByteArray last = names.takeLast();
    const bool isHidden =
        names.value(0, last).compare(QFile::encodeName(kBuilderFolder), Qt::CaseInsensitive) == 0;
    // Opening a name goes down one step only when it is one.
    const auto isOdd = [](const QByteArray &name) {
        return name.isEmpty() || name == "." || name == ".." || name.contains('\0');
    };
    if (isHidden || std::any_of(names.begin(), names.end(), isOdd) || (!path.isEmpty() && isOdd(last)))
        return {};
    FileDescriptor folder = _root.folderIn(".");
    for (const QByteArray &name : std::as_const(names))
        folder = folder.folderIn(name);
    if (path.isEmpty() || folder.folderIn(last).isOpen())
        return {Kind::Folder, {}, 0};
    FileDescriptor file = folder.openIn(last, O_RDONLY);
    const qint64 size = file.sizeOfFile();
    return size < 0 ? Found() : Found{Kind::File, std::move(file), size};
}
