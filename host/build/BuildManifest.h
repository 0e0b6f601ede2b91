#pragma once

#include "host/build/FileStamp.h"
#include "host/build/PageResult.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

/// What is remembered of a page, of the files that a kind of plug-in shares, or of a file that is copied as
/// it is.
struct BuiltPart
{
    QString key; ///< digest of all that went into it beside files that were read
    QList<BuiltFile> files;
    QMap<QString, FileStamp> reads; ///< by absolute path
    QStringList consulted;          ///< IDs of pages whose plug-ins were asked
    /// Whether the part need not be made again while its key and all stamps are the same.
    bool isRepeatable = false;
    QList<QFReportRecord> records;

    /// Whether everything that was written lies there untouched, and everything that was read is unchanged.
    [[nodiscard]] bool isIntact(const QString &output) const;
};

/// What the last build has put into a folder. Kept there, in the builder's folder, as JSON.
struct BuildManifest
{
    QMap<QString, BuiltPart> pages;  ///< by ID
    QMap<QString, BuiltPart> kinds;  ///< by identifier of the plug-in
    QMap<QString, BuiltPart> copies; ///< by path inside the published site
    QString root;                    ///< path of the site's root on its server; empty for relative addresses
    QString index;                   ///< name of the site's index file
    QStringList orphans; ///< paths of files that an earlier build made and that no page has any more

    /// Paths of all files, orphans left out.
    [[nodiscard]] QStringList allFiles() const;

    /// Empty where there is none, or one that cannot be read as a whole.
    [[nodiscard]] static BuildManifest read(const QString &output);
    /// What the manifest's file holds.
    [[nodiscard]] QByteArray toJson() const;
    /// Path of the manifest's file inside the published site.
    [[nodiscard]] static QString file();
};
