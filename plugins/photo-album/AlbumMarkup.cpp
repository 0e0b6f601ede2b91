#include "plugins/photo-album/AlbumMarkup.h"

#include "text/QFStrings.h"

using namespace Qt::StringLiterals;

namespace {

QString escaped(const QString &text)
{
    return QFStringUtilities::stringEscapedForHTMLAttribute(text);
}

/// The text inside an element; nothing for a nil or empty text.
QString element(const QString &start, const QString &text, const QString &end)
{
    return text.isEmpty() ? QString() : start + escaped(text) + end;
}

QString image(const AlbumMarkup::Picture &picture, const QString &loading)
{
    QString markup =
        u"<img src=\""_s + escaped(picture.address) + u"\" alt=\""_s + escaped(picture.alternative) + u'"';
    if (!picture.size.isEmpty())
        markup += u" width=\""_s + QString::number(picture.size.width()) + u"\" height=\""_s +
                  QString::number(picture.size.height()) + u'"';
    return markup + loading + u" />"_s;
}

/// A place in the row of links; empty where there is nowhere to go.
QString pageLink(const QString &address, const QString &relation, const QString &text)
{
    if (address.isEmpty())
        return u"<span></span>"_s;
    return u"<span><a rel=\""_s + relation + u"\" href=\""_s + escaped(address) + u"\">"_s + text +
           u"</a></span>"_s;
}

} // namespace

QString AlbumMarkup::albumStart(int columns, int width)
{
    QString style = u"--album-width: "_s + QString::number(width) + u"px"_s;
    if (columns > 0)
        style = u"--album-width: 0px; --album-columns: "_s + QString::number(columns);
    return u"<ul class=\"album\" style=\""_s + style + u"\">\n"_s;
}

QString AlbumMarkup::albumItem(const Picture &thumbnail, const QString &photoPage, const QString &caption)
{
    return u"<li><figure><a href=\""_s + escaped(photoPage) + u"\">"_s +
           image(thumbnail, u" loading=\"lazy\""_s) + u"</a>"_s +
           element(u"<figcaption>"_s, caption, u"</figcaption>"_s) + u"</figure></li>\n"_s;
}

QString AlbumMarkup::albumEnd()
{
    return u"</ul>\n"_s;
}

QString AlbumMarkup::emptyAlbum()
{
    return u"<p class=\"album-empty\">There are no photographs here yet.</p>\n"_s;
}

QString AlbumMarkup::photoPage(const PhotoPage &page)
{
    const QString caption = element(u"<span class=\"album-caption\">"_s, page.caption, u"</span>"_s) +
                            element(u"<span class=\"album-details\">"_s, page.details, u"</span>"_s) +
                            (page.original.isEmpty() ? QString()
                                                     : u"<a class=\"album-original\" download href=\""_s +
                                                           escaped(page.original) + u"\">Original</a>"_s);
    return u"<nav class=\"album-pages\" aria-label=\"Photographs\">"_s +
           pageLink(page.previous, u"prev"_s, u"\u2190 Previous"_s) +
           pageLink(page.album, u"up"_s,
                    u"All photographs"_s +
                        (page.position.isEmpty() ? QString() : u" ("_s + page.position + u')')) +
           pageLink(page.next, u"next"_s, u"Next \u2192"_s) + u"</nav>\n<figure class=\"album-photo\">"_s +
           image(page.picture, {}) +
           (caption.isEmpty() ? QString() : u"<figcaption>"_s + caption + u"</figcaption>"_s) +
           u"</figure>\n"_s;
}

QString AlbumMarkup::entirePage(const QString &title, const QString &language, const QString &head,
                                const QString &body)
{
    return u"<!DOCTYPE html>\n<html lang=\""_s + escaped(language.isEmpty() ? u"en"_s : language) +
           u"\">\n<head>\n<meta charset=\"utf-8\" />\n<meta name=\"viewport\" content=\"width=device-width, "_s
           u"initial-scale=1\" />\n<title>"_s +
           escaped(title) + u"</title>\n"_s + head + u"\n</head>\n<body>\n<main>\n"_s + body +
           u"</main>\n</body>\n</html>\n"_s;
}

QString AlbumMarkup::styleSheet(const QString &address)
{
    return u"<link rel=\"stylesheet\" type=\"text/css\" href=\""_s + escaped(address) + u"\" />"_s;
}

QString AlbumMarkup::script(const QString &address)
{
    return u"<script defer=\"defer\" src=\""_s + escaped(address) + u"\"></script>"_s;
}
