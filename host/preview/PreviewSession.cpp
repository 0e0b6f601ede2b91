#include "host/preview/PreviewSession.h"

#include "host/preview/DescriptorLimit.h"
#include "host/preview/PreviewWatch.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// Editors and programs write several files at a time, which are to make one build. But one who writes without
// end must not put it off for ever.
constexpr qint64 kQuiet = 30; // milliseconds
constexpr qint64 kLongestWait = 300;

constexpr int kEndMilliseconds = 3000;

PreviewReport withoutResult(const QString &sentence)
{
    PreviewReport report;
    report.outcome = PreviewReport::Outcome::Failed;
    QFReportRecord record;
    record.message = sentence;
    report.problems.append(record);
    return report;
}

} // namespace

PreviewSession::PreviewSession(QString site, QString program, QStringList options, QObject *parent)
    : QObject(parent), _site(std::move(site)), _program(std::move(program)), _options(std::move(options)),
      _folder(QDir::tempPath() + u"/qf-preview-XXXXXX"_s),
      _watch(std::make_unique<PreviewWatch>(_site, [this] { changed(); }))
{
    _quiet.setSingleShot(true);
    connect(&_quiet, &QTimer::timeout, this, &PreviewSession::build);
    if (_folder.isValid())
        QDir(_folder.path()).mkdir(u"site"_s);
}

PreviewSession::~PreviewSession()
{
    _watch.reset();
    if (!_build)
        return;
    _build->disconnect(this);
    _build->kill(); // its workers end with it
    _build->waitForFinished(kEndMilliseconds);
}

QString PreviewSession::output() const
{
    return _folder.isValid() ? _folder.filePath(u"site"_s) : QString();
}

void PreviewSession::start()
{
    build();
}

void PreviewSession::changed()
{
    if (_build) {
        _isStale = true;
        return;
    }
    if (!_quiet.isActive())
        _sinceFirst.start();
    const qint64 left = std::max<qint64>(kLongestWait - _sinceFirst.elapsed(), 0);
    _quiet.start(static_cast<int>(std::min(kQuiet, left)));
}

void PreviewSession::build()
{
    // First, so that nothing changes unnoticed between the build and the watch.
    if (const QString sentence = _watch->refresh(); !sentence.isNull())
        Q_EMIT noted(sentence);
    _isStale = false;
    QFile::remove(reportFile());
    _build = std::make_unique<QProcess>();
    _build->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    _build->setChildProcessModifier(DescriptorLimit::restore);
    connect(_build.get(), &QProcess::finished, this, &PreviewSession::end);
    connect(_build.get(), &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            end();
    });
    _build->start(_program, QStringList{u"build"_s, u"-o"_s, output(), u"--mode"_s, u"preview"_s,
                                        u"--prune"_s, u"--json"_s, u"--report"_s, reportFile()} +
                                _options + QStringList{u"--"_s, _site});
}

void PreviewSession::end()
{
    QProcess *const ended = _build.release();
    ended->deleteLater(); // it is still telling that it has ended
    QFile file(reportFile());
    const QByteArray records = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    PreviewReport report = PreviewReport::ofBuild(ended->readAllStandardOutput(), records, output());
    if (ended->error() == QProcess::FailedToStart)
        report = withoutResult(_program + u" cannot be started: "_s + ended->errorString());
    else if (report.outcome == PreviewReport::Outcome::Failed && report.problems.isEmpty())
        report = withoutResult(u"the build ended before it had a result"_s);
    if (_isStale)
        changed();
    Q_EMIT built(report);
}
