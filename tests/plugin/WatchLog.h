#pragma once

#include "plugin/QFFileWatcherDelegate.h"

#include <QDir>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <utility>

/// A delegate that writes down what it is told, such as "changed a", with the names inside its own folder.
class WatchLog : public QFFileWatcherDelegate
{
    Q_OBJECT

public:
    QTemporaryDir folder;
    QStringList calls;
    std::function<void()> meanwhile; ///< done in each call

    [[nodiscard]] QString path(const QString &name) const { return folder.filePath(name); }

    void write(const QString &name, const QByteArray &text = "text") const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::Append) || file.write(text) != text.size())
            qFatal("cannot write %s", qPrintable(file.fileName()));
    }

    /// What was told since the last time.
    QStringList take() { return std::exchange(calls, {}); }

    void watchedFileDidChange(const QString &path) override { note(QStringLiteral("changed "), path); }
    void watchedFileWasRenamed(const QString &path) override { note(QStringLiteral("renamed "), path); }
    void watchedFileWasDeleted(const QString &path) override { note(QStringLiteral("deleted "), path); }

private:
    void note(const QString &what, const QString &path)
    {
        calls += what + QDir(folder.path()).relativeFilePath(path);
        if (const std::function<void()> now = meanwhile)
            now();
    }
};

/// Open descriptors ("fd") or threads ("task") of this process.
inline qsizetype countOf(const QString &what)
{
    return QDir(QStringLiteral("/proc/self/") + what)
        .entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot)
        .size();
}
