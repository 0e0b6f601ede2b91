#include "movies/MovieLibrary.h"

#include <QLibrary>

#include <cstdarg>
#include <mutex>
#include <optional>

namespace {

constexpr int kBufferSize = 1 << 16;

thread_local int silences = 0;

template <typename Function>
void resolve(QLibrary &library, const char *name, Function &function, bool &isWhole)
{
    function = reinterpret_cast<Function>(library.resolve(name));
    isWhole &= function != nullptr;
}

/// Of the versions that this was built with, which stay loaded; nothing when one of the functions is missing.
std::optional<MovieLibraryFunctions> loadedFunctions()
{
    QLibrary avutil(QStringLiteral("avutil"), LIBAVUTIL_VERSION_MAJOR);
    QLibrary avcodec(QStringLiteral("avcodec"), LIBAVCODEC_VERSION_MAJOR);
    QLibrary avformat(QStringLiteral("avformat"), LIBAVFORMAT_VERSION_MAJOR);
    MovieLibraryFunctions functions;
    bool isWhole = true;
    resolve(avformat, "av_codec_get_id", functions.av_codec_get_id, isWhole);
    resolve(avformat, "av_codec_get_tag2", functions.av_codec_get_tag2, isWhole);
    resolve(avformat, "av_guess_sample_aspect_ratio", functions.av_guess_sample_aspect_ratio, isWhole);
    resolve(avformat, "av_interleaved_write_frame", functions.av_interleaved_write_frame, isWhole);
    resolve(avformat, "av_probe_input_buffer2", functions.av_probe_input_buffer2, isWhole);
    resolve(avformat, "av_read_frame", functions.av_read_frame, isWhole);
    resolve(avformat, "av_stream_get_side_data", functions.av_stream_get_side_data, isWhole);
    resolve(avformat, "av_stream_new_side_data", functions.av_stream_new_side_data, isWhole);
    resolve(avformat, "av_write_trailer", functions.av_write_trailer, isWhole);
    resolve(avformat, "avformat_alloc_context", functions.avformat_alloc_context, isWhole);
    resolve(avformat, "avformat_alloc_output_context2", functions.avformat_alloc_output_context2, isWhole);
    resolve(avformat, "avformat_close_input", functions.avformat_close_input, isWhole);
    resolve(avformat, "avformat_find_stream_info", functions.avformat_find_stream_info, isWhole);
    resolve(avformat, "avformat_free_context", functions.avformat_free_context, isWhole);
    resolve(avformat, "avformat_new_stream", functions.avformat_new_stream, isWhole);
    resolve(avformat, "avformat_open_input", functions.avformat_open_input, isWhole);
    resolve(avformat, "avformat_query_codec", functions.avformat_query_codec, isWhole);
    resolve(avformat, "avformat_write_header", functions.avformat_write_header, isWhole);
    resolve(avformat, "avio_alloc_context", functions.avio_alloc_context, isWhole);
    resolve(avformat, "avio_context_free", functions.avio_context_free, isWhole);
    resolve(avformat, "avio_flush", functions.avio_flush, isWhole);
    resolve(avcodec, "av_packet_alloc", functions.av_packet_alloc, isWhole);
    resolve(avcodec, "av_packet_free", functions.av_packet_free, isWhole);
    resolve(avcodec, "av_packet_rescale_ts", functions.av_packet_rescale_ts, isWhole);
    resolve(avcodec, "av_packet_unref", functions.av_packet_unref, isWhole);
    resolve(avcodec, "avcodec_parameters_copy", functions.avcodec_parameters_copy, isWhole);
    resolve(avutil, "av_dict_copy", functions.av_dict_copy, isWhole);
    resolve(avutil, "av_dict_free", functions.av_dict_free, isWhole);
    resolve(avutil, "av_dict_set", functions.av_dict_set, isWhole);
    resolve(avutil, "av_display_rotation_get", functions.av_display_rotation_get, isWhole);
    resolve(avutil, "av_free", functions.av_free, isWhole);
    resolve(avutil, "av_freep", functions.av_freep, isWhole);
    resolve(avutil, "av_log_default_callback", functions.av_log_default_callback, isWhole);
    resolve(avutil, "av_log_set_callback", functions.av_log_set_callback, isWhole);
    resolve(avutil, "av_malloc", functions.av_malloc, isWhole);
    resolve(avutil, "av_match_list", functions.av_match_list, isWhole);
    resolve(avutil, "av_opt_set", functions.av_opt_set, isWhole);
    return isWhole ? std::optional(functions) : std::nullopt;
}

const std::optional<MovieLibraryFunctions> &functionsOnce()
{
    static const std::optional<MovieLibraryFunctions> functions = loadedFunctions();
    return functions;
}

void printUnlessSilent(void *context, int level, const char *format, va_list arguments)
{
    if (silences == 0)
        libav().av_log_default_callback(context, level, format, arguments);
}

} // namespace

bool hasMovieLibrary()
{
    return functionsOnce().has_value();
}

const MovieLibraryFunctions &libav()
{
    return functionsOnce().value();
}

MovieLibrarySilence::MovieLibrarySilence()
{
    static std::once_flag once;
    std::call_once(once, [] {
        if (hasMovieLibrary())
            libav().av_log_set_callback(printUnlessSilent);
    });
    ++silences;
}

MovieLibrarySilence::~MovieLibrarySilence()
{
    --silences;
}

MovieStream makeMovieStream(void *opaque, MovieRead read, MovieWrite write, MovieSeek seek)
{
    auto *buffer = static_cast<unsigned char *>(libav().av_malloc(kBufferSize));
    if (!buffer)
        return nullptr;
    AVIOContext *stream =
        libav().avio_alloc_context(buffer, kBufferSize, write ? 1 : 0, opaque, read, write, seek);
    if (!stream)
        libav().av_free(buffer);
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
