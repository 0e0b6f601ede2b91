#include "plugins/photo-album/PhotoAlbumPlugin.h"

#include "media/QFImageIO.h"
#include "media/QFQTExport.h"
#include "platform/DynamicMessages.h"
#include "platform/Formatting.h"
#include "platform/QFHost.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "plugin/QFExportParams.h"
#include "plugin/QFPluginClass.h"
#include "plugins/common/PluginSettings.h"
#include "plugins/common/SiteFiles.h"
#include "plugins/photo-album/PhotoFolder.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kSmallestPicture = 16;
constexpr int kLargestPicture = 8000;
constexpr int kMostColumns = 12;

/// The file's extension as the page's file has it, without the dot.
QString pageExtension(const QVariantMap &params)
{
    const QString extension = QFExportParams(params).exportFilenameExtension();
    return extension.isEmpty() ? u"html"_s : extension;
}

QString photoPageName(const Photo &photo, const QVariantMap &params)
{
    return photo.ID + u'.' + pageExtension(params);
}

qint32 qualityFor(QObject *page)
{
    const QString quality = QFHost::imageQuality(page);
    return quality == u"Best" ? 1024 : quality == u"Medium" ? 512 : quality == u"Low" ? 256 : 768;
}

/// Writes the picture as a JPEG whose longer side has at most that many pixels. Its size; empty, after a
/// record, when it could not be written.
QSize writePicture(const Photo &photo, const QString &path, int longest, qint32 quality)
{
    const std::unique_ptr<QFQTExport> exporter = QFQTExport::exporterWithFile(photo.path);
    const QVariantMap properties = QFImageIO::propertiesFromFile(photo.path);
    const int side =
        qMax(properties.value(u"PixelWidth"_s).toInt(), properties.value(u"PixelHeight"_s).toInt());
    const double scale = side > longest ? double(longest) / side : 1;
    exporter->setAttributes(std::make_shared<QVariantMap>(
        QVariantMap{{u"lockratios"_s, true}, {u"scale"_s, static_cast<float>(scale)}}));
    exporter->setQuality(quality);
    exporter->setDestination(path);
    const qint32 status = exporter->exportImage();
    const QVariantMap written = QFImageIO::propertiesFromData(exporter->exportedBytes());
    if (status == QFQTExport::noErr && !written.isEmpty())
        return {written.value(u"PixelWidth"_s).toInt(), written.value(u"PixelHeight"_s).toInt()};
    QFile::remove(path);
    reportLoss(u"photograph"_s, u"The photograph cannot be written"_s, photo.path);
    return {};
}

/// Whether the host can copy the file under its own name beside what the album writes.
bool keepsItsName(const Photo &photo)
{
    const auto isSafe = [](QChar c) {
        return c.unicode() < 0x80 && (c.isLetterOrNumber() || c == u'-' || c == u'_' || c == u'.');
    };
    const QString &name = photo.fileName;
    return name.size() <= 200 && !name.startsWith(u'.') && std::all_of(name.begin(), name.end(), isSafe) &&
           name.contains(u'.') && !name.endsWith(u".jpg", Qt::CaseInsensitive);
}

/// Most originals are ".jpg" as the album's own pictures are, and get a name that none of these has.
QString originalName(const Photo &photo)
{
    return keepsItsName(photo) ? photo.fileName
                               : photo.ID + u"-original."_s + QFileInfo(photo.fileName).suffix().toLower();
}

} // namespace

PhotoAlbumPlugin::PhotoAlbumPlugin(QFPluginClass &kind) : _kind(kind) {}

QFPluginClass *PhotoAlbumPlugin::pluginClass() const
{
    return &_kind;
}

void PhotoAlbumPlugin::setThumbnailSize(int pixels)
{
    _thumbnailSize = PluginSettings::clamped(pixels, kSmallestPicture, kLargestPicture);
}

void PhotoAlbumPlugin::setPhotoSize(int pixels)
{
    _photoSize = PluginSettings::clamped(pixels, kSmallestPicture, kLargestPicture);
}

void PhotoAlbumPlugin::setColumns(int columns)
{
    _columns = PluginSettings::clamped(columns, 0, kMostColumns);
}

