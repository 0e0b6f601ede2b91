#include "host/preview/PreviewWatch.h"

#include "host/preview/DescriptorLimit.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QScopedValueRollback>

#include <algorithm>
#include <sys/stat.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// Where there is no more room for watches, all that is left would fail, with a line in the log each.
constexpr qsizetype kMaximumMissed = 20;

/// Descriptors that connections and builds are to find free.
constexpr int kReserve = 200;

/// The first number that is too high for the descriptor of a watched file.
int limitOfWatches()
{
    const int limit = DescriptorLimit::current();
    return limit - std::min(kReserve, limit / 2);
}

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
    const QScopedValueRollback refreshing(_isRefreshing, true);
    const qsizetype missed = std::exchange(_missed, 0);
    leaveReplaced();
    add(_folder);
    // No hidden folder is entered: .git alone may hold more files than can be watched.
    QDirIterator entries(_folder, QDir::AllEntries | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (entries.hasNext() && _missed < kMaximumMissed)
        add(entries.next());
    if (_missed == 0 || missed > 0)
        return {};
    return _folder +
           u": not everything in it can be watched; what changes there is seen with the next change "
           "elsewhere"_s;
}

/// A file keeps its record under its old path when it is renamed. Another one that has come there, as the
/// first save of an editor that keeps the old file does it, would count as watched.
void PreviewWatch::leaveReplaced()
{
    QList<int> replaced;
    for (auto watched = _watched.cbegin(); watched != _watched.cend(); ++watched) {
        if (!isStillThere(watched.key(), watched.value()))
            replaced.append(watched.value());
    }
    for (const int descriptor : std::as_const(replaced))
        _watcher.fileWasDeleted(descriptor);
}

/// The outermost folder is kept while there is none: nobody else would tell that it is back.
bool PreviewWatch::isStillThere(const QString &path, int descriptor) const
{
    struct stat watched = {};
    struct stat there = {};
    if (::stat(QFile::encodeName(path).constData(), &there) != 0)
        return path == _folder;
    return ::fstat(descriptor, &watched) == 0 && watched.st_dev == there.st_dev &&
           watched.st_ino == there.st_ino;
}

void PreviewWatch::add(const QString &path)
{
    if (_watched.contains(path))
        return;
    if (!_watcher.addFile(path)) {
        _missed += QFileInfo::exists(path) ? 1 : 0; // it may have gone again
        return;
    }
    const int descriptor = _watcher.locateFileByPath(path).value(u"fd"_s).toInt();
    _watched.insert(path, descriptor);
    if (descriptor < limitOfWatches())
        return;
    _watcher.fileWasDeleted(descriptor);
    ++_missed;
}

void PreviewWatch::watchedFileDidChange(const QString & /*path*/)
{
    if (!_isRefreshing)
        _changed();
}

void PreviewWatch::watchedFileWasRenamed(const QString & /*path*/)
{
    _changed();
}

void PreviewWatch::watchedFileWasDeleted(const QString &path)
{
    _watched.remove(path);
    if (!_isRefreshing)
        _changed();
}
