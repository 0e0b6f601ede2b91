#pragma once

// What all users of the media library share: its headers, owners of its objects, and its silence.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
#include <libavutil/display.h>
#include <libavutil/opt.h>
}

#include <memory>

/// The media library's functions that are used here. It brings more than a hundred other libraries with it,
/// so it is loaded when a movie is first looked at, and programs that meet none start without it.
struct MovieLibraryFunctions
{
    decltype(&::av_codec_get_id) av_codec_get_id = nullptr;
    decltype(&::av_codec_get_tag2) av_codec_get_tag2 = nullptr;
    decltype(&::av_dict_copy) av_dict_copy = nullptr;
    decltype(&::av_dict_free) av_dict_free = nullptr;
    decltype(&::av_dict_set) av_dict_set = nullptr;
    decltype(&::av_display_rotation_get) av_display_rotation_get = nullptr;
    decltype(&::av_free) av_free = nullptr;
    decltype(&::av_freep) av_freep = nullptr;
    decltype(&::av_guess_sample_aspect_ratio) av_guess_sample_aspect_ratio = nullptr;
    decltype(&::av_interleaved_write_frame) av_interleaved_write_frame = nullptr;
    decltype(&::av_log_default_callback) av_log_default_callback = nullptr;
    decltype(&::av_log_set_callback) av_log_set_callback = nullptr;
    decltype(&::av_malloc) av_malloc = nullptr;
    decltype(&::av_match_list) av_match_list = nullptr;
    decltype(&::av_opt_set) av_opt_set = nullptr;
    decltype(&::av_packet_alloc) av_packet_alloc = nullptr;
    decltype(&::av_packet_free) av_packet_free = nullptr;
    decltype(&::av_packet_rescale_ts) av_packet_rescale_ts = nullptr;
    decltype(&::av_packet_unref) av_packet_unref = nullptr;
    decltype(&::av_probe_input_buffer2) av_probe_input_buffer2 = nullptr;
    decltype(&::av_read_frame) av_read_frame = nullptr;
    decltype(&::av_stream_get_side_data) av_stream_get_side_data = nullptr;
    decltype(&::av_stream_new_side_data) av_stream_new_side_data = nullptr;
    decltype(&::av_write_trailer) av_write_trailer = nullptr;
    decltype(&::avcodec_parameters_copy) avcodec_parameters_copy = nullptr;
    decltype(&::avformat_alloc_context) avformat_alloc_context = nullptr;
    decltype(&::avformat_alloc_output_context2) avformat_alloc_output_context2 = nullptr;
    decltype(&::avformat_close_input) avformat_close_input = nullptr;
    decltype(&::avformat_find_stream_info) avformat_find_stream_info = nullptr;
    decltype(&::avformat_free_context) avformat_free_context = nullptr;
    decltype(&::avformat_new_stream) avformat_new_stream = nullptr;
    decltype(&::avformat_open_input) avformat_open_input = nullptr;
    decltype(&::avformat_query_codec) avformat_query_codec = nullptr;
    decltype(&::avformat_write_header) avformat_write_header = nullptr;
    decltype(&::avio_alloc_context) avio_alloc_context = nullptr;
    decltype(&::avio_context_free) avio_context_free = nullptr;
    decltype(&::avio_flush) avio_flush = nullptr;
};

/// Whether the media library could be loaded. Any thread, and so the next.
[[nodiscard]] bool hasMovieLibrary();
/// Its functions. Only to be asked for when it could be loaded.
[[nodiscard]] const MovieLibraryFunctions &libav();

/// Keeps what the media library has to say on this thread, for as long as it lives, from standard error,
/// where it would print every oddity of a file. Other threads, and other users of it, are not affected.
class MovieLibrarySilence
{
public:
    MovieLibrarySilence();
    ~MovieLibrarySilence();
    MovieLibrarySilence(const MovieLibrarySilence &) = delete;
    MovieLibrarySilence &operator=(const MovieLibrarySilence &) = delete;
};

struct MovieStreamDeleter
{
    void operator()(AVIOContext *stream) const
    {
        libav().av_freep(&stream->buffer);
        libav().avio_context_free(&stream);
    }
};
using MovieStream = std::unique_ptr<AVIOContext, MovieStreamDeleter>;

using MovieRead = int (*)(void *opaque, uint8_t *buffer, int length);
using MovieWrite = int (*)(void *opaque, uint8_t *buffer, int length);
using MovieSeek = int64_t (*)(void *opaque, int64_t offset, int whence);

/// A stream over functions of ours; nullptr when there is no memory for it. Writes when `write` is given.
[[nodiscard]] MovieStream makeMovieStream(void *opaque, MovieRead read, MovieWrite write, MovieSeek seek);

/// Where a seek leads, given the position and size; -1 for what is no place.
[[nodiscard]] int64_t seekTarget(int64_t offset, int whence, int64_t position, int64_t size);
