#include "host/build/PageBuilder.h"

#include "host/ReadFiles.h"
#include "host/TextFile.h"
#include "host/build/ExtraFiles.h"
#include "host/build/PageFiller.h"
#include "host/plugins/PluginModules.h"
#include "host/site/HostPage.h"
#include "host/site/PluginCalls.h"
#include "platform/DynamicMessages.h"
#include "platform/NSNotificationCenter.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "plugin/QFAbstractPlugin.h"
#include "plugin/QFPluginClass.h"
#include "plugin/QFPluginNotifications.h"

#include <QCoreApplication>
#include <QDir>
#include <QPointer>

#include <algorithm>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

void complain(const QString &message, const QString &file = {})
{
    reportLoss(u"build"_s, message, file);
}

/// Notes what a plug-in or its kind says that it has read; false when it does not say.
bool noteReads(QObject *speaker)
{
    if (!speaker || !respondsTo(speaker, "filesReadForExport", 0))
        return false;
    const QVariant answer = send(speaker, "filesReadForExport");
    if (!answer.canConvert<QStringList>())
        return false;
    const QStringList files = answer.toStringList();
    for (const QString &file : files) {
        if (QDir::isAbsolutePath(file))
            ReadFiles::note(file);
    }
    return true;
}

} // namespace

/// The making of one page, or of the files that a kind shares.
class PageBuilder::Making
{
public:
    Making(PageBuilder &builder, QString folder, QString filesFolder)
        : _builder(builder), _folder(std::move(folder)), _filesFolder(std::move(filesFolder)),
          _making(u"making-"_s + QString::number(QCoreApplication::applicationPid()))
    {
    }

    [[nodiscard]] bool prepareStaging(const QString &filesFolderName);
    void makePage(qsizetype index, QFAbstractPlugin *plugin);
    void shareFiles(QFPluginClass &pluginClass, const QVariantMap &params);

    PageResult result;

private:
    template <typename Call>
    [[nodiscard]] QVariant asked(const QString &operation, Call call);
    [[nodiscard]] QString contentFor(const QVariantMap &params);
    [[nodiscard]] bool isGone() const;
    [[nodiscard]] QByteArray bytesOf(const ExtraFile &extra);
    void addExtraFiles(const QList<ExtraFile> &extras);
    void addShared(const ExtraFile &extra);
    [[nodiscard]] QString publishedPathOf(const QString &staged) const;
    void publishStagedFiles();
    void published(const QString &path, OutputFolder::Outcome outcome, const QString &error);

    PageBuilder &_builder;
    const QString _folder;      ///< of the page, inside the published site
    const QString _filesFolder; ///< likewise
    const QString _making;      ///< folder in the staging folder, and so the next
    QString _stagedFiles;

    // Of a page
    qsizetype _index = -1;
    QPointer<QFAbstractPlugin> _plugin;
    std::optional<PageFiller> _filler;
};

/// The plug-in's answer; nil when it is gone or throws.
template <typename Call>
QVariant PageBuilder::Making::asked(const QString &operation, Call call)
{
    return guardedCall(operation, [&] { return _plugin ? QVariant(call(*_plugin)) : QVariant(); });
}

bool PageBuilder::Making::prepareStaging(const QString &filesFolderName)
{
    _stagedFiles = _making + u'/' + filesFolderName;
    if (_builder._output.prepareStaged(_making, filesFolderName))
        return true;
    complain(u"the folder for files in the making cannot be made"_s, _stagedFiles);
    return false;
}

/// The page's content; nil, with a record, when there is none.
QString PageBuilder::Making::contentFor(const QVariantMap &params)
{
    const qsizetype before = QFReport::current()->records().size();
    const QVariant content = asked(u"contentHTML"_s, [&](auto &asked) { return asked.contentHTML(params); });
    if (isNil(content) && !isGone() && QFReport::current()->records().size() == before)
        complain(u"the plug-in answered no content"_s);
    return htmlFrom(content, u"contentHTML"_s);
}

/// Whether the plug-in has destroyed itself; says so.
bool PageBuilder::Making::isGone() const
{
    if (!_plugin)
        complain(u"the plug-in destroyed itself"_s);
    return !_plugin;
}

