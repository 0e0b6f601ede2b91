// Feeds arbitrary bytes to the reader of movies, and writes again what it takes for one. The media library
// itself does not tell the fuzzer where it goes; the walk over atoms in front of it does.

#include "fuzz/Require.h"
#include "movies/MovieAtoms.h"
#include "movies/MovieFile.h"

#include <sys/mman.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    (void)MovieAtoms::of(*MovieBytes::ofData(bytes));
    int error = 0;
    const auto movie = MovieFile::withBytes(MovieBytes::ofData(bytes), error);
    if (!movie)
        return 0;
    const QSize shown = movie->displaySize();
    require(shown.isEmpty() || (shown.width() <= 65535 && shown.height() <= 65535));
    const int file = ::memfd_create("flattened", MFD_CLOEXEC);
    require(file >= 0 && movie->writeForFastStart(file) <= 0);
    ::close(file);
    return 0;
}
