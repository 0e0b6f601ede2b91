#include "imaging/JPEGSource.h"

#include "imaging/JPEGHalvesReader.h"
#include "imaging/JPEGLowerPart.h"
#include "imaging/JPEGReader.h"
#include "imaging/JPEGReducedReader.h"
#include "platform/WithoutThrowing.h"

#include <vector>

namespace {

/// How much larger than the result a reduced picture must be, so that reducing adds no false patterns.
constexpr double kMargin = 2;
constexpr int kWhole = 8; ///< eighths

int eighthsFor(QSize crop, QSize target)
{
    for (const int eighths : {1, 2, 4}) {
        if (crop.width() * eighths >= kMargin * 8 * target.width() &&
            crop.height() * eighths >= kMargin * 8 * target.height())
            return eighths;
    }
    return 8;
}

/// Before the lower part can be decoded, the code above it has to be gone through. With these shares of the
/// height above, both parts end at once: going through takes a quarter of the time of decoding as a whole,
/// but more of that of decoding only what a reduced picture shows.
constexpr double kUpperShare = 0.57;
constexpr double kUpperShareOfReduced = 0.65;

JPEGHalvesReader::Lower lowerOfAny(const QByteArray &file, int eighths, const QRect &part)
{
    const auto lower = JPEGLowerPart::ofFile(file, kUpperShare);
    if (!lower)
        return {};
    auto reader =
        std::make_unique<JPEGReader>(lower->file, eighths, QRect(part.x(), 0, part.width(), lower->height));
    if (!reader->isValid())
        return {};
    const int surplus = lower->surplusRows * eighths / kWhole;
    std::vector<QRgb> row(static_cast<size_t>(reader->size().width()));
    for (int y = 0; y < surplus; ++y) {
        if (!reader->readRow(row.data()))
            return {};
    }
    const int rows = reader->size().height() - surplus;
    return {std::move(reader), rows};
}

JPEGHalvesReader::Lower lowerOfReduced(const QByteArray &file, int eighths, const QRect &part)
{
    auto reader = std::make_unique<JPEGReducedReader>(file, eighths, part, kUpperShareOfReduced);
    const int rows = reader->size().height();
    return {std::move(reader), rows};
}

} // namespace

JPEGSource::JPEGSource(QSize size, const QByteArray &data) : ImageSource(Format::JPEG, size, data) {}

bool JPEGSource::isJPEG(QByteArrayView data)
{
    return data.startsWith("\xFF\xD8\xFF");
}

ImageSourcePtr JPEGSource::withBytes(const QByteArray &data)
{
    JPEGDecoder decoder(data);
    if (!decoder.readHeader() || !isSizeAllowed(decoder.size()))
        return nullptr;
    return ImageSourcePtr(new JPEGSource(decoder.size(), data));
}

QImage JPEGSource::image() const
{
    return withReader(kWhole, QRect(QPoint(), size()), [](auto &reader) { return reader.image(); });
}

QImage JPEGSource::scaled(const QRect &crop, const QSize &target) const
{
    if (!canScale(crop, target))
        return {};
    return withReader(eighthsFor(crop.size(), target), crop,
                      [&](auto &reader) { return reader.scaled(reader.part(), target); });
}

/// What `work` makes of the file's rows, read the quickest way that there is for the file.
template <typename Work>
QImage JPEGSource::withReader(int eighths, const QRect &part, Work work) const
{
    const bool inHalves = JPEGHalvesReader::isFor(size(), eighths, part);
    const auto read = [&](auto reader, auto makeLower) {
        if (!reader->isValid())
            return QImage();
        if (!inHalves)
            return work(*reader);
        JPEGHalvesReader halves(std::move(reader), [&] { return makeLower(data(), eighths, part); });
        return work(halves);
    };
    return withoutThrowing([&] {
        QImage image;
        if (eighths < kWhole)
            image = read(std::make_unique<JPEGReducedReader>(data(), eighths, part), lowerOfReduced);
        return image.isNull() ? read(std::make_unique<JPEGReader>(data(), eighths, part), lowerOfAny) : image;
    });
}
