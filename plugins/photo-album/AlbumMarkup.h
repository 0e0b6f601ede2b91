#pragma once

#include <QSize>
#include <QString>

/// The HTML of albums. Texts and addresses are given as they are and escaped here; nil ones are left out.
namespace AlbumMarkup {

struct Picture
{
    QString address;
    QSize size;          ///< pixels; empty when unknown
    QString alternative; ///< text for those who do not see it
};

struct PhotoPage
{
    Picture picture;
    QString caption;
    QString details;
    QString original; ///< address of the file to download
    QString previous; ///< addresses of neighbours
    QString next;
    QString album;    ///< address of the page with all photographs
    QString position; ///< "3 of 12"
};

[[nodiscard]] QString albumStart(int columns, int width);
[[nodiscard]] QString albumItem(const Picture &thumbnail, const QString &photoPage, const QString &caption);
[[nodiscard]] QString albumEnd();
[[nodiscard]] QString emptyAlbum();

[[nodiscard]] QString photoPage(const PhotoPage &page);
/// A whole document around the page, for themes whose template is not used for photographs. `head` is markup.
[[nodiscard]] QString entirePage(const QString &title, const QString &language, const QString &head,
                                 const QString &body);

[[nodiscard]] QString styleSheet(const QString &address);
[[nodiscard]] QString script(const QString &address);

} // namespace AlbumMarkup
