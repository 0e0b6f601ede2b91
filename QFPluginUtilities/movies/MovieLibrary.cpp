#include "movies/MovieLibrary.h"

#include <cstdarg>
#include <mutex>

namespace {

constexpr int kBufferSize = 1 << 16;

thread_local int silences = 0;

void printUnlessSilent(void *context, int level, const char *format, va_list arguments)
{
    if (silences == 0)
        av_log_default_callback(context, level, format, arguments);
}

} // namespace

MovieLibrarySilence::MovieLibrarySilence()
{
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_callback(printUnlessSilent); });
    ++silences;
}

MovieLibrarySilence::~MovieLibrarySilence()
{
    --silences;
}

MovieStream makeMovieStream(void *opaque, MovieRead read, MovieWrite write, MovieSeek seek)
{
    auto *buffer = static_cast<unsigned char *>(av_malloc(kBufferSize));
    if (!buffer)
        return nullptr;
    AVIOContext *stream = avio_alloc_context(buffer, kBufferSize, write ? 1 : 0, opaque, read, write, seek);
    if (!stream)
        av_free(buffer);
    return MovieStream(stream);
}

int64_t seekTarget(int64_t offset, int whence, int64_t position, int64_t size)
{
    const int from = whence & ~AVSEEK_FORCE;
    const int64_t base = from == SEEK_CUR ? position : from == SEEK_END ? size : 0;
    int64_t target = 0;
    const bool isPlace = from == SEEK_SET || from == SEEK_CUR || from == SEEK_END;
    return !isPlace || __builtin_add_overflow(base, offset, &target) || target < 0 ? -1 : target;
}
