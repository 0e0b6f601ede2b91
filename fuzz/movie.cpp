// Feeds arbitrary bytes to the reader of movies' headers. The media library itself does not tell the fuzzer
// where it goes; the walk over atoms in front of it does.

#include "media/MovieAtoms.h"
#include "media/QFQTExport.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    (void)MovieAtoms::of(*MovieBytes::ofData(bytes));
    const NSSize movie = QFQTExport::getMovieDimensionsFromData(bytes);
    const bool isNone = movie == NSSize();
    const bool isSize =
        movie.width >= 1 && movie.width <= 65535 && movie.height >= 1 && movie.height <= 65535;
    if (!isNone && !isSize)
        std::abort();
    return 0;
}
