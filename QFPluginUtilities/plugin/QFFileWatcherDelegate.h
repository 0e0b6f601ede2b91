#pragma once

#include "platform/QFExport.h"

#include <QObject>
#include <QString>

/// Is told what happened to watched files, each named by the path under which it was added. What these
/// operations throw is caught and logged. They may add files, stop the watcher and delete it.
class QF_EXPORT QFFileWatcherDelegate : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// The file was written; also told by `QFFileWatcher::addFile`, before it does anything else.
    virtual void watchedFileDidChange(const QString &path) = 0;
    /// The file has another name now. `path` is still the old one, and the file stays watched under it.
    virtual void watchedFileWasRenamed(const QString &path) = 0;
    /// The file is gone, or another one took its place as when an editor saves. It is watched no longer.
    virtual void watchedFileWasDeleted(const QString &path) = 0;
};
