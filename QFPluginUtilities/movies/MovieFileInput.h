#pragma once

#include "movies/MovieFile.h"
#include "movies/MovieLibrary.h"

#include <QDeadlineTimer>

/// What reading a movie needs, in the order in which it is set up.
struct MovieFile::Input
{
    // Reading a header ends here, whatever the file wants: a long film's index has some tens of megabytes.
    static constexpr qint64 mostHeaderBytes = qint64(512) << 20;
    static constexpr int mostHeaderMilliseconds = 10'000;

    std::unique_ptr<MovieBytes> bytes;
    qint64 position = 0;
    qint64 bytesLeft = mostHeaderBytes;
    QDeadlineTimer deadline{mostHeaderMilliseconds};
    MovieStream stream;
    AVFormatContext *context = nullptr;
    bool isAnalysed = false;
    bool isIndexFirst = false; ///< the file is in order already

    Input() = default;
    ~Input()
    {
        if (context)
            libav().avformat_close_input(&context);
    }
    Input(const Input &) = delete;
    Input &operator=(const Input &) = delete;

    static int read(void *opaque, uint8_t *buffer, int length);
    static int64_t seek(void *opaque, int64_t offset, int whence);
};
