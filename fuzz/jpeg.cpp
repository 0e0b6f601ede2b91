// Feeds arbitrary bytes, as JPEG files, to what finds the lower part of a picture in them. A part that is
// found is a file with the same columns and the rows that were promised.

#include "codecs/ImageSource.h"
#include "codecs/JPEGLowerPart.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const auto part = JPEGLowerPart::ofFile(bytes, 0.5);
    const ImageSourcePtr whole = ImageSource::withData(bytes);
    if (!part || !whole)
        return 0;
    const ImageSourcePtr lower = ImageSource::withData(part->file);
    if (!lower || lower->size() != QSize(whole->size().width(), part->height))
        std::abort();
    return 0;
}
