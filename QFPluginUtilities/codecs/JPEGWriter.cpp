#include "codecs/JPEGWriter.h"

#include <QtEndian>

#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <jpeglib.h>

namespace {

constexpr J_COLOR_SPACE kPixels = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? JCS_EXT_BGRX : JCS_EXT_XRGB;
constexpr int kFullColourQuality = 90;

/// The encoder's errors jump back into `write`, whose frame has no objects.
struct Encoder
{
    Encoder()
    {
        codec.err = jpeg_std_error(&errors);
        codec.client_data = this;
        errors.error_exit = [](j_common_ptr failed) {
            std::longjmp(static_cast<Encoder *>(failed->client_data)->jump, 1);
        };
        errors.emit_message = [](j_common_ptr, int) {};
        errors.output_message = [](j_common_ptr) {};
    }
    ~Encoder()
    {
        jpeg_destroy_compress(&codec);
        std::free(bytes);
    }
    Encoder(const Encoder &) = delete;
    Encoder &operator=(const Encoder &) = delete;

    [[nodiscard]] bool write(const QImage &image, int quality);

    jpeg_compress_struct codec{};
    jpeg_error_mgr errors{};
    std::jmp_buf jump{};
    unsigned char *bytes = nullptr;
    unsigned long size = 0;
};

bool Encoder::write(const QImage &image, int quality)
{
    if (setjmp(jump) != 0)
        return false;
    jpeg_create_compress(&codec);
    jpeg_mem_dest(&codec, &bytes, &size);
    codec.image_width = static_cast<JDIMENSION>(image.width());
    codec.image_height = static_cast<JDIMENSION>(image.height());
    codec.input_components = 4;
    codec.in_color_space = kPixels;
    jpeg_set_defaults(&codec);
    jpeg_set_quality(&codec, quality, TRUE);
    if (quality >= kFullColourQuality)
        codec.comp_info[0].h_samp_factor = codec.comp_info[0].v_samp_factor = 1;
    jpeg_start_compress(&codec, TRUE);
    while (codec.next_scanline < codec.image_height) {
        auto *row = const_cast<JSAMPROW>(image.constScanLine(static_cast<int>(codec.next_scanline)));
        jpeg_write_scanlines(&codec, &row, 1);
    }
    jpeg_finish_compress(&codec);
    return true;
}

} // namespace

QByteArray JPEGWriter::written(const QImage &image, int quality)
{
    const auto encoder = std::make_unique<Encoder>();
    if (image.isNull() || !encoder->write(image, quality))
        return {};
    return {reinterpret_cast<const char *>(encoder->bytes), static_cast<qsizetype>(encoder->size)};
}
