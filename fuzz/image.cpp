// Feeds arbitrary bytes to the readers of pictures. What they decode has the size that the header has told,
// and is scaled and written without harm.

#include "codecs/ImageEncoder.h"
#include "codecs/ImageSource.h"
#include "fuzz/Require.h"

namespace {

/// Larger pictures are decoded just the same, but slowly.
constexpr qint64 kMostPixels = 1 << 18;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const ImageSourcePtr source = ImageSource::withData(bytes);
    if (!source || qint64(source->size().width()) * source->size().height() > kMostPixels)
        return 0;
    const QImage image = source->image();
    require(image.isNull() || image.size() == source->size());
    const QRect part(QPoint(source->size().width() / 3, source->size().height() / 4), source->size() / 2);
    if (part.isEmpty())
        return 0;
    const QImage scaled = source->scaled(part, QSize(9, 7));
    require(image.isNull() || scaled.size() == QSize(9, 7));
    // Hardly smaller: other readers than for thumbnails.
    const QSize less = (source->size() * 2 / 3).expandedTo({1, 1});
    require(image.isNull() || source->scaled({QPoint(), source->size()}, less).size() == less);
    if (!scaled.isNull())
        require(!ImageEncoder::encoded(scaled, ImageEncoder::FileType::GIF).isEmpty());
    return 0;
}
