#pragma once

#include "plugin/QFFileWatcherDelegate.h"
#include "plugin/QFFolderWatcher.h"

#include <QHash>
#include <QString>

#include <functional>

/// Notices when something in a folder changes: files, folders, and what is new in them. What has a hidden
/// name is left out, and all that lies in hidden folders.
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
    void leaveReplaced();
    [[nodiscard]] bool isStillThere(const QString &path, int descriptor) const;
    void add(const QString &path);

    const QString _folder;
    const std::function<void()> _changed;
    QFFolderWatcher _watcher;
    QHash<QString, int> _watched; ///< descriptors by path
    bool _isRefreshing = false;   ///< what is told meanwhile is no news
    qsizetype _missed = 0;        ///< what could not be watched at the last time
};
