#include "host/build/SiteBuild.h"

#include "host/build/CopiedFiles.h"
#include "host/site/SiteReader.h"

#include <QDir>
#include <QSet>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// Two changes within this time may have one time stamp.
constexpr qint64 kClockStep = 20'000'000; // nanoseconds

QFReportRecord recordOf(const QString &message, const QString &page = {})
{
    QFReportRecord record;
    record.kind = u"build"_s;
    record.message = message;
    record.page = page;
    return record;
}

/// Adds the files of an earlier build that the part does not have anew.
void keepEarlierFiles(BuiltPart &part, const BuiltPart &earlier)
{
    QSet<QString> known;
    for (const BuiltFile &file : std::as_const(part.files))
        known.insert(file.path);
    for (const BuiltFile &file : earlier.files) {
        if (!known.contains(file.path))
            part.files.append({file.path, file.stamp, false});
    }
}

/// Whether a path out of a manifest stays in the published site.
bool staysInside(const QString &path)
{
    return QDir::cleanPath(path) == path && path != u".." && !path.startsWith(u"../") &&
           !path.startsWith(u'/');
}

} // namespace

SiteBuild::SiteBuild(const BuildRequest &request, const BuildContext &context, const BuildEvents &events,
                     const QString &preferencesFolder)
    : _request(request), _context(context), _events(events), _started(nowForStamps()),
      _output(context.output), _keys(context, preferencesFolder),
      _earlier(BuildManifest::read(context.output))
{
}

void SiteBuild::run()
{
    listPieces();
    plan();
    copyFiles();
    makePieces();
    settleSharedFiles();
    if (result.isCancelled)
        keepWhatWasNotReached();
    else
        findOrphans();
    sumUp();
    writeManifest();
}

void SiteBuild::listPieces()
{
    const QList<SitePage> &pages = _context.site.pages;
    QSet<QString> kinds;
    for (qsizetype i = 0; i < pages.size(); ++i) {
        const SitePage &page = pages.at(i);
        if (page.isExternal())
            continue;
        const QString key = _keys.ofPage(page);
        _keyOfPage.insert(page.id, key);
        _pieces.append({i, page.id, page.title, key, page.filesFolder()});
        if (SiteReader::isSafeName(page.plugin)) // it names a folder
            kinds.insert(page.plugin);
    }
    result.pages = _pieces.size() + _context.site.leftOut;
    result.failed = _context.site.leftOut;
    QStringList sorted(kinds.begin(), kinds.end());
    sorted.sort();
    for (const QString &kind : std::as_const(sorted))
        _pieces.append({-1, kind, kind, _keys.ofKind(kind), joinedPath(kPublishedPlugins, kind)});
}

QMap<QString, BuiltPart> &SiteBuild::partsOf(BuildManifest &manifest, const Piece &piece)
{
    return piece.isPage() ? manifest.pages : manifest.kinds;
}

BuiltPart SiteBuild::earlierPart(const Piece &piece) const
{
    return (piece.isPage() ? _earlier.pages : _earlier.kinds).value(piece.name);
}

/// Whether what was made before need not be made again.
bool SiteBuild::isIntact(const BuiltPart &part, const QString &key) const
{
    return !_request.everything && part.isRepeatable && part.key == key && consultedAreSame(part) &&
           part.isIntact(_context.output);
}

/// Whether the pages whose plug-ins were asked would be given the same settings. What they read is among the
/// part's own files.
bool SiteBuild::consultedAreSame(const BuiltPart &part) const
{
    return std::all_of(part.consulted.begin(), part.consulted.end(), [this](const QString &id) {
        const auto before = _earlier.pages.constFind(id);
        return before != _earlier.pages.constEnd() && before->key == _keyOfPage.value(id);
    });
}

void SiteBuild::plan()
{
    for (qsizetype number = 0; number < _pieces.size(); ++number) {
        const Piece &piece = _pieces.at(number);
        const BuiltPart earlier = earlierPart(piece);
        if (isIntact(earlier, piece.key))
            partsOf(_now, piece).insert(piece.name, earlier);
        else
            _tasks.append(number);
    }
}

/// Files of theme and assets.
void SiteBuild::copyFiles()
{
    const QMap<QString, QString> files = CopiedFiles::ofSite(_context.site, _context.theme);
    for (auto file = files.begin(); file != files.end(); ++file) {
        BuiltPart part = _earlier.copies.value(file.key());
        if (!isIntact(part, file.value()))
            copyFile(file.key(), file.value(), part);
        _now.copies.insert(file.key(), part);
    }
}

