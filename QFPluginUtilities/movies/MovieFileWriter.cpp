// Writing a movie again with its index first.

#include "movies/MovieFile.h"

#include "movies/MovieFileInput.h"
#include "movies/MovieLibrary.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <unistd.h>
#include <vector>

namespace {

constexpr qint64 kMostGrowth = qint64(64) << 20; // what index and new headers may take beside the media

int lastError()
{
    return errno == 0 ? AVERROR(EIO) : AVERROR(errno);
}

/// The file that is written. The writer reads its media back to move them behind the index, through a stream
/// of its own.
struct Output
{
    int file = -1;
    qint64 limit = 0;
    qint64 position = 0;

    static int read(void *opaque, uint8_t *buffer, int length)
    {
        auto &output = *static_cast<Output *>(opaque);
        const ssize_t got = ::pread(output.file, buffer, static_cast<size_t>(length), output.position);
        if (got <= 0)
            return got < 0 ? lastError() : AVERROR_EOF;
        output.position += got;
        return static_cast<int>(got);
    }

    static int write(void *opaque, uint8_t *buffer, int length)
    {
        auto &output = *static_cast<Output *>(opaque);
        if (output.position > output.limit - length)
            return AVERROR(EFBIG);
        int done = 0;
        while (done < length) {
            const ssize_t put = ::pwrite(output.file, buffer + done, static_cast<size_t>(length - done),
                                         output.position + done);
            if (put < 0 && errno == EINTR)
                continue;
            if (put <= 0)
                return lastError();
            done += static_cast<int>(put);
        }
        output.position += length;
        return length;
    }

