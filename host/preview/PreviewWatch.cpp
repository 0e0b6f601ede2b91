#include "host/preview/PreviewWatch.h"

#include <QDir>
#include <QDirIterator>
#include <QScopedValueRollback>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// Where the kernel has no more room for watches, all that is left would fail, with a line in the log each.
constexpr qsizetype kMaximumMissed = 20;

} // namespace

PreviewWatch::PreviewWatch(const QString &folder, std::function<void()> changed)
    : _folder(folder), _changed(std::move(changed)), _watcher(this)
{
}

PreviewWatch::~PreviewWatch()
{
    _watcher.stop();
}

QString PreviewWatch::refresh()
{
    const QScopedValueRollback adding(_isAdding, true);
    const qsizetype missed = std::exchange(_missed, 0);
    if (_watcher.locateFileByPath(_folder).isEmpty() && !_watcher.addFile(_folder))
        ++_missed;
    const bool isBegun = !_watcher.folder().isNull();
    if (!(isBegun ? _watcher.refreshFolder() : _watcher.addFolder(_folder)))
        addRest();
    if (_missed == 0 || missed > 0)
        return {};
    return _folder +
           u": not everything in it can be watched; what changes there is seen with the next change "
           "elsewhere"_s;
}

/// The watcher gives up at the first file that it cannot watch, a link to nothing perhaps.
void PreviewWatch::addRest()
{
    QDirIterator entries(_folder, QDir::AllEntries | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (entries.hasNext() && _missed < kMaximumMissed) {
        const QString path = entries.next();
        if (_watcher.locateFileByPath(path).isEmpty() && !_watcher.addFile(path))
            ++_missed;
    }
}

void PreviewWatch::watchedFileDidChange(const QString & /*path*/)
{
    if (!_isAdding)
        _changed();
}

void PreviewWatch::watchedFileWasRenamed(const QString & /*path*/)
{
    _changed();
}

void PreviewWatch::watchedFileWasDeleted(const QString & /*path*/)
{
    _changed();
}