void SiteBuild::copyFile(const QString &file, const QString &source, BuiltPart &part)
{
    _hasCopied = true;
    const BuiltPart earlier = std::exchange(part, {});
    part.key = source;
    const FileStamp stamp = FileStamp::ofFile(source);
    QString error;
    const OutputFolder::Outcome outcome = _output.copy(file, source, error);
    if (outcome == OutputFolder::Outcome::Failed) {
        result.records.append(recordOf(error));
        result.isWhole = false;
        keepEarlierFiles(part, earlier);
        return;
    }
    result.written += outcome == OutputFolder::Outcome::Written ? 1 : 0;
    part.reads.insert(source, stamp);
    part.isRepeatable = stamp.changed < _started - kClockStep;
    part.files.append({file, FileStamp::ofFile(_output.pathOf(file)), false});
}

void SiteBuild::makePieces()
{
    const WorkerPool::Task task = [this](qsizetype number, const WorkerPool::Progress &progress) {
        return makeInWorker(_pieces.at(number), progress);
    };
    WorkerPool::Events events;
    events.finished = [this](qsizetype number, const QByteArray &made) {
        take(number, PageResult::fromBytes(made));
    };
    events.lost = [this](qsizetype number, const QString &reason) { lose(number, reason); };
    events.progress = [this](qsizetype number, const QString &message, float) {
        _events.progress(_done, _tasks.size(), _pieces.at(number).title + u": "_s + message);
    };
    events.isCancelled = _events.isCancelled;
    WorkerPool(_request.jobs, _request.secondsForPage, task).run(_tasks, events);
    _pageBuilder.reset();
    result.isCancelled = _done < _tasks.size();
}

QByteArray SiteBuild::makeInWorker(const Piece &piece, const WorkerPool::Progress &progress)
{
    if (!_pageBuilder)
        _pageBuilder = std::make_unique<PageBuilder>(_context, progress, _events.isCancelled);
    const PageResult made =
        piece.isPage() ? _pageBuilder->build(piece.page) : _pageBuilder->buildSharedFiles(piece.name);
    return made.toBytes();
}

/// What a worker has made.
void SiteBuild::take(qsizetype number, const PageResult &made)
{
    const Piece &piece = _pieces.at(number);
    BuiltPart &part = partsOf(_now, piece)[piece.name];
    part.key = piece.key;
    part.files = made.files;
    part.records = made.records;
    part.isRepeatable = made.isRepeatable && made.isDone;
    noteReads(part, made.reads);
    for (const qsizetype page : made.consulted)
        part.consulted.append(_context.site.pages.at(page).id);
    if (!made.shared.isEmpty())
        _shared.insert(number, made.shared);
    // What lies there from an earlier build stays until the piece can be made again.
    if (!made.isDone)
        keepEarlierFiles(part, earlierPart(piece));
    result.written += std::count_if(made.files.begin(), made.files.end(),
                                    [](const BuiltFile &file) { return file.isWritten; });
    if (piece.isPage() && !made.isDone)
        result.failedPages.append(piece.name);
    if (piece.isPage())
        ++(made.isDone ? result.made : result.failed);
    else
        result.isWhole &= made.isDone;
    _events.progress(++_done, _tasks.size(), piece.title);
}

void SiteBuild::noteReads(BuiltPart &part, const QStringList &paths) const
{
    for (const QString &path : paths) {
        const FileStamp stamp = FileStamp::ofFile(path);
        part.reads.insert(path, stamp);
        // A change while the page was being made, or just before, may not be in it.
        part.isRepeatable &= stamp.changed < _started - kClockStep;
    }
}

void SiteBuild::lose(qsizetype number, const QString &reason)
{
    const Piece &piece = _pieces.at(number);
    PageResult nothing;
    nothing.records.append(recordOf(u"the plug-in "_s + reason + u" while it made "_s +
                                        (piece.isPage() ? u"the page"_s : u"the files of all its pages"_s),
                                    piece.isPage() ? piece.name : QString()));
    take(number, nothing);
}