void PageBuilder::Making::makePage(qsizetype index, QFAbstractPlugin *plugin)
{
    const BuildContext &context = _builder._context;
    const SitePage &page = context.site.pages.at(index);
    _index = index;
    _plugin = plugin;
    const QVariantMap params = context.parameters.ofPage(page, _builder._document.page(index)->attributes(),
                                                         _builder._output.stagingFolder() + u'/' + _making);
    _filler.emplace(context, index, plugin, params, &_builder._theme, &_builder._plainTheme);
    if (context.site.normaliseImages && respondsTo(_plugin, "normaliseImages", 0))
        send(_plugin, "normaliseImages");

    const QString html = contentFor(params);
    if (html.isNull())
        return;
    _filler->askForSurroundings();
    QString prefix;
    if (respondsTo(_plugin, "pageContentPrefix", 1))
        prefix = htmlFrom(send(_plugin, "pageContentPrefix", {params}), u"pageContentPrefix"_s);
    const QVariant extras = asked(u"extraFilesNeededInExportFolder"_s,
                                  [&](auto &asked) { return asked.extraFilesNeededInExportFolder(params); });
    const QByteArray bytes = utf8WithReferences(prefix + _filler->filled({}, html, _folder));
    if (isGone())
        return;
    result.isDone = true;
    addExtraFiles(ExtraFiles::read(extras, _folder, page.extension, context.site.folder));
    publishStagedFiles();
    if (isGone()) { // since it filled a subpage's template
        result.isDone = false;
        return;
    }
    // Last, so that it never names pictures that are not there yet.
    QString error;
    const OutputFolder::Outcome outcome = _builder._output.write(page.path(), bytes, error);
    published(page.path(), outcome, error);
}

void PageBuilder::Making::shareFiles(QFPluginClass &pluginClass, const QVariantMap &params)
{
    const qsizetype before = QFReport::current()->records().size();
    const QVariant extras = guardedCall(u"extraFilesNeededInExportFolder"_s, [&] {
        return QVariant(pluginClass.extraFilesNeededInExportFolder(params));
    });
    if (QFReport::current()->records().size() > before)
        return;
    result.isDone = true;
    result.isRepeatable = isNil(extras);
    addExtraFiles(ExtraFiles::read(extras, _folder, {}, _builder._context.site.folder));
    publishStagedFiles();
}

QByteArray PageBuilder::Making::bytesOf(const ExtraFile &extra)
{
    if (extra.kind == ExtraFile::Kind::Data)
        return extra.data;
    if (extra.kind == ExtraFile::Kind::Page || !_filler)
        return utf8WithReferences(extra.text);
    const QString folder =
        extra.destination.isNull()
            ? _filesFolder
            : extra.destination.left(std::max<qsizetype>(extra.destination.lastIndexOf(u'/'), 0));
    return utf8WithReferences(_filler->filled(extra.title, extra.text, folder));
}

void PageBuilder::Making::addExtraFiles(const QList<ExtraFile> &extras)
{
    QSet<QString> taken; // paths, in lower case
    QStringList odd;
    const QStringList staged = _builder._output.stagedFiles(_stagedFiles, odd);
    for (const QString &file : staged)
        taken.insert(publishedPathOf(file).toLower());
    for (const ExtraFile &extra : extras) {
        const bool isInFilesFolder =
            extra.destination.isNull() || extra.destination.startsWith(_filesFolder + u'/');
        if (!isInFilesFolder) {
            addShared(extra);
            continue;
        }
        const QString path =
            extra.destination.isNull() ? joinedPath(_filesFolder, extra.name) : extra.destination;
        if (taken.contains(path.toLower())) {
            complain(u"a file of the page has the name of an extra file, which is left out"_s, path);
            continue;
        }
        taken.insert(path.toLower());
        QString error;
        const OutputFolder::Outcome outcome = extra.kind == ExtraFile::Kind::Copy
                                                  ? _builder._output.copy(path, extra.source, error)
                                                  : _builder._output.write(path, bytesOf(extra), error);
        if (extra.kind == ExtraFile::Kind::Copy)
            ReadFiles::note(extra.source);
        published(path, outcome, error);
    }
}

/// A file in a folder of which others may want a part: it is made here and published by who sees all pages.
void PageBuilder::Making::addShared(const ExtraFile &extra)
{
    const QString staged = u"shared-"_s + QString::number(QCoreApplication::applicationPid()) + u'-' +
                           QString::number(_index) + u'-' + QString::number(result.shared.size());
    QString error;
    const QString path =
        _builder._output.stagingFolder().mid(_builder._output.path().size() + 1) + u'/' + staged;
    const OutputFolder::Outcome outcome = _builder._output.write(path, bytesOf(extra), error);
    if (outcome == OutputFolder::Outcome::Failed)
        published(extra.destination, outcome, error);
    else
        result.shared.append({extra.destination, staged});
}

/// Where a staged file of the page is published.
QString PageBuilder::Making::publishedPathOf(const QString &staged) const
{
    return joinedPath(_filesFolder, staged.mid(_stagedFiles.size() + 1));
}