    static int64_t seek(void *opaque, int64_t offset, int whence)
    {
        auto &output = *static_cast<Output *>(opaque);
        const int64_t size = ::lseek(output.file, 0, SEEK_END);
        if ((whence & AVSEEK_SIZE) != 0)
            return size;
        const int64_t target = seekTarget(offset, whence, output.position, size);
        if (target < 0)
            return AVERROR(EINVAL);
        return output.position = target;
    }
};

/// A second stream on the same file, for the writer; it is the only file that there is to open.
int openAgain(AVFormatContext *context, AVIOContext **stream, const char *, int flags, AVDictionary **)
{
    if ((flags & AVIO_FLAG_WRITE) != 0)
        return AVERROR(EACCES);
    auto again = std::make_unique<Output>(*static_cast<Output *>(context->opaque));
    again->position = 0;
    *stream = makeMovieStream(again.get(), Output::read, nullptr, Output::seek).release();
    if (!*stream)
        return AVERROR(ENOMEM);
    (void)again.release();
    return 0;
}

int closeAgain(AVFormatContext *, AVIOContext *stream)
{
    const std::unique_ptr<Output> output(static_cast<Output *>(stream->opaque));
    const MovieStream closing(stream);
    return 0;
}

int copyBytes(const MovieBytes &bytes, Output &output)
{
    constexpr qint64 kStep = qint64(1) << 20;
    for (QByteArray step = bytes.bytes(0, kStep); !step.isEmpty();
         step = bytes.bytes(output.position, kStep)) {
        auto *data = reinterpret_cast<uint8_t *>(step.data());
        if (const int written = Output::write(&output, data, static_cast<int>(step.size())); written < 0)
            return written;
    }
    return output.position == bytes.size() ? 0 : AVERROR(EIO);
}

struct FormatDeleter
{
    void operator()(AVFormatContext *context) const { libav().avformat_free_context(context); }
};
using Format = std::unique_ptr<AVFormatContext, FormatDeleter>;
struct PacketDeleter
{
    void operator()(AVPacket *packet) const { libav().av_packet_free(&packet); }
};

/// Tracks that play, of kinds that the format holds. Time codes come along as a property of the picture.
bool isTakenOver(const AVOutputFormat *format, const AVStream &stream)
{
    const bool isKind = MovieFile::isPictureTrack(stream) || MovieFile::isSoundTrack(stream) ||
                        stream.codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE;
    return isKind &&
           libav().avformat_query_codec(format, stream.codecpar->codec_id, FF_COMPLIANCE_NORMAL) == 1;
}

/// The track's own four-character code where the format knows it for this kind of media, else 0: the
/// format's usual one.
unsigned codecTag(const AVOutputFormat *format, const AVCodecParameters &parameters)
{
    unsigned usual = 0;
    const bool isKnown =
        libav().av_codec_get_id(format->codec_tag, parameters.codec_tag) == parameters.codec_id;
    return isKnown || libav().av_codec_get_tag2(format->codec_tag, parameters.codec_id, &usual) == 0
               ? parameters.codec_tag
               : 0;
}

int addTrack(AVFormatContext &output, const AVStream &from)
{
    AVStream *to = libav().avformat_new_stream(&output, nullptr);
    if (!to)
        return AVERROR(ENOMEM);
    if (const int copied = libav().avcodec_parameters_copy(to->codecpar, from.codecpar); copied < 0)
        return copied;
    to->codecpar->codec_tag = codecTag(output.oformat, *from.codecpar);
    to->time_base = from.time_base;
    to->avg_frame_rate = from.avg_frame_rate;
    to->disposition = from.disposition;
    to->sample_aspect_ratio = from.sample_aspect_ratio;
    if (from.sample_aspect_ratio.num > 0)
        to->codecpar->sample_aspect_ratio = from.sample_aspect_ratio;
    libav().av_dict_copy(&to->metadata, from.metadata, 0);
    for (int i = 0; i < from.nb_side_data; ++i) {
        const AVPacketSideData &data = from.side_data[i];
        uint8_t *copy = libav().av_stream_new_side_data(to, data.type, data.size);
        if (!copy)
            return AVERROR(ENOMEM);
        std::memcpy(copy, data.data, data.size);
    }
    return 0;
}

/// Which track of the output each one of the input becomes; -1 for those left out.
int addTracks(AVFormatContext &output, const AVFormatContext &input, std::vector<int> &tracks)
{
    for (unsigned i = 0; i < input.nb_streams; ++i) {
        const bool takes = isTakenOver(output.oformat, *input.streams[i]);
        tracks.push_back(takes ? static_cast<int>(output.nb_streams) : -1);
        if (!takes)
            input.streams[i]->discard = AVDISCARD_ALL;
        else if (const int added = addTrack(output, *input.streams[i]); added < 0)
            return added;
    }
    return output.nb_streams == 0 ? AVERROR_STREAM_NOT_FOUND : 0;
}

/// Copies all packets in the order in which they play.
int copyPackets(AVFormatContext &output, AVFormatContext &input, const std::vector<int> &tracks)
{
    const std::unique_ptr<AVPacket, PacketDeleter> packet(libav().av_packet_alloc());
    if (!packet)
        return AVERROR(ENOMEM);
    qint64 count = 0;
    int read = 0;
    while ((read = libav().av_read_frame(&input, packet.get())) >= 0) {
        const auto from = static_cast<size_t>(packet->stream_index);
        if (from >= tracks.size() || tracks[from] < 0) { // a stream may also turn up late
            libav().av_packet_unref(packet.get());
            continue;
        }
        packet->stream_index = tracks[from];
        libav().av_packet_rescale_ts(packet.get(), input.streams[from]->time_base,
                                     output.streams[packet->stream_index]->time_base);
        packet->pos = -1;
        // Takes the packet over.
        if (const int written = libav().av_interleaved_write_frame(&output, packet.get()); written < 0)
            return written;
        ++count;
    }
    if (read != AVERROR_EOF)
        return read;
    return count == 0 ? AVERROR_INVALIDDATA : 0;
}

/// A QuickTime writer onto the stream; nullptr when there is no memory for it.
Format makeFormat(AVIOContext *stream, Output &output)
{
    AVFormatContext *allocated = nullptr;
    libav().avformat_alloc_output_context2(&allocated, nullptr, "mov", "flattened.mov");
    Format format(allocated);
    if (!stream || !format)
        return nullptr;
    format->pb = stream;
    format->opaque = &output;
    format->io_open = openAgain;
    format->io_close2 = closeAgain;
    format->flags |= AVFMT_FLAG_CUSTOM_IO;
    return format;
}

int writeHeader(AVFormatContext &format)
{
    AVDictionary *options = nullptr;
    libav().av_dict_set(&options, "movflags", "faststart", 0);
    const int begun = libav().avformat_write_header(&format, &options);
    libav().av_dict_free(&options);
    return std::min(begun, 0);
}

} // namespace

int MovieFile::writeForFastStart(int file)
{
    const MovieLibrarySilence silence;
    Output output{file, _input->bytes->size() * 2 + kMostGrowth};
    if (_input->isIndexFirst)
        return copyBytes(*_input->bytes, output);

    AVFormatContext &input = *_input->context;
    _input->bytesLeft = std::numeric_limits<qint64>::max();
    _input->deadline = QDeadlineTimer(QDeadlineTimer::Forever);
    input.flags |= AVFMT_FLAG_GENPTS; // AVI and MPEG streams leave times out
    if (const int found = analyse(); found < 0)
        return found;
    const MovieStream stream = makeMovieStream(&output, nullptr, Output::write, Output::seek);
    const Format format = makeFormat(stream.get(), output);
    if (!format)
        return AVERROR(ENOMEM);
    libav().av_dict_copy(&format->metadata, input.metadata, 0);
    std::vector<int> tracks;
    if (const int added = addTracks(*format, input, tracks); added < 0)
        return added;
    if (const int begun = writeHeader(*format); begun < 0)
        return begun;
    const int copied = copyPackets(*format, input, tracks);
    // Also frees what the header took.
    const int ended = libav().av_write_trailer(format.get());
    libav().avio_flush(stream.get());
    return copied < 0 ? copied : ended < 0 ? ended : std::min(stream->error, 0);
}
