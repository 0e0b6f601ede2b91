#include "codecs/ImageEncoder.h"

#include "codecs/ColourQuantiser.h"
#include "codecs/GIFWriter.h"
#include "codecs/JPEGWriter.h"
#include "codecs/PNGWriter.h"
#include "platform/WithoutThrowing.h"

#include <QBuffer>
#include <QImageWriter>

#include <cmath>

namespace {

using ImageEncoder::FileType;

/// The same pixels without the text, resolution and profile that writers would pass on.
QImage bare(const QImage &image)
{
    QImage pixels(image.constBits(), image.width(), image.height(), image.bytesPerLine(), image.format());
    pixels.setColorTable(image.colorTable());
    pixels.setDotsPerMeterX(0);
    pixels.setDotsPerMeterY(0);
    return pixels;
}

/// Laid on white, for files that know no transparency.
QImage onWhite(const QImage &image)
{
    if (!image.hasAlphaChannel())
        return image.format() == QImage::Format_RGB32 ? image : image.convertToFormat(QImage::Format_RGB32);
    QImage result = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < result.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(result.scanLine(y));
        for (int x = 0; x < result.width(); ++x)
            row[x] = (row[x] + (255U - qAlpha(row[x])) * 0x010101U) | 0xFF000000U;
    }
    result.reinterpretAsFormat(QImage::Format_RGB32);
    return result;
}

QImage in32Bits(const QImage &image)
{
    if (image.depth() == 32 && image.format() <= QImage::Format_ARGB32_Premultiplied)
        return image;
    return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied
                                                         : QImage::Format_RGB32);
}

int qualityFor(float factor)
{
    return factor >= 0 ? static_cast<int>(std::lround(std::min(factor, 1.0F) * 100)) : 0;
}

QByteArray writtenByQt(const QImage &image, const char *format, int quality, int compression = -1)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    if (compression >= 0)
        writer.setCompression(compression);
    return writer.write(bare(image)) ? buffer.data() : QByteArray();
}

QByteArray written(const QImage &image, FileType type, float factor)
{
    constexpr int kLZW = 1;
    switch (type) {
    case FileType::JPEG:
        return JPEGWriter::written(onWhite(image), std::max(qualityFor(factor), 1));
    case FileType::PNG:
        return PNGWriter::written(in32Bits(image));
    case FileType::TIFF:
        return writtenByQt(image, "tiff", -1, kLZW);
    case FileType::BMP:
        return writtenByQt(onWhite(image), "bmp", -1);
    case FileType::GIF:
        return GIFWriter::written(ColourQuantiser::quantised(image));
    }
    return {};
}

} // namespace

QByteArray ImageEncoder::encoded(const QImage &image, FileType type, float compressionFactor)
{
    if (image.isNull())
        return {};
    return withoutThrowing([&] { return written(image, type, compressionFactor); });
}
