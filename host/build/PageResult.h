#pragma once

#include "host/build/FileStamp.h"
#include "platform/QFReport.h"

#include <QList>
#include <QString>
#include <QStringList>

/// A file that a build has put into the published site.
struct BuiltFile
{
    QString path; ///< inside the published site
    FileStamp stamp;
    bool isWritten = false; ///< whether its bytes were new
};

/// A file outside the page's own folder of files, which waits in the staging folder: the builder publishes
/// these in the order of the pages, so that the first page that wants a path gets it.
struct SharedFile
{
    QString path;
    QString staged; ///< inside the staging folder
};

/// What making a page came to.
struct PageResult
{
    bool isDone = false; ///< whether the page's files were published, all of them
    QList<BuiltFile> files;
    QList<SharedFile> shared;
    /// Whether the plug-in says what it read, so that the page need not be made again while that is the same.
    bool isRepeatable = false;
    QStringList reads;          ///< absolute paths of files and folders, those that were not there included
    QList<qsizetype> consulted; ///< other pages whose plug-ins were asked
    QList<QFReportRecord> records;
    qint64 omittedRecords = 0;

    [[nodiscard]] QByteArray toBytes() const;
    /// From bytes that `toBytes` made.
    [[nodiscard]] static PageResult fromBytes(const QByteArray &bytes);
};
