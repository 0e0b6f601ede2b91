#include "host/ReadFiles.h"

#include <QDirIterator>
#include <QFileInfo>

#include <utility>

namespace {

thread_local ReadFiles *currentRecording = nullptr; // NOLINT: one a thread, set and unset by scopes

} // namespace

ReadFiles::ReadFiles() : _outer(std::exchange(currentRecording, this)) {}

ReadFiles::~ReadFiles()
{
    currentRecording = _outer;
}

void ReadFiles::note(const QString &path)
{
    if (!currentRecording)
        return;
    const QFileInfo info(path);
    currentRecording->_paths.insert(info.absoluteFilePath());
    if (!info.isDir())
        return;
    QDirIterator entries(path, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext())
        currentRecording->_paths.insert(QFileInfo(entries.next()).absoluteFilePath());
}
