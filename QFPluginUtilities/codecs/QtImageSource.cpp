#include "codecs/QtImageSource.h"

#include "codecs/ColourProfile.h"
#include "codecs/NeedlessAlpha.h"
#include "codecs/PictureStructure.h"
#include "codecs/TIFFSilence.h"
#include "platform/WithoutThrowing.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>

#include <algorithm>
#include <array>
#include <mutex>
#include <string_view>

namespace {

using namespace std::string_view_literals;
using Format = ImageSource::Format;

struct Signature
{
    std::string_view start;
    Format format;
    const char *reader;
};

constexpr std::array kSignatures{
    Signature{"\x89PNG\r\n\x1a\n"sv, Format::PNG, "png"},
    Signature{"GIF87a"sv, Format::GIF, "gif"},
    Signature{"GIF89a"sv, Format::GIF, "gif"},
    Signature{"II*\0"sv, Format::TIFF, "tiff"},
    Signature{"MM\0*"sv, Format::TIFF, "tiff"},
    Signature{"II+\0"sv, Format::TIFF, "tiff"},
    Signature{"MM\0+"sv, Format::TIFF, "tiff"},
    Signature{"BM"sv, Format::BMP, "bmp"},
    Signature{"RIFF"sv, Format::WebP, "webp"},
    Signature{"\0\0\1\0"sv, Format::Other, "ico"},
    Signature{"P1"sv, Format::Other, "pbm"},
    Signature{"P4"sv, Format::Other, "pbm"},
    Signature{"P2"sv, Format::Other, "pgm"},
    Signature{"P5"sv, Format::Other, "pgm"},
    Signature{"P3"sv, Format::Other, "ppm"},
    Signature{"P6"sv, Format::Other, "ppm"},
    Signature{"/* XPM"sv, Format::Other, "xpm"},
};

const Signature *signatureOf(const QByteArray &data)
{
    const std::string_view bytes(data.constData(), static_cast<size_t>(data.size()));
    const auto *known = std::find_if(kSignatures.begin(), kSignatures.end(),
                                     [&](const Signature &each) { return bytes.starts_with(each.start); });
    if (known == kSignatures.end() ||
        (known->format == Format::WebP && bytes.substr(0, 12).substr(8) != "WEBP"))
        return nullptr;
    return known;
}

/// Qt refuses what takes more than 128 MB. The limit is the process's own; it is raised once, to what the
/// most pixels allowed take at 16 bits a component, and never lowered.
void raiseAllocationLimit()
{
    static std::once_flag once;
    std::call_once(once, [] {
        constexpr int kMegabytes = 2048;
        if (QImageReader::allocationLimit() != 0 && QImageReader::allocationLimit() < kMegabytes)
            QImageReader::setAllocationLimit(kMegabytes);
    });
}

/// Bytes in which broken files may seek any place: Qt's own buffer prints a warning for each wrong one.
class QuietBuffer : public QBuffer
{
public:
    bool seek(qint64 position) override
    {
        return position >= 0 && position <= size() && QBuffer::seek(position);
    }
};

/// Calls `work` with a reader of the first picture.
template <typename Work>
auto withReader(const QByteArray &data, const char *format, Work work)
{
    const TIFFSilence silence;
    QuietBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, format);
    reader.setAutoDetectImageFormat(false);
    reader.setAutoTransform(false);
    return work(reader);
}

bool isWhole(Format format, const QByteArray &data)
{
    if (format == Format::GIF)
        return PictureStructure::isGIFWhole(data);
    return format != Format::BMP || PictureStructure::isBMPWhole(data);
}

/// The picture in sRGB, as RGB32 or ARGB32_Premultiplied.
QImage normalised(QImage image)
{
    const QByteArray profile = image.colorSpace().isValid() ? image.colorSpace().iccProfile() : QByteArray();
    const bool hasAlpha = image.hasAlphaChannel();
    image.setColorSpace(QColorSpace());
    image.convertTo(hasAlpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    if (const auto transform = ColourTransform::toSRGB(profile, ColourTransform::From::RGB))
        transform->apply(image);
    if (hasAlpha) {
        image.convertTo(QImage::Format_ARGB32_Premultiplied);
        dropNeedlessAlpha(image);
    }
    image.setDevicePixelRatio(1);
    return image;
}

} // namespace

QtImageSource::QtImageSource(Format format, const char *reader, QSize size, const QByteArray &data)
    : ImageSource(format, size, data), _reader(reader)
{
}

ImageSourcePtr QtImageSource::withBytes(const QByteArray &data)
{
    const Signature *signature = signatureOf(data);
    if (!signature)
        return nullptr;
    const QSize size =
        withReader(data, signature->reader, [](QImageReader &reader) { return reader.size(); });
    if (!isSizeAllowed(size))
        return nullptr;
    return ImageSourcePtr(new QtImageSource(signature->format, signature->reader, size, data));
}

QImage QtImageSource::image() const
{
    return withoutThrowing([this]() -> QImage {
        if (!isWhole(format(), data()))
            return {};
        raiseAllocationLimit();
        QImage image = withReader(data(), _reader, [](QImageReader &reader) { return reader.read(); });
        if (image.size() != size())
            return {};
        return normalised(std::move(image));
    });
}
