#include "plugin/QFFolderWatcher.h"

#include "platform/NSStringPathExtensions.h"

#include <QDirIterator>

using namespace Qt::StringLiterals;

struct QFFolderWatcher::Data
{
    QString folder;
};

namespace {

/// Sorted, so that it does not depend on the file system which file fails first.
QStringList visibleFilesBelow(const QString &folder)
{
    const QString root = NSStringPathExtensions::stringByAppendingPathComponent(folder, {});
    if (root.isEmpty() || root.contains(u'\0'))
        return {};
    QStringList files;
    QDirIterator below(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (below.hasNext()) {
        below.next();
        if (!below.fileName().startsWith(u'.'))
            files += below.filePath();
    }
    files.sort();
    return files;
}

} // namespace

QFFolderWatcher::QFFolderWatcher(QFFileWatcherDelegate *delegate)
    : QFFileWatcher(delegate), _folderData(std::make_unique<Data>())
{
}

QFFolderWatcher::~QFFolderWatcher() = default;

bool QFFolderWatcher::addFolder(const QString &folder)
{
    _folderData->folder = folder;
    return addFiles(visibleFilesBelow(folder));
}

/// Meant, like `removeFile`.
void QFFolderWatcher::removeFolder(const QString & /*folder*/) {}

bool QFFolderWatcher::refreshFolder()
{
    QStringList files = visibleFilesBelow(_folderData->folder);
    files.removeIf([this](const QString &file) { return !locateFileByPath(file).isEmpty(); });
    return addFiles(files);
}

QString QFFolderWatcher::folder() const
{
    return _folderData->folder;
}
