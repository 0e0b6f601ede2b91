#include "host/build/SiteBuilder.h"

#include "host/build/BuildKeys.h"
#include "host/build/BuildManifest.h"
#include "host/build/CopiedFiles.h"
#include "host/build/OutputFolder.h"
#include "host/build/OutputPlace.h"
#include "host/build/PageBuilder.h"
#include "host/build/WorkerPool.h"
#include "host/plugins/PluginModules.h"
#include "host/site/SiteReader.h"
#include "platform/NSUserDefaults.h"

#include <QDir>
#include <QElapsedTimer>
#include <QSet>

#include <algorithm>
#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// Two changes within this time may have one time stamp.
constexpr qint64 kClockStep = 20'000'000; // nanoseconds

const QList<QStringView> &placeholders()
{
    static const QList<QStringView> names{
        u"content",    u"sidebar",    u"plugin_header", u"title",    u"site_title", u"language",
        u"base",       u"navigation", u"breadcrumb",    u"previous", u"next",       u"home",
        u"theme_path", u"style",      u"page_id",       u"option",   u"footer"};
    return names;
}

/// One build, from the plan to the manifest.
class Build
{
public:
    Build(const BuildRequest &request, const BuildContext &context, const BuildEvents &events,
          const QString &preferences);

    void run();
    BuildResult result;

private:
    void copyFiles();
    void plan();
    void makeParts();
    void settleSharedFiles();
    void findOrphans();
    void finish();

    [[nodiscard]] BuiltPart *intactPart(QMap<QString, BuiltPart> &parts, const QString &name,
                                        const QString &key);
    [[nodiscard]] bool consultedAreSame(const BuiltPart &part);
    [[nodiscard]] QByteArray makeInWorker(qsizetype task, const WorkerPool::Progress &progress);
    void take(qsizetype task, const PageResult &made);
    void lose(qsizetype task, const QString &reason);
    [[nodiscard]] BuiltPart &part(qsizetype task);
    void keepEarlierFiles(BuiltPart &part, const BuiltPart &earlier) const;
    void settleSharedFiles(PathClaims &claims, qsizetype task, BuiltPart &part);
    [[nodiscard]] QString nameOf(qsizetype task) const;
    [[nodiscard]] QFReportRecord record(const QString &message, const QString &page) const;

    const BuildRequest &_request;
    const BuildContext &_context;
    const BuildEvents &_events;
    const qint64 _started = nowForStamps();
    OutputFolder _output;
    BuildKeys _keys;
    const BuildManifest _earlier; ///< of the last build
    BuildManifest _before;        ///< the same, as far as it may be used
    BuildManifest _now;
    QStringList _kinds;      ///< identifiers; their tasks are numbered behind the pages
    QStringList _pageKeys;   ///< by page
    QList<qsizetype> _tasks; ///< that must be run
    qsizetype _done = 0;
    bool _hasCopied = false;
    QHash<qsizetype, QList<SharedFile>> _shared; ///< by page
    std::unique_ptr<PageBuilder> _pageBuilder;   ///< of a worker
};

Build::Build(const BuildRequest &request, const BuildContext &context, const BuildEvents &events,
             const QString &preferences)
    : _request(request), _context(context), _events(events), _output(context.output),
      _keys(context, preferences), _earlier(BuildManifest::read(context.output)),
      _before(request.everything ? BuildManifest() : _earlier)
{
}

QFReportRecord Build::record(const QString &message, const QString &page) const
{
    QFReportRecord record;
    record.kind = u"build"_s;
    record.message = message;
    record.page = page;
    return record;
}

void Build::run()
{
    plan();
    copyFiles();
    makeParts();
    settleSharedFiles();
    findOrphans();
    finish();
}

/// What was made before and need not be made again; nullptr otherwise.
BuiltPart *Build::intactPart(QMap<QString, BuiltPart> &parts, const QString &name, const QString &key)
{
    const auto found = parts.find(name);
    const bool isSame = found != parts.end() && found->isRepeatable && found->key == key &&
                        consultedAreSame(*found) && found->isIntact(_context.output);
    return isSame ? &*found : nullptr;
}

