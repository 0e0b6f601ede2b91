#pragma once

#include "plugin/QFAbstractPlugin.h"
#include "plugins/photo-album/AlbumMarkup.h"
#include "plugins/photo-album/Photo.h"

#include <QList>
#include <QSize>

#include <atomic>
#include <optional>

class QFPluginClass;

/// A page of small pictures, one for each photograph in a folder, and a subpage for each with the large one.
/// The subpage's ID, in links from other pages, is the name of the photograph's file, with or without its
/// extension.
class PhotoAlbumPlugin final : public QFAbstractPlugin
{
    Q_OBJECT
    /// A folder inside the site's folder.
    Q_PROPERTY(QString source MEMBER _source)
    /// Longer sides in pixels. No photograph is enlarged.
    Q_PROPERTY(int thumbnailSize READ thumbnailSize WRITE setThumbnailSize)
    Q_PROPERTY(int photoSize READ photoSize WRITE setPhotoSize)
    /// 0: as many as fit.
    Q_PROPERTY(int columns READ columns WRITE setColumns)
    /// "metadata" (else the name), "name" or "none".
    Q_PROPERTY(QString captions READ captions WRITE setCaptions)
    /// "name", "date" or "newest".
    Q_PROPERTY(QString order READ order WRITE setOrder)
    /// Whether the files themselves can be downloaded.
    Q_PROPERTY(bool offerOriginals MEMBER _offerOriginals)

public:
    explicit PhotoAlbumPlugin(QFPluginClass &kind);

    [[nodiscard]] QFPluginClass *pluginClass() const override;

    [[nodiscard]] int thumbnailSize() const { return _thumbnailSize; }
    void setThumbnailSize(int pixels);
    [[nodiscard]] int photoSize() const { return _photoSize; }
    void setPhotoSize(int pixels);
    [[nodiscard]] int columns() const { return _columns; }
    void setColumns(int columns);
    [[nodiscard]] QString captions() const { return _captions; }
    void setCaptions(const QString &kind);
    [[nodiscard]] QString order() const { return _order; }
    void setOrder(const QString &order);

    /// Writes the pictures too.
    [[nodiscard]] QVariant contentHTML(const QVariantMap &params) override;
    /// The photographs' pages and, if asked for, the originals; of the content made last.
    [[nodiscard]] QVariant extraFilesNeededInExportFolder(const QVariantMap &params) override;
    QString &updatePageTemplate(QString &pageTemplate, const QVariantMap &params, qint64 depth) override;
    Q_INVOKABLE void cancelExport();

    [[nodiscard]] Q_INVOKABLE QString internalPageLinkFileMapper(const QString &subpageID) const;
    [[nodiscard]] Q_INVOKABLE QString internalPageLinkNameMapper(const QString &subpageID) const;

    [[nodiscard]] bool providesPluginSettings() override { return true; }
    [[nodiscard]] Q_INVOKABLE QVariantMap populatePluginSettings() const;
    [[nodiscard]] Q_INVOKABLE QStringList filesReadForExport() const;

private:
    /// A photograph whose pictures are written.
    struct Exported
    {
        Photo photo;
        QSize thumbnailSize;
        QSize photoSize;
    };

    [[nodiscard]] std::optional<QList<Photo>> photosInOrder() const;
    [[nodiscard]] std::optional<Photo> photoForSubpage(const QString &subpageID) const;
    [[nodiscard]] QString captionOf(const Photo &photo) const;
    [[nodiscard]] QString language() const;
    void exportPictures(const QList<Photo> &photos, const QVariantMap &params);
    [[nodiscard]] QString photoPageHTML(qsizetype number, const QVariantMap &params) const;
    [[nodiscard]] QString entirePhotoPage(qsizetype number, const QVariantMap &params) const;
    [[nodiscard]] QVariantMap photoPageRecord(qsizetype number, const QVariantMap &params) const;

    QFPluginClass &_kind;
    QString _source;
    int _thumbnailSize = 480;
    int _photoSize = 1440;
    int _columns = 0;
    QString _captions = QStringLiteral("metadata");
    QString _order = QStringLiteral("name");
    bool _offerOriginals = false;
    QList<Exported> _exported; ///< by the content made last
    std::atomic<bool> _isCancelled = false;
};