/// Publishes files outside the folders of pages and kinds, in the order of the pages, then of the kinds: the
/// first that wants a path gets it.
void SiteBuild::settleSharedFiles()
{
    PathClaims claims = _context.site.claims;
    for (qsizetype number = 0; number < _pieces.size(); ++number) {
        const Piece &piece = _pieces.at(number);
        const auto part = partsOf(_now, piece).find(piece.name);
        if (part != partsOf(_now, piece).end())
            settleSharedFiles(claims, piece, _shared.value(number), *part);
    }
}

void SiteBuild::settleSharedFiles(PathClaims &claims, const Piece &piece, const QList<SharedFile> &shared,
                                  BuiltPart &part)
{
    const auto complain = [&](const QString &message) {
        part.isRepeatable = false; // another build may give it the path
        part.records.append(recordOf(message, piece.isPage() ? piece.name : QString()));
    };
    const auto isClaimed = [&](const QString &path) {
        const bool isFree = claims.takeFile(path);
        if (!isFree)
            complain(u"another page's file lies there already: "_s + path);
        return isFree;
    };
    const QString own = piece.ownFolder + u'/';
    const QString page = piece.isPage() ? _context.site.pages.at(piece.page).path() : QString();
    part.files.removeIf([&](const BuiltFile &file) {
        const bool isShared = !file.path.startsWith(own) && file.path != page;
        return isShared && !isClaimed(file.path);
    });
    for (const SharedFile &file : shared) {
        if (!isClaimed(file.path))
            continue;
        QString error;
        const OutputFolder::Outcome outcome = _output.take(file.path, file.staged, error);
        if (outcome == OutputFolder::Outcome::Failed) {
            complain(error);
            result.isWhole = false;
            continue;
        }
        result.written += outcome == OutputFolder::Outcome::Written ? 1 : 0;
        part.files.append({file.path, FileStamp::ofFile(_output.pathOf(file.path)), false});
    }
}

/// What earlier builds made and nothing has any more.
void SiteBuild::findOrphans()
{
    // A page that a fault in site.json leaves out would lose its files.
    const bool isPruned = _request.prune && _context.site.leftOut == 0;
    const QStringList files = _now.allFiles();
    const QSet<QString> current(files.begin(), files.end());
    QStringList earlier = _earlier.allFiles() + _earlier.orphans;
    earlier.removeDuplicates();
    earlier.sort();
    for (const QString &path : std::as_const(earlier)) {
        const bool isThere = staysInside(path) && FileStamp::ofFile(_output.pathOf(path)).exists();
        if (!isThere || current.contains(path))
            continue;
        if (isPruned && _output.remove(path))
            result.pruned.append(path);
        else
            _now.orphans.append(path);
    }
    result.orphans = _now.orphans;
}

/// After an interruption: what was not reached is as it was.
void SiteBuild::keepWhatWasNotReached()
{
    const auto keep = [](QMap<QString, BuiltPart> &now, const QMap<QString, BuiltPart> &earlier) {
        for (auto part = earlier.begin(); part != earlier.end(); ++part) {
            if (!now.contains(part.key()))
                now.insert(part.key(), part.value());
        }
    };
    keep(_now.pages, _earlier.pages);
    keep(_now.kinds, _earlier.kinds);
    _now.orphans = _earlier.orphans;
}

void SiteBuild::sumUp()
{
    for (const auto *parts : {&_now.pages, &_now.kinds, &_now.copies}) {
        for (const BuiltPart &part : *parts) {
            result.files += part.files.size();
            for (const BuiltFile &file : part.files)
                result.bytes += file.stamp.size;
        }
    }
    for (const Piece &piece : std::as_const(_pieces))
        result.records.append(partsOf(_now, piece).value(piece.name).records);
}

bool SiteBuild::isAsBefore() const
{
    return _tasks.isEmpty() && !_hasCopied && _now.orphans == _earlier.orphans &&
           _now.pages.size() == _earlier.pages.size() && _now.kinds.size() == _earlier.kinds.size() &&
           _now.copies.size() == _earlier.copies.size() && _now.root == _earlier.root &&
           _now.index == _earlier.index;
}

void SiteBuild::writeManifest()
{
    _now.root = _context.parameters.isAbsolute() ? _context.parameters.rootPath() : QString();
    _now.index = _context.site.index;
    QString error;
    if (isAsBefore() ||
        _output.write(BuildManifest::file(), _now.toJson(), error) != OutputFolder::Outcome::Failed)
        return;
    result.records.append(recordOf(error));
    result.isWhole = false;
}