/// Whether the pages whose plug-ins were asked would be given the same settings. What they read is among the
/// part's own files.
bool Build::consultedAreSame(const BuiltPart &part)
{
    return std::all_of(part.consulted.begin(), part.consulted.end(), [this](const QString &id) {
        const qsizetype index = _context.site.indexOfID.value(id, -1);
        const auto before = _before.pages.constFind(id);
        return index >= 0 && before != _before.pages.constEnd() && before->key == _pageKeys.at(index);
    });
}

void Build::plan()
{
    const QList<SitePage> &pages = _context.site.pages;
    QSet<QString> kinds;
    for (const SitePage &page : pages) {
        _pageKeys.append(page.isExternal() ? QString() : _keys.ofPage(page));
        if (!page.isExternal())
            kinds.insert(page.plugin);
    }
    result.pages = result.failed = _context.site.leftOut;
    _kinds = QStringList(kinds.begin(), kinds.end());
    _kinds.sort();
    for (qsizetype i = 0; i < pages.size(); ++i) {
        if (pages.at(i).isExternal())
            continue;
        ++result.pages;
        if (const BuiltPart *intact = intactPart(_before.pages, pages.at(i).id, _pageKeys.at(i)))
            _now.pages.insert(pages.at(i).id, *intact);
        else
            _tasks.append(i);
    }
    for (qsizetype i = 0; i < _kinds.size(); ++i) {
        if (const BuiltPart *intact = intactPart(_before.kinds, _kinds.at(i), _keys.ofKind(_kinds.at(i))))
            _now.kinds.insert(_kinds.at(i), *intact);
        else if (SiteReader::isSafeName(_kinds.at(i)))
            _tasks.append(pages.size() + i);
    }
}

/// Files of theme and assets.
void Build::copyFiles()
{
    const QMap<QString, QString> files = CopiedFiles::ofSite(_context.site, _context.theme);
    for (auto file = files.begin(); file != files.end(); ++file) {
        BuiltPart part;
        part.key = file.value();
        const FileStamp source = FileStamp::ofFile(file.value());
        if (const BuiltPart *intact = intactPart(_before.copies, file.key(), part.key)) {
            _now.copies.insert(file.key(), *intact);
            continue;
        }
        _hasCopied = true;
        QString error;
        const OutputFolder::Outcome outcome = _output.copy(file.key(), file.value(), error);
        if (outcome == OutputFolder::Outcome::Failed) {
            result.records.append(record(error, {}));
            result.isWhole = false;
            keepEarlierFiles(part, _earlier.copies.value(file.key()));
            _now.copies.insert(file.key(), part);
            continue;
        }
        if (outcome == OutputFolder::Outcome::Written)
            ++result.written;
        part.reads.insert(file.value(), source);
        part.isRepeatable = source.changed < _started - kClockStep;
        part.files.append({file.key(), FileStamp::ofFile(_output.pathOf(file.key())), false});
        _now.copies.insert(file.key(), part);
    }
}

QString Build::nameOf(qsizetype task) const
{
    const QList<SitePage> &pages = _context.site.pages;
    return task < pages.size() ? pages.at(task).title : _kinds.at(task - pages.size());
}

QByteArray Build::makeInWorker(qsizetype task, const WorkerPool::Progress &progress)
{
    if (!_pageBuilder)
        _pageBuilder = std::make_unique<PageBuilder>(_context, progress, _events.isCancelled);
    const qsizetype pages = _context.site.pages.size();
    const PageResult made =
        task < pages ? _pageBuilder->build(task) : _pageBuilder->buildSharedFiles(_kinds.at(task - pages));
    return made.toBytes();
}

void Build::makeParts()
{
    WorkerPool pool(_request.jobs, _request.secondsForPage,
                    [this](qsizetype task, const WorkerPool::Progress &progress) {
                        return makeInWorker(task, progress);
                    });
    WorkerPool::Events events;
    events.finished = [this](qsizetype task, const QByteArray &made) {
        take(task, PageResult::fromBytes(made));
    };
    events.lost = [this](qsizetype task, const QString &reason) { lose(task, reason); };
    events.progress = [this](qsizetype task, const QString &message, float) {
        _events.progress(_done, _tasks.size(), nameOf(task) + u": "_s + message);
    };
    events.isCancelled = _events.isCancelled;
    pool.run(_tasks, events);
    _pageBuilder.reset();
    result.isCancelled = _done < _tasks.size();
}

