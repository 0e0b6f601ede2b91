#include "imaging/JPEGSource.h"

#include "imaging/JPEGHalvesReader.h"
#include "imaging/JPEGLowerPart.h"
#include "imaging/JPEGReader.h"
#include "imaging/JPEGReducedReader.h"
#include "platform/WithoutThrowing.h"

#include <vector>

namespace {

constexpr int kWhole = 8; ///< eighths

/// How much larger than the result a reduced picture must be, so that reducing adds no false patterns: on a
/// zone plate what is left of rings that are too fine stays below what others leave who scale with a margin
/// of two. The means of whole blocks, and what the common decoder makes, let more through.
constexpr double kMargin = 2;
constexpr double kMarginOfOwn = 1.85;

int eighthsFor(QSize crop, QSize target, double margin)
{
    for (const int eighths : {1, 2, 4}) {
        const double factor = kWhole * (eighths == 1 ? kMargin : margin);
        if (crop.width() * eighths >= factor * target.width() &&
            crop.height() * eighths >= factor * target.height())
            return eighths;
    }
    return kWhole;
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

/// What `work` makes of the file's rows.
template <typename Reader, typename MakeLower, typename Work>
QImage JPEGSource::read(int eighths, const QRect &part, MakeLower makeLower, Work work) const
{
    auto reader = std::make_unique<Reader>(data(), eighths, part);
    if (!reader->isValid())
        return {};
    if (!JPEGHalvesReader::isFor(size(), eighths, part))
        return work(*reader);
    JPEGHalvesReader halves(std::move(reader), [&] { return makeLower(data(), eighths, part); });
    return work(halves);
}

QImage JPEGSource::image() const
{
    return withoutThrowing([this] {
        return read<JPEGReader>(kWhole, QRect(QPoint(), size()), lowerOfAny,
                                [](PartReader &reader) { return reader.image(); });
    });
}

QImage JPEGSource::scaled(const QRect &crop, const QSize &target) const
{
    if (!canScale(crop, target))
        return {};
    return withoutThrowing([&] {
        const auto scale = [&](PartReader &reader) { return reader.scaled(reader.part(), target); };
        QImage image;
        if (const int eighths = eighthsFor(crop.size(), target, kMarginOfOwn); eighths < kWhole)
            image = read<JPEGReducedReader>(eighths, crop, lowerOfReduced, scale);
        if (image.isNull())
            image = read<JPEGReader>(eighthsFor(crop.size(), target, kMargin), crop, lowerOfAny, scale);
        return image;
    });
}
