#pragma once

#include "host/build/FileDescriptor.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

/// The folder that a site is published into. Files get there whole or not at all, and only if their bytes
/// differ from what lies there, so that the others keep their times. No link inside the folder is ever
/// followed, not even one that a plug-in puts there while a page is being made: each folder on the way is
/// opened in the one above it. Several processes may write into one folder, if no two write one file.
class OutputFolder
{
public:
    enum class Outcome : quint8 { Written, Unchanged, Failed };

    /// `folder` is absolute and exists, and so does the staging folder in it.
    explicit OutputFolder(QString folder);

    [[nodiscard]] const QString &path() const { return _folder; }
    [[nodiscard]] QString pathOf(const QString &file) const { return _folder + u'/' + file; }

    /// Publishes bytes at a path inside the folder. When that fails, `error` says why, beginning with the
    /// path.
    [[nodiscard]] Outcome write(const QString &file, const QByteArray &bytes, QString &error);
    /// Moves a regular file from a path inside the staging folder to a path inside this one.
    [[nodiscard]] Outcome take(const QString &file, const QString &staged, QString &error);
    /// Copies a file from outside.
    [[nodiscard]] Outcome copy(const QString &file, const QString &source, QString &error);
    /// Removes a file, and the folders above it that are empty then.
    bool remove(const QString &file);

    // The staging folder, for files in the making. Paths are those inside it.

    [[nodiscard]] QString stagingFolder() const;
    /// Makes an empty folder in a folder, with nothing else in either. One that is so already is kept: making
    /// and removing folders would cost more than a page of text.
    [[nodiscard]] bool prepareStaged(const QString &folder, const QString &inner);
    /// Regular files below a folder, sorted; what is neither file nor folder is appended to `odd`.
    [[nodiscard]] QStringList stagedFiles(const QString &folder, QStringList &odd) const;
    /// Removes everything in it, and makes it where it is missing. False when it is no folder or cannot be
    /// made.
    [[nodiscard]] bool clearStaging();
    /// Removes it altogether.
    void removeStaging();

private:
    [[nodiscard]] FileDescriptor folderOf(const QString &file, QString &error) const;
    [[nodiscard]] FileDescriptor staging() const;
    template <typename Make>
    [[nodiscard]] Outcome publish(const FileDescriptor &folder, const QString &file, QString &error,
                                  Make make);
    [[nodiscard]] Outcome moveIntoPlace(const FileDescriptor &from, const QByteArray &name,
                                        const FileDescriptor &folder, const QString &file,
                                        QString &error) const;

    const QString _folder;
    const FileDescriptor _root;
};
