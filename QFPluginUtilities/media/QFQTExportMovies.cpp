#include "media/QFQTExport.h"

#include "movies/MovieFile.h"
#include "movies/MovieFlattening.h"
#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/QFReport.h"
#include "platform/WithoutThrowing.h"

using namespace Qt::StringLiterals;

namespace {

std::unique_ptr<MovieFile> openMovie(const QString &path)
{
    int error = 0;
    auto bytes = MovieBytes::ofFile(path, error);
    return bytes ? MovieFile::withBytes(std::move(bytes), error) : nullptr;
}

NSSize naturalSize(const MovieFile *movie)
{
    const QSize size = movie ? movie->displaySize() : QSize();
    return size.isEmpty() ? NSSize() : NSSize{float(size.width()), float(size.height())};
}

} // namespace

bool QFQTExport::getPotentialQuickTimeMovie(const QString &path)
{
    return withoutThrowing([&] { return openMovie(path) != nullptr; });
}

NSSize QFQTExport::getMovieDimensions(const QString &path)
{
    return withoutThrowing([&] { return naturalSize(openMovie(path).get()); });
}

NSSize QFQTExport::getMovieDimensionsFromData(const QByteArray &data)
{
    return withoutThrowing([&] {
        int error = 0;
        return naturalSize(MovieFile::withBytes(MovieBytes::ofData(data), error).get());
    });
}

QString QFQTExport::flattenQuickTimeMovieForFastStart(const QString &path, const QString &intoTempDirectory)
{
    return withoutThrowing([&] {
        // The media layer works on any thread, so nothing is ever done again on the main one.
        const MovieFlattening::Result result = MovieFlattening::flatten(path, intoTempDirectory);
        if (result.path.isNull()) {
            logFailure(qfMediaLog(), u"movie"_s,
                       formatted(u"Exception while flattening movie: %@", {result.reason}), path);
        }
        return result.path;
    });
}

QString QFQTExport::quicktimeEmbedHTMLForSrc(const QString &src, int width, int height, bool autoplay)
{
    // The script function comes with the host's pages. Its arguments are not escaped, and the blank after the
    // last one stays.
    return withoutThrowing([&] {
        return formatted(u"<!-- Movie code starts !-->"
                         u"<div class=\"movie-frame\">"
                         u"<script type=\"text/javascript\">"
                         u"QT_WriteOBJECT_XHTML('%@', '%i', '%i', '', 'autoplay', '%@' "
                         u");</script>"
                         u"</div>"
                         u"<!-- Movie code ends !-->",
                         {src, width, height, autoplay ? u"true"_s : u"false"_s});
    });
}
