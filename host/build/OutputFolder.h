#pragma once

#include <QByteArray>
#include <QSet>
#include <QString>

/// The folder that a site is published into. Files get there whole or not at all, and only if their bytes
/// differ from what lies there, so that the others keep their times. Links inside the folder are never
/// followed. Several processes may write into one folder, if no two write one file.
class OutputFolder
{
public:
    enum class Outcome : quint8 { Written, Unchanged, Failed };

    /// `folder` is absolute and exists, and so does the builder's folder in it.
    explicit OutputFolder(QString folder);

    [[nodiscard]] const QString &path() const { return _folder; }
    [[nodiscard]] QString pathOf(const QString &file) const { return _folder + u'/' + file; }
    /// The builder's folder for files in the making.
    [[nodiscard]] QString stagingFolder() const;

    /// Publishes bytes at a path inside the folder. When that fails, `error` says why, beginning with the
    /// path.
    Outcome write(const QString &file, const QByteArray &bytes, QString &error);
    /// Moves a finished file, which lies in the staging folder, to a path inside the folder.
    Outcome take(const QString &file, const QString &staged, QString &error);
    /// Copies a file from outside.
    Outcome copy(const QString &file, const QString &source, QString &error);
    /// Removes a file, and the folders above it that are empty then.
    bool remove(const QString &file);

private:
    [[nodiscard]] bool prepareFolderOf(const QString &file, QString &error);
    [[nodiscard]] Outcome moveIntoPlace(const QString &file, const QByteArray &from, QString &error);

    const QString _folder;
    QSet<QString> _prepared; ///< folders that are there and are no links
};
