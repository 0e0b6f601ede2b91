#include "codecs/JPEGDecoder.h"

#include <QtEndian>

#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include <jerror.h>
#include <jpeglib.h>

namespace {

constexpr J_COLOR_SPACE kPixels = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? JCS_EXT_BGRA : JCS_EXT_ARGB;
constexpr JOCTET kEndOfImage[] = {0xFF, JPEG_EOI};

/// A progressive file may go over the whole picture any number of times; real ones do so about ten times.
/// Passing over nothing takes a second for each 1,000 megapixels, and almost no bytes. Arithmetic codes,
/// which hardly anybody writes, take four times as long, and go on with whatever they like after their data.
constexpr int kMostScans = 100;
constexpr qint64 kMostScannedPixels = qint64(3) << 30;
constexpr qint64 kMostArithmeticPixels = qint64(1) << 29;

} // namespace

/// The decoder's errors jump to where `jump` has been set last, in the same call of this class: no frame that
/// has objects to be destroyed lies between.
struct JPEGDecoder::Private
{
    jpeg_decompress_struct decoder{};
    jpeg_error_mgr errors{};
    jpeg_source_mgr source{};
    jpeg_progress_mgr progress{};
    std::jmp_buf jump{};
    QByteArray data;
    bool isExhausted = false; ///< the decoder has asked for bytes beyond the end
    bool isCutOff = false;    ///< the picture's data have ended before the picture

    static Private &of(j_common_ptr decoder) { return *static_cast<Private *>(decoder->client_data); }
    [[noreturn]] static void fail(j_common_ptr decoder) { std::longjmp(of(decoder).jump, 1); }
    static void warn(j_common_ptr decoder, int level);
    static void watchScans(j_common_ptr decoder);
    static boolean endData(j_decompress_ptr decoder);
    static void skipData(j_decompress_ptr decoder, long count);

    void setUp();
    [[nodiscard]] bool lacksScans() const;
    [[nodiscard]] JOCTET *takeProfile(unsigned int *length);
};

void JPEGDecoder::Private::setUp()
{
    decoder.err = jpeg_std_error(&errors);
    errors.error_exit = fail;
    errors.emit_message = warn;
    errors.output_message = [](j_common_ptr) {};
    decoder.client_data = this;
    progress.progress_monitor = watchScans;
    source.next_input_byte = reinterpret_cast<const JOCTET *>(data.constData());
    source.bytes_in_buffer = static_cast<size_t>(data.size());
    source.init_source = [](j_decompress_ptr) {};
    source.term_source = [](j_decompress_ptr) {};
    source.fill_input_buffer = endData;
    source.skip_input_data = skipData;
    source.resync_to_restart = jpeg_resync_to_restart;
}

/// Broken data are shown as far as they go, but not data that end early. Where the file goes on to a proper
/// end, a last row that lacks a few blocks is the mark of a broken bit before it, not of a missing part.
void JPEGDecoder::Private::warn(j_common_ptr decoder, int level)
{
    if (level >= 0)
        return;
    ++decoder->err->num_warnings;
    const auto *picture = reinterpret_cast<const jpeg_decompress_struct *>(decoder);
    if (decoder->err->msg_code != JWRN_HIT_MARKER || picture->unread_marker != JPEG_EOI)
        return;
    Private &self = of(decoder);
    if (self.isExhausted || picture->input_iMCU_row + 1 < picture->total_iMCU_rows)
        self.isCutOff = true;
}

void JPEGDecoder::Private::watchScans(j_common_ptr decoder)
{
    const auto *picture = reinterpret_cast<const jpeg_decompress_struct *>(decoder);
    const qint64 scans = picture->input_scan_number;
    const qint64 pixels = qint64(picture->image_width) * picture->image_height;
    const qint64 most = picture->arith_code ? kMostArithmeticPixels : kMostScannedPixels;
    if (scans > kMostScans || scans * pixels > most)
        fail(decoder);
}

/// Beyond the end there is an end marker, so that the decoder comes to an end.
boolean JPEGDecoder::Private::endData(j_decompress_ptr decoder)
{
    Private &self = of(reinterpret_cast<j_common_ptr>(decoder));
    self.isExhausted = true;
    self.source.next_input_byte = kEndOfImage;
    self.source.bytes_in_buffer = sizeof kEndOfImage;
    return TRUE;
}