void PhotoAlbumPlugin::setCaptions(const QString &kind)
{
    _captions = PluginSettings::choice(kind, _captions, {u"metadata", u"name", u"none"});
}

void PhotoAlbumPlugin::setOrder(const QString &order)
{
    _order = PluginSettings::choice(order, _order, {u"name", u"date", u"newest"});
}

QVariantMap PhotoAlbumPlugin::populatePluginSettings() const
{
    return PluginSettings::transferable(*this, {"source"});
}

QStringList PhotoAlbumPlugin::filesReadForExport() const
{
    // The folder, too: a photograph may come or go.
    QStringList files = SiteFiles::watched(*this, {_source});
    for (const QString &folder : QStringList(files)) {
        for (const QFileInfo &file : QDir(folder).entryInfoList(QDir::Files, QDir::Name))
            files.append(file.filePath());
    }
    return files;
}

void PhotoAlbumPlugin::cancelExport()
{
    _isCancelled = true;
}

std::optional<QList<Photo>> PhotoAlbumPlugin::photosInOrder() const
{
    const QString folder = SiteFiles::named(*this, _source);
    if (folder.isNull())
        return {};
    if (!QFileInfo(folder).isDir()) {
        reportLoss(u"source"_s, u"An album is made from a folder of photographs"_s, folder);
        return {};
    }
    QList<Photo> photos = PhotoFolder::photos(*this, folder);
    PhotoFolder::sort(photos, _order);
    return photos;
}

std::optional<Photo> PhotoAlbumPlugin::photoForSubpage(const QString &subpageID) const
{
    QFReport
        unheard; // what is wrong with the album is said when it is made, not by each page that links to it
    const QFReport::Installed scope(unheard);
    const QList<Photo> photos = photosInOrder().value_or(QList<Photo>());
    for (const Photo &photo : photos) {
        if (photo.ID == subpageID || photo.fileName == subpageID)
            return photo;
    }
    return {};
}

QString PhotoAlbumPlugin::internalPageLinkFileMapper(const QString &subpageID) const
{
    const std::optional<Photo> photo = photoForSubpage(subpageID);
    return photo ? photo->ID : QString();
}

QString PhotoAlbumPlugin::internalPageLinkNameMapper(const QString &subpageID) const
{
    const std::optional<Photo> photo = photoForSubpage(subpageID);
    return photo ? photo->title : QString();
}

QString PhotoAlbumPlugin::captionOf(const Photo &photo) const
{
    if (_captions == u"none")
        return {};
    return _captions == u"metadata" && !photo.caption.isNull() ? photo.caption : photo.title;
}

QString PhotoAlbumPlugin::language() const
{
    return respondsTo(document(), "language", 0) ? stringValue(send(document(), "language")) : QString();
}

void PhotoAlbumPlugin::exportPictures(const QList<Photo> &photos, const QVariantMap &params)
{
    const QString folder = SiteFiles::filesFolder(params);
    if (folder.isNull()) {
        reportLoss(u"export"_s, u"The host does not say where the page is written"_s);
        return;
    }
    const QPointer<QObject> page = QFHost::pageFromUniqueID(document(), uniqueID());
    const qint32 quality = qualityFor(page);
    for (qsizetype number = 0; number < photos.size() && !_isCancelled; ++number) {
        const Photo &photo = photos[number];
        broadcastPluginExportStatus(formatted(u"Photograph %d of %d", {number + 1, photos.size()}),
                                    static_cast<float>(number) / static_cast<float>(photos.size()));
        Exported exported{photo, {}, {}};
        exported.thumbnailSize =
            writePicture(photo, folder + u'/' + photo.thumbnailName(), _thumbnailSize, quality);
        if (exported.thumbnailSize.isEmpty())
            continue;
        exported.photoSize = writePicture(photo, folder + u'/' + photo.photoName(), _photoSize, quality);
        if (!exported.photoSize.isEmpty())
            _exported.append(exported);
    }
}