BuiltPart &Build::part(qsizetype task)
{
    const QList<SitePage> &pages = _context.site.pages;
    BuiltPart &part =
        task < pages.size() ? _now.pages[pages.at(task).id] : _now.kinds[_kinds.at(task - pages.size())];
    part.key = task < pages.size() ? _pageKeys.at(task) : _keys.ofKind(_kinds.at(task - pages.size()));
    return part;
}

/// What a worker has made.
void Build::take(qsizetype task, const PageResult &made)
{
    BuiltPart &part = this->part(task);
    part.files = made.files;
    part.records = made.records;
    part.isRepeatable = made.isRepeatable && made.isDone;
    for (const QString &path : made.reads) {
        const FileStamp stamp = FileStamp::ofFile(path);
        part.reads.insert(path, stamp);
        // A change while the page was being made, or just before, may not be in it.
        part.isRepeatable &= stamp.changed < _started - kClockStep;
    }
    for (const qsizetype index : made.consulted)
        part.consulted.append(_context.site.pages.at(index).id);
    result.written += std::count_if(made.files.begin(), made.files.end(),
                                    [](const BuiltFile &file) { return file.isWritten; });
    if (!made.shared.isEmpty())
        _shared.insert(task, made.shared);
    const qsizetype pages = _context.site.pages.size();
    // What lies there from an earlier build stays until the page can be made again.
    if (!made.isDone)
        keepEarlierFiles(part, task < pages ? _earlier.pages.value(_context.site.pages.at(task).id)
                                            : _earlier.kinds.value(_kinds.at(task - pages)));
    if (task < pages) {
        result.made += made.isDone ? 1 : 0;
        result.failed += made.isDone ? 0 : 1;
    } else {
        result.isWhole &= made.isDone;
    }
    _events.progress(++_done, _tasks.size(), nameOf(task));
}

void Build::keepEarlierFiles(BuiltPart &part, const BuiltPart &earlier) const
{
    QSet<QString> known;
    for (const BuiltFile &file : std::as_const(part.files))
        known.insert(file.path);
    for (const BuiltFile &file : earlier.files) {
        if (!known.contains(file.path))
            part.files.append({file.path, file.stamp, false});
    }
}

void Build::lose(qsizetype task, const QString &reason)
{
    PageResult nothing;
    const bool isPage = task < _context.site.pages.size();
    nothing.records.append(record(u"the plug-in "_s + reason + u" while it made "_s +
                                      (isPage ? u"the page"_s : u"the files of all its pages"_s),
                                  isPage ? _context.site.pages.at(task).id : QString()));
    take(task, nothing);
}

/// Publishes files outside the folders of pages and kinds, in the order of the pages, then of the kinds: the
/// first that wants a path gets it.
void Build::settleSharedFiles()
{
    PathClaims claims = _context.site.claims;
    const qsizetype pages = _context.site.pages.size();
    for (qsizetype task = 0; task < pages + _kinds.size(); ++task) {
        auto &parts = task < pages ? _now.pages : _now.kinds;
        const auto known =
            parts.find(task < pages ? _context.site.pages.at(task).id : _kinds.at(task - pages));
        if (known != parts.end())
            settleSharedFiles(claims, task, *known);
    }
}

