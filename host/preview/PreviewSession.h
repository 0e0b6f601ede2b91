#pragma once

#include "host/preview/PreviewReport.h"

#include <QElapsedTimer>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QTimer>

#include <memory>

class PreviewWatch;

/// Keeps a built copy of a site in a temporary folder: builds it when it starts, and again whenever something
/// in the site's folder has changed. A build runs in a process of its own, since it copies itself, for which
/// it may have no second thread. Main thread only; needs an event loop.
class PreviewSession : public QObject
{
    Q_OBJECT

public:
    /// `program` is the command line's own file; `options` are further ones for `qf build`.
    PreviewSession(QString site, QString program, QStringList options, QObject *parent = nullptr);
    /// Ends a build that is running, and removes the copy.
    ~PreviewSession() override;

    /// Nil when there is no room for the copy.
    [[nodiscard]] QString output() const;
    void start();

Q_SIGNALS:
    /// A build has ended, with the last file written.
    void built(const PreviewReport &report);
    /// Something to know about, beside problems of the site: a sentence.
    void noted(const QString &sentence);

private:
    void changed();
    void build();
    void end();

    [[nodiscard]] QString reportFile() const { return _folder.filePath(QStringLiteral("report.json")); }

    const QString _site;
    const QString _program;
    const QStringList _options;
    const QTemporaryDir _folder;
    std::unique_ptr<PreviewWatch> _watch;
    QTimer _quiet;                    ///< runs out when no further change has come for a while
    QElapsedTimer _sinceFirst;        ///< of the changes that wait for a build; invalid when there are none
    std::unique_ptr<QProcess> _build; ///< that is running
    bool _isStale = false;            ///< whether something has changed since it began
};
