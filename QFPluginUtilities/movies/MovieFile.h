#pragma once

#include "movies/MovieBytes.h"

#include <QSize>

#include <memory>

struct AVFormatContext;
struct AVStream;

/// A movie whose header has been read: QuickTime, MPEG-4, AVI, and MPEG streams, told by their content. Only
/// the bytes given are ever read, whatever other files they name.
class QF_EXPORT MovieFile
{
public:
    /// nullptr, with the media library's negative code in `error`, for what is no movie.
    [[nodiscard]] static std::unique_ptr<MovieFile> withBytes(std::unique_ptr<MovieBytes> bytes, int &error);
    ~MovieFile();
    MovieFile(const MovieFile &) = delete;
    MovieFile &operator=(const MovieFile &) = delete;

    /// Size in pixels of the first picture track as displayed: turned by its matrix, widened by the shape of
    /// its pixels. Empty for a movie without pictures.
    [[nodiscard]] QSize displaySize() const;
    [[nodiscard]] const MovieBytes &bytes() const;
    /// Writes the movie into a file open for reading and writing, its index before its media, which are
    /// copied as they are. 0 or the media library's negative code. May be called once.
    [[nodiscard]] int writeForFastStart(int file);

    /// Moving pictures of a known size. A cover picture is none.
    [[nodiscard]] static bool isPictureTrack(const AVStream &stream);
    [[nodiscard]] static bool isSoundTrack(const AVStream &stream);

private:
    MovieFile() = default;
    [[nodiscard]] int open();
    /// Reads on into the media for what the header has left open.
    [[nodiscard]] int analyse();
    [[nodiscard]] bool isPlayable() const;

    struct Input;
    std::unique_ptr<Input> _input;
};