void Build::settleSharedFiles(PathClaims &claims, qsizetype task, BuiltPart &part)
{
    const bool isPage = task < _context.site.pages.size();
    const SitePage *page = isPage ? &_context.site.pages.at(task) : nullptr;
    const auto complain = [&](const QString &message) {
        part.isRepeatable = false; // another build may give it the path
        part.records.append(record(message, page ? page->id : QString()));
    };
    const auto isClaimed = [&](const QString &path) {
        const bool isFree = claims.takeFile(path);
        if (!isFree)
            complain(u"another page's file lies there already: "_s + path);
        return isFree;
    };
    const QString own = (page ? page->filesFolder() : joinedPath(kPublishedPlugins, nameOf(task))) + u'/';
    part.files.removeIf([&](const BuiltFile &file) {
        const bool isShared = !file.path.startsWith(own) && !(page && file.path == page->path());
        return isShared && !isClaimed(file.path);
    });
    for (const SharedFile &file : _shared.value(task)) {
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

void Build::findOrphans()
{
    const QStringList files = _now.allFiles();
    const QSet<QString> current(files.begin(), files.end());
    QStringList earlier = _earlier.allFiles() + _earlier.orphans;
    if (result.isCancelled)
        earlier.clear(); // pages that were not reached still have their files
    earlier.removeDuplicates();
    earlier.sort();
    for (const QString &path : std::as_const(earlier)) {
        const bool isClean =
            QDir::cleanPath(path) == path && !path.startsWith(u"../") && !path.startsWith(u'/');
        if (current.contains(path) || !isClean || !FileStamp::ofFile(_output.pathOf(path)).exists())
            continue;
        // A page that a fault in site.json leaves out would lose its files.
        const bool isPruned = _request.prune && _context.site.leftOut == 0;
        if (isPruned && _output.remove(path))
            result.pruned.append(path);
        else
            _now.orphans.append(path);
    }
    result.orphans = _now.orphans;
}

void Build::finish()
{
    if (result.isCancelled) {
        // Pages that were not reached are as they were.
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
    for (const auto *parts : {&_now.pages, &_now.kinds, &_now.copies}) {
        for (const BuiltPart &part : *parts) {
            result.files += part.files.size();
            for (const BuiltFile &file : part.files)
                result.bytes += file.stamp.size;
        }
    }
    for (const QString &kind : std::as_const(_kinds))
        result.records.append(_now.kinds.value(kind).records);
    for (const SitePage &page : _context.site.pages)
        result.records.append(_now.pages.value(page.id).records);
    _now.root = _context.parameters.isAbsolute() ? _context.parameters.rootPath() : QString();
    _now.index = _context.site.index;
    const bool isAsBefore = _tasks.isEmpty() && !_hasCopied && _now.orphans == _earlier.orphans &&
                            _now.pages.size() == _earlier.pages.size() &&
                            _now.kinds.size() == _earlier.kinds.size() &&
                            _now.copies.size() == _earlier.copies.size() && _now.root == _earlier.root &&
                            _now.index == _earlier.index;
    QString error;
    if (!isAsBefore &&
        _output.write(BuildManifest::file(), _now.toJson(), error) == OutputFolder::Outcome::Failed) {
        result.records.append(record(error, {}));
        result.isWhole = false;
    }
}

/// A copy of the site's preferences, which plug-ins may change as they like; empty where the site has none.
QString preferencesFor(const Site &site, const QString &output)
{
    OutputFolder folder(output);
    const QString inside = folder.stagingFolder().mid(output.size() + 1) + u"/preferences"_s;
    const QFileInfoList files =
        QDir(site.folder + u"/preferences"_s).entryInfoList({u"*.plist"_s}, QDir::Files);
    for (const QFileInfo &file : files) {
        QString error;
        if (folder.copy(inside + u'/' + file.fileName(), file.filePath(), error) ==
            OutputFolder::Outcome::Failed)
            reportLoss(u"build"_s, u"preferences could not be read: "_s + error, file.filePath());
    }
    return folder.pathOf(inside);
}

BuildResult failure(const QString &error, const QFReport &report)
{
    BuildResult result;
    result.error = error;
    result.records = report.records();
    return result;
}

} // namespace

BuildResult SiteBuilder::build(const BuildRequest &request, PluginModules &modules, const BuildEvents &events)
{
    QElapsedTimer timer;
    timer.start();
    QFReport report;
    const QFReport::Installed collecting(report);
    QString error;
    const std::optional<Site> site = SiteReader::read(request.site, error);
    const std::optional<SiteTheme> theme = site ? SiteTheme::read(site->theme, error) : std::nullopt;
    if (!theme)
        return failure(error, report);
    const OutputPlace place(request.output, site->folder, error);
    if (!error.isNull())
        return failure(error, report);
    const QString preferences = preferencesFor(*site, place.path());
    NSUserDefaults::standardUserDefaults().setFolder(preferences);

    const ExportParameters parameters(*site, *theme, request.mode);
    const PageTemplate pageTemplate(theme->pageTemplate, placeholders());
    const BuildContext context{*site, *theme, parameters, pageTemplate, modules, place.path()};
    Build build(request, context, events, preferences);
    build.run();
    build.result.records = report.records() + build.result.records;
    build.result.seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    return std::move(build.result);
}