QVariant PhotoAlbumPlugin::contentHTML(const QVariantMap &params)
{
    _isCancelled = false;
    const std::optional<QList<Photo>> photos = photosInOrder();
    _exported.clear();
    if (!photos)
        return {};
    exportPictures(*photos, params);
    broadcastPluginExportStatus(u"Album written"_s, 1);
    if (_exported.isEmpty())
        return AlbumMarkup::emptyAlbum();
    const QString folder = QFExportParams(params).exportFilesFolderName() + u'/';
    QString album = AlbumMarkup::albumStart(_columns, qMin(_thumbnailSize, 320));
    for (const Exported &exported : std::as_const(_exported)) {
        const Photo &photo = exported.photo;
        const AlbumMarkup::Picture thumbnail{folder + photo.thumbnailName(), exported.thumbnailSize,
                                             photo.title};
        album += AlbumMarkup::albumItem(thumbnail, folder + photoPageName(photo, params), captionOf(photo));
    }
    return album + AlbumMarkup::albumEnd();
}

QString PhotoAlbumPlugin::photoPageHTML(qsizetype number, const QVariantMap &params) const
{
    const Exported &exported = _exported[number];
    const Photo &photo = exported.photo;
    const auto neighbour = [&](qsizetype other) {
        return other >= 0 && other < _exported.size() ? photoPageName(_exported[other].photo, params)
                                                      : QString();
    };
    QStringList details{printedDate(photo.taken, language()), photo.settings};
    details.removeAll(QString());

    AlbumMarkup::PhotoPage page;
    page.picture = {photo.photoName(), exported.photoSize, photo.title};
    page.caption = captionOf(photo);
    page.details = details.join(u" · "_s);
    page.original = _offerOriginals ? originalName(photo) : QString();
    page.previous = neighbour(number - 1);
    page.next = neighbour(number + 1);
    page.album = QFHost::pathFromPage(document(), uniqueID(), uniqueID(), 1);
    page.position = formatted(u"%d of %d", {number + 1, _exported.size()});
    return AlbumMarkup::photoPage(page);
}

QString PhotoAlbumPlugin::entirePhotoPage(qsizetype number, const QVariantMap &params) const
{
    const qint64 depth = QFExportParams(params).exportPagePath().count(u'/') + 1;
    const QString head = AlbumMarkup::styleSheet(SiteFiles::sharedFile(u"album.css"_s, params, depth)) +
                         AlbumMarkup::script(SiteFiles::sharedFile(u"album.js"_s, params, depth));
    return AlbumMarkup::entirePage(_exported[number].photo.title, language(), head,
                                   photoPageHTML(number, params));
}

QVariantMap PhotoAlbumPlugin::photoPageRecord(qsizetype number, const QVariantMap &params) const
{
    const QString name = photoPageName(_exported[number].photo, params);
    if (!QFExportParams(params).contentOnlySubpagesEnabled())
        return contentOnlySubpageWithEntireHTML(entirePhotoPage(number, params), name);
    QVariantMap record = contentOnlySubpageWithHTML(photoPageHTML(number, params), name);
    record.insert(u"title"_s, _exported[number].photo.title);
    return record;
}

QVariant PhotoAlbumPlugin::extraFilesNeededInExportFolder(const QVariantMap &params)
{
    QVariantList files;
    for (qsizetype number = 0; number < _exported.size() && !_isCancelled; ++number) {
        files.append(photoPageRecord(number, params));
        const Photo &photo = _exported[number].photo;
        if (_offerOriginals && keepsItsName(photo))
            files.append(photo.path);
        else if (const auto bytes = _offerOriginals ? SiteFiles::contents(photo.path) : std::nullopt)
            files.append(contentOnlySubpageWithData(*bytes, originalName(photo)));
    }
    return files;
}

QString &PhotoAlbumPlugin::updatePageTemplate(QString &pageTemplate, const QVariantMap &params, qint64 depth)
{
    SiteFiles::addToStyleSheets(
        pageTemplate, AlbumMarkup::styleSheet(SiteFiles::sharedFile(u"album.css"_s, params, depth)) +
                          AlbumMarkup::script(SiteFiles::sharedFile(u"album.js"_s, params, depth)));
    return QFAbstractPlugin::updatePageTemplate(pageTemplate, params, depth);
}
