#pragma once

#include "plugin/QFFileWatcher.h"

/// Watches every file and folder below one folder. Names that begin with a dot are left out; what lies in
/// such a folder is not, unless its own name begins so. Links to folders are not followed, and names that
/// are no valid text are passed over.
///
/// A new file is not noticed by itself: `refreshFolder` finds it. The folder that holds it is told as
/// changed, save the outermost one, which is not watched unless it is given to `addFile`.
class QF_EXPORT QFFolderWatcher : public QFFileWatcher
{
public:
    explicit QFFolderWatcher(QFFileWatcherDelegate *delegate = nullptr);
    ~QFFolderWatcher() override;

    /// Remembers the folder and adds all that is below it, in the order of the paths, up to the first that
    /// fails. Answers for the last one that was tried; false when there was none.
    bool addFolder(const QString &folder);
    /// Does nothing, like `removeFile`.
    void removeFolder(const QString &folder);
    /// Adds what is new below the folder, as `addFolder` does; false when nothing is, or there is no folder.
    bool refreshFolder();
    /// Nil until one is added.
    [[nodiscard]] QString folder() const;

private:
    struct Data;
    std::unique_ptr<Data> _folderData;
};
