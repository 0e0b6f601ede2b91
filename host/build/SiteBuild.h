#pragma once

#include "host/build/BuildContext.h"
#include "host/build/BuildKeys.h"
#include "host/build/BuildManifest.h"
#include "host/build/OutputFolder.h"
#include "host/build/PageBuilder.h"
#include "host/build/SiteBuilder.h"
#include "host/build/WorkerPool.h"

#include <QHash>
#include <QList>
#include <QString>

#include <memory>

/// One build of a site, from the plan to the manifest.
class SiteBuild
{
public:
    /// All but the preferences' folder must outlive the build.
    SiteBuild(const BuildRequest &request, const BuildContext &context, const BuildEvents &events,
              const QString &preferencesFolder);

    void run();
    BuildResult result;

private:
    /// What is made at one go: a page, or the files that all pages of a kind share.
    struct Piece
    {
        qsizetype page = -1; ///< index; -1 for a kind
        QString name;        ///< ID of the page, or identifier of the kind
        QString title;       ///< for people
        QString key;
        QString ownFolder; ///< path in the published site of a folder that no other piece has files in

        [[nodiscard]] bool isPage() const { return page >= 0; }
    };

    // The steps of a build.
    void listPieces();
    void plan();
    void copyFiles();
    void makePieces();
    void settleSharedFiles();
    void findOrphans();
    void keepWhatWasNotReached();
    void sumUp();
    void writeManifest();

    [[nodiscard]] static QMap<QString, BuiltPart> &partsOf(BuildManifest &manifest, const Piece &piece);
    [[nodiscard]] BuiltPart earlierPart(const Piece &piece) const;
    [[nodiscard]] bool isIntact(const BuiltPart &part, const QString &key) const;
    [[nodiscard]] bool consultedAreSame(const BuiltPart &part) const;
    void copyFile(const QString &file, const QString &source, BuiltPart &part);
    [[nodiscard]] QByteArray makeInWorker(const Piece &piece, const WorkerPool::Progress &progress);
    void take(qsizetype number, const PageResult &made);
    void lose(qsizetype number, const QString &reason);
    void noteReads(BuiltPart &part, const QStringList &paths) const;
    void settleSharedFiles(PathClaims &claims, const Piece &piece, const QList<SharedFile> &shared,
                           BuiltPart &part);
    [[nodiscard]] bool isAsBefore() const;

    const BuildRequest &_request;
    const BuildContext &_context;
    const BuildEvents &_events;
    const qint64 _started;
    OutputFolder _output;
    BuildKeys _keys;
    const BuildManifest _earlier; ///< of the last build
    BuildManifest _now;
    QList<Piece> _pieces;                        ///< pages in the order of the site, then kinds
    QHash<QString, QString> _keyOfPage;          ///< by ID
    QList<qsizetype> _tasks;                     ///< numbers of the pieces that must be made
    QHash<qsizetype, QList<SharedFile>> _shared; ///< by number of the piece
    qsizetype _done = 0;
    bool _hasCopied = false;
    std::unique_ptr<PageBuilder> _pageBuilder; ///< of a worker
};
