#pragma once

#include "plugin/QFFileWatcherDelegate.h"
#include "plugin/QFFolderWatcher.h"

#include <QString>

#include <functional>

/// Notices when something in a folder changes: files, folders, and what is new in them.
class PreviewWatch : public QFFileWatcherDelegate
{
    Q_OBJECT

public:
    PreviewWatch(const QString &folder, std::function<void()> changed);
    ~PreviewWatch() override;

    /// Begins, or goes on to what has come since. Nil, or a sentence about what cannot be watched; it is said
    /// once.
    [[nodiscard]] QString refresh();

    void watchedFileDidChange(const QString &path) override;
    void watchedFileWasRenamed(const QString &path) override;
    void watchedFileWasDeleted(const QString &path) override;

private:
    void addRest();

    const QString _folder;
    const std::function<void()> _changed;
    QFFolderWatcher _watcher;
    bool _isAdding = false; ///< files that are added are told as changed, which is no news
    qsizetype _missed = 0;  ///< what could not be watched at the last time
};
