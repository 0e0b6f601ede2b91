#pragma once

// What all users of the media library share: its headers, owners of its objects, and its silence.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <memory>

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
        av_freep(&stream->buffer);
        avio_context_free(&stream);
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
