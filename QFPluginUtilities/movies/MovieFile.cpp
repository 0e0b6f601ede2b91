#include "movies/MovieFile.h"

#include "movies/MovieAtoms.h"
#include "movies/MovieFileInput.h"

#include <algorithm>
#include <cmath>

namespace {

/// Never a list of other files: one that is named like a movie must not be followed.
constexpr const char *kFormats = "mov,avi,mpeg,mpegvideo,mpegts";
constexpr unsigned kProbedBytes = 1 << 20;
constexpr int kAnalysedBytes = 5'000'000;
constexpr int kMostTracks = 64;
constexpr double kMostStretched = 16; // pixels of any other shape are a mistake
constexpr double kMostPixels = 65535;

int refuseToOpen(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **)
{
    return AVERROR(EACCES);
}

/// Whether a track's matrix turns it onto its side. Oblique angles go to the nearer right angle.
bool isTurnedOnSide(const AVStream &stream)
{
    size_t size = 0;
    const uint8_t *matrix = libav().av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    if (!matrix || size < 9 * sizeof(int32_t))
        return false;
    // Not a number for a matrix that turns nothing.
    const double angle =
        std::fabs(libav().av_display_rotation_get(reinterpret_cast<const int32_t *>(matrix)));
    return angle > 45 && angle < 135;
}

} // namespace

int MovieFile::Input::read(void *opaque, uint8_t *buffer, int length)
{
    auto &input = *static_cast<Input *>(opaque);
    if (input.bytesLeft < length || input.deadline.hasExpired())
        return AVERROR_EXIT;
    const qint64 got = input.bytes->read(input.position, reinterpret_cast<char *>(buffer), length);
    if (got <= 0)
        return got < 0 ? AVERROR(EIO) : AVERROR_EOF;
    input.position += got;
    input.bytesLeft -= got;
    return static_cast<int>(got);
}

int64_t MovieFile::Input::seek(void *opaque, int64_t offset, int whence)
{
    auto &input = *static_cast<Input *>(opaque);
    if ((whence & AVSEEK_SIZE) != 0)
        return input.bytes->size();
    const int64_t target = seekTarget(offset, whence, input.position, input.bytes->size());
    if (target < 0)
        return AVERROR(EINVAL);
    return input.position = target;
}

std::unique_ptr<MovieFile> MovieFile::withBytes(std::unique_ptr<MovieBytes> bytes, int &error)
{
    if (!hasMovieLibrary()) {
        error = AVERROR(ENOSYS);
        return nullptr;
    }
    const MovieLibrarySilence silence;
    std::unique_ptr<MovieFile> movie(new MovieFile);
    movie->_input = std::make_unique<Input>();
    movie->_input->bytes = std::move(bytes);
    error = movie->open();
    return error < 0 ? nullptr : std::move(movie);
}

MovieFile::~MovieFile() = default;

int MovieFile::open()
{
    Input &input = *_input;
    input.stream = makeMovieStream(&input, Input::read, nullptr, Input::seek);
    input.context = libav().avformat_alloc_context();
    if (!input.stream || !input.context)
        return AVERROR(ENOMEM);
    input.context->pb = input.stream.get();
    input.context->flags |= AVFMT_FLAG_CUSTOM_IO; // the stream is ours to close, also after a failure
    input.context->io_open = refuseToOpen;
    input.context->probesize = kAnalysedBytes;
    input.context->max_streams = kMostTracks;
    libav().av_opt_set(input.context, "format_whitelist", kFormats, 0);
    libav().av_opt_set(input.context, "protocol_whitelist", "file", 0);

    const AVInputFormat *format = nullptr;
    const int probed =
        libav().av_probe_input_buffer2(input.stream.get(), &format, "", nullptr, 0, kProbedBytes);
    if (probed < 0)
        return probed;
    if (!libav().av_match_list(format->name, kFormats, ','))
        return AVERROR_INVALIDDATA;
    if (libav().av_match_list(format->name, "mov", ',')) {
        const MovieAtoms atoms = MovieAtoms::of(*input.bytes, input.deadline);
        if (!atoms.isPlausible)
            return AVERROR_INVALIDDATA;
        input.isIndexFirst = atoms.isIndexFirst;
    }
    // Frees the context when it fails.
    const int opened = libav().avformat_open_input(&input.context, "", format, nullptr);
    if (opened < 0)
        return opened;
    // Many headers say all about their tracks. Those of MPEG streams do not, and some codecs keep the size in
    // their own data.
    if (!isPlayable())
        (void)analyse();
    return isPlayable() ? 0 : AVERROR_STREAM_NOT_FOUND;
}

int MovieFile::analyse()
{
    if (_input->isAnalysed) // the media library does not survive a second time
        return 0;
    _input->isAnalysed = true;
    return std::min(libav().avformat_find_stream_info(_input->context, nullptr), 0);
}

bool MovieFile::isPictureTrack(const AVStream &stream)
{
    const AVCodecParameters &parameters = *stream.codecpar;
    return parameters.codec_type == AVMEDIA_TYPE_VIDEO &&
           (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0 && parameters.width > 0 &&
           parameters.height > 0;
}

bool MovieFile::isSoundTrack(const AVStream &stream)
{
    return stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO && stream.codecpar->codec_id != AV_CODEC_ID_NONE;
}

bool MovieFile::isPlayable() const
{
    const AVFormatContext &context = *_input->context;
    return std::any_of(context.streams, context.streams + context.nb_streams, [](const AVStream *stream) {
        return isPictureTrack(*stream) || isSoundTrack(*stream);
    });
}

QSize MovieFile::displaySize() const
{
    AVFormatContext &context = *_input->context;
    AVStream **end = context.streams + context.nb_streams;
    AVStream **track =
        std::find_if(context.streams, end, [](const AVStream *stream) { return isPictureTrack(*stream); });
    if (track == end)
        return {};
    double width = (*track)->codecpar->width;
    const double height = (*track)->codecpar->height;
    const AVRational aspect = libav().av_guess_sample_aspect_ratio(&context, *track, nullptr);
    const double stretch = aspect.num > 0 && aspect.den > 0 ? av_q2d(aspect) : 1;
    if (stretch <= kMostStretched && stretch >= 1 / kMostStretched)
        width = std::fmax(std::round(width * stretch), 1);
    if (width > kMostPixels || height > kMostPixels)
        return {};
    const QSize size(static_cast<int>(width), static_cast<int>(height));
    return isTurnedOnSide(**track) ? size.transposed() : size;
}

const MovieBytes &MovieFile::bytes() const
{
    return *_input->bytes;
}
