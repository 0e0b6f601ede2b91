#pragma once

#include <QSet>
#include <QString>

/// Notes which files are read, or looked for and not found, on this thread while it lives: what a page that
/// was made meanwhile depends on. Recordings nest; the inner one notes.
class ReadFiles
{
public:
    ReadFiles();
    ~ReadFiles();
    ReadFiles(const ReadFiles &) = delete;
    ReadFiles &operator=(const ReadFiles &) = delete;

    /// Absolute paths, as they were asked for.
    [[nodiscard]] const QSet<QString> &paths() const { return _paths; }

    /// Notes a path in this thread's recording, if there is one. Of a folder, all that is in it counts.
    static void note(const QString &path);

private:
    QSet<QString> _paths;
    ReadFiles *_outer;
};