void JPEGDecoder::Private::skipData(j_decompress_ptr decoder, long count)
{
    if (count <= 0)
        return;
    jpeg_source_mgr &source = *decoder->src;
    if (static_cast<size_t>(count) > source.bytes_in_buffer) {
        endData(decoder);
        return;
    }
    source.next_input_byte += count;
    source.bytes_in_buffer -= static_cast<size_t>(count);
}

/// Whether a progressive file has ended, without an end marker, before the scans that complete it.
bool JPEGDecoder::Private::lacksScans() const
{
    if (!isExhausted || !decoder.progressive_mode || !decoder.coef_bits)
        return false;
    for (int component = 0; component < decoder.num_components; ++component)
        for (int i = 0; i < DCTSIZE2; ++i)
            if (decoder.coef_bits[component][i] != 0)
                return true;
    return false;
}

/// The profile in memory of `malloc`; nullptr without one.
JOCTET *JPEGDecoder::Private::takeProfile(unsigned int *length)
{
    JOCTET *bytes = nullptr;
    if (setjmp(jump) != 0 || !jpeg_read_icc_profile(&decoder, &bytes, length))
        return nullptr;
    return bytes;
}

JPEGDecoder::JPEGDecoder(const QByteArray &data) : d(std::make_unique<Private>())
{
    d->data = data;
    d->setUp();
}

JPEGDecoder::~JPEGDecoder()
{
    jpeg_destroy_decompress(&d->decoder);
}

bool JPEGDecoder::readHeader()
{
    jpeg_decompress_struct &decoder = d->decoder;
    if (setjmp(d->jump) != 0)
        return false;
    jpeg_create_decompress(&decoder);
    decoder.src = &d->source;
    decoder.progress = &d->progress;
    jpeg_save_markers(&decoder, JPEG_APP0 + 2, 0xFFFF);
    return jpeg_read_header(&decoder, TRUE) == JPEG_HEADER_OK;
}

QSize JPEGDecoder::size() const
{
    return {static_cast<int>(d->decoder.image_width), static_cast<int>(d->decoder.image_height)};
}

JPEGDecoder::Rows JPEGDecoder::rows() const
{
    if (d->decoder.num_components != 4)
        return Rows::Pixels;
    return d->decoder.saw_Adobe_marker ? Rows::InvertedCMYK : Rows::CMYK;
}

bool JPEGDecoder::isGrey() const
{
    return d->decoder.num_components == 1;
}

bool JPEGDecoder::isYCbCr() const
{
    return d->decoder.jpeg_color_space == JCS_YCbCr;
}

QByteArray JPEGDecoder::profile()
{
    unsigned int length = 0;
    const std::unique_ptr<JOCTET, decltype(&std::free)> bytes(d->takeProfile(&length), &std::free);
    if (!bytes)
        return {};
    return {reinterpret_cast<const char *>(bytes.get()), static_cast<qsizetype>(length)};
}

bool JPEGDecoder::start(int eighths)
{
    jpeg_decompress_struct &decoder = d->decoder;
    if (setjmp(d->jump) != 0)
        return false;
    decoder.scale_num = static_cast<unsigned int>(eighths);
    decoder.scale_denom = 8;
    decoder.out_color_space = decoder.num_components == 4 ? JCS_CMYK : kPixels;
    return jpeg_start_decompress(&decoder) && decoder.output_components == 4 && !d->lacksScans();
}

QSize JPEGDecoder::reducedSize() const
{
    return {static_cast<int>(d->decoder.output_width), static_cast<int>(d->decoder.output_height)};
}

bool JPEGDecoder::keepColumns(int *x, int *width)
{
    if (setjmp(d->jump) != 0)
        return false;
    auto first = static_cast<JDIMENSION>(*x);
    auto count = static_cast<JDIMENSION>(*width);
    jpeg_crop_scanline(&d->decoder, &first, &count);
    *x = static_cast<int>(first);
    *width = static_cast<int>(count);
    return true;
}

bool JPEGDecoder::readRow(void *row)
{
    if (setjmp(d->jump) != 0)
        return false;
    auto *samples = static_cast<JSAMPROW>(row);
    return jpeg_read_scanlines(&d->decoder, &samples, 1) == 1 && !d->isCutOff;
}

bool JPEGDecoder::skipRows(int count)
{
    if (setjmp(d->jump) != 0)
        return false;
    const auto rows = static_cast<JDIMENSION>(count);
    return jpeg_skip_scanlines(&d->decoder, rows) == rows && !d->isCutOff;
}