/// What the plug-in and the exporter have written into the folder of files.
void PageBuilder::Making::publishStagedFiles()
{
    QStringList odd;
    const QStringList files = _builder._output.stagedFiles(_stagedFiles, odd);
    for (const QString &file : files) {
        QString error;
        const QString path = publishedPathOf(file);
        published(path, _builder._output.take(path, file, error), error);
    }
    for (const QString &name : std::as_const(odd))
        complain(u"a link or device, or something in place of a folder, is not published"_s, name);
}

void PageBuilder::Making::published(const QString &path, OutputFolder::Outcome outcome, const QString &error)
{
    if (outcome == OutputFolder::Outcome::Failed) {
        complain(error, path);
        result.isDone = false;
        return;
    }
    result.files.append(
        {path, FileStamp::ofFile(_builder._output.pathOf(path)), outcome == OutputFolder::Outcome::Written});
}

PageBuilder::PageBuilder(const BuildContext &context, Progress progress, std::function<bool()> isCancelled)
    : _context(context), _progress(std::move(progress)), _isCancelled(std::move(isCancelled)),
      _document(context.site, context.modules), _output(context.output), _theme(context.theme.colourTagFiles)
{
    NSNotificationCenter::defaultCenter().addObserver(
        this, kQFPluginExportStatusNotification.toString(), {},
        [this](const NSNotification &notification) { hear(notification.object.toMap()); });
}

/// What a plug-in says of its progress; a nil message says nothing.
void PageBuilder::hear(const QVariantMap &status) const
{
    const QString message = stringValue(status.value(kQFExportStatusMessageKey.toString()));
    if (!message.isNull())
        _progress(message, floatValue(status.value(kQFExportStatusProgressKey.toString())));
    QObject *plugin = objectValue(status.value(kQFExportStatusPluginKey.toString()));
    if (_isCancelled() && respondsTo(plugin, "cancelExport", 0))
        send(plugin, "cancelExport");
}

PageResult PageBuilder::build(qsizetype index)
{
    const SitePage &page = _context.site.pages.at(index);
    QFReport report;
    const QFReport::Installed collecting(report);
    const QFReport::Place here(page.id, {NSNotFound, 0});
    const ReadFiles reads;
    Making making(*this, page.folder, page.filesFolder());
    static_cast<void>(_document.takeConsultedPages());
    const QPointer<QFAbstractPlugin> plugin = _document.pluginOfPage(index);
    static_cast<void>(_document.takeChange());
    if (plugin && making.prepareStaging(page.filesFolderName()))
        making.makePage(index, plugin);
    else if (report.records().isEmpty())
        complain(u"there is no plug-in for the page"_s);
    // The page also depends on what the plug-ins that it asked have read.
    const QSet<qsizetype> consulted = _document.takeConsultedPages();
    const bool hasFailures = std::any_of(report.records().begin(), report.records().end(),
                                         [](const QFReportRecord &record) { return record.logged; });
    // What has failed, as for want of space, may come out well next time; what has changed while it was made
    // will not be the same.
    making.result.isRepeatable =
        !hasFailures && !_document.takeChange() &&
        std::all_of(consulted.begin(), consulted.end(), [this](qsizetype asked) {
            return _context.site.pages.at(asked).isExternal() || noteReads(_document.pluginOfPage(asked));
        });
    making.result.consulted = QList<qsizetype>(consulted.begin(), consulted.end());
    std::sort(making.result.consulted.begin(), making.result.consulted.end());
    // Those that other pages ask are made anew for each: what they read then belongs to that page, too, and
    // no page depends on which were made before it.
    _document.forgetPlugins();
    making.result.reads = QStringList(reads.paths().begin(), reads.paths().end());
    making.result.records = report.records();
    making.result.omittedRecords = report.omitted();
    return std::move(making.result);
}

PageResult PageBuilder::buildSharedFiles(const QString &plugin)
{
    QFReport report;
    const QFReport::Installed collecting(report);
    const ReadFiles reads;
    const QString folder = kPublishedPlugins + u'/' + plugin;
    Making making(*this, folder, folder);
    QString error;
    QFPluginClass *pluginClass = _context.modules.pluginClass(plugin, &error);
    SitePage asPage;
    asPage.plugin = plugin;
    if (pluginClass && making.prepareStaging(u"shared"_s)) {
        making.shareFiles(*pluginClass, _context.parameters.ofPage(asPage, {}, {}));
        making.result.isRepeatable = noteReads(pluginClass) || making.result.isRepeatable;
    }
    making.result.reads = QStringList(reads.paths().begin(), reads.paths().end());
    making.result.records = report.records();
    return std::move(making.result);
}
