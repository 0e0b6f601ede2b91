// Feeds arbitrary bytes, as layered pictures, to their reader.

#include "codecs/ImageSource.h"
#include "fuzz/Require.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr qint64 kMostPixels = 1 << 18;
    const QByteArray bytes =
        "8BPS" + QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const ImageSourcePtr source = ImageSource::withData(bytes);
    if (!source || qint64(source->size().width()) * source->size().height() > kMostPixels)
        return 0;
    const QImage image = source->image();
    const QImage again = source->scaled(QRect(QPoint(), source->size()), source->size());
    require(image == again && (image.isNull() || image.size() == source->size()));
    return 0;
}
