#pragma once

#include "host/build/BuildContext.h"
#include "host/build/OutputFolder.h"
#include "host/build/PageResult.h"
#include "host/site/HostDocument.h"
#include "host/site/HostTheme.h"

#include <QObject>
#include <QString>

#include <functional>

class QFPluginClass;

/// Makes pages, one after the other, and publishes their files. Main thread.
class PageBuilder : public QObject
{
    Q_OBJECT

public:
    /// What a plug-in says of its progress.
    using Progress = std::function<void(const QString &message, float progress)>;

    /// `isCancelled` is asked whenever a plug-in tells of its progress; once it answers true, the plug-in is
    /// told to cancel, if it can.
    PageBuilder(const BuildContext &context, Progress progress, std::function<bool()> isCancelled);

    /// Makes a page and publishes its file and its folder of files. What goes wrong is in the result; a page
    /// that cannot be made leaves what lies there from an earlier build.
    [[nodiscard]] PageResult build(qsizetype page);
    /// Publishes the files that all pages of a kind of plug-in share.
    [[nodiscard]] PageResult buildSharedFiles(const QString &plugin);

private:
    class Making;

    void hear(const QVariantMap &status) const;

    const BuildContext &_context;
    const Progress _progress;
    const std::function<bool()> _isCancelled;
    HostDocument _document;
    OutputFolder _output;
    HostTheme _theme;
    HostTheme _plainTheme{{}};
};
