#include "codecs/JPEGSource.h"

#include "codecs/JPEGReader.h"
#include "codecs/JPEGScalingReader.h"
#include "platform/WithoutThrowing.h"

namespace {

constexpr int kWhole = 8; ///< eighths

/// How much larger than the result a reduced picture must be, so that reducing adds no false patterns: on a
/// zone plate what is left of rings that are too fine stays below what others leave who scale with a margin
/// of two. The means of whole blocks, and what the common decoder makes, let more through.
constexpr double kMargin = 2;
constexpr double kMarginOfOwn = 1.85;

/// How much larger a picture must be than the result for colour to be left unsmoothed.
constexpr double kMarginOfPlainColour = 1.2;

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

bool isReduced(QSize crop, QSize target)
{
    return crop.width() >= kMarginOfPlainColour * target.width() &&
           crop.height() >= kMarginOfPlainColour * target.height();
}

template <typename Reader, typename Work>
QImage made(Reader &&reader, Work work)
{
    return reader.isValid() ? work(reader) : QImage();
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
    const auto whole = [](auto &reader) { return reader.image(); };
    return withoutThrowing([&] { return made(JPEGReader(data(), kWhole, QRect(QPoint(), size())), whole); });
}

QImage JPEGSource::scaled(const QRect &crop, const QSize &target) const
{
    if (!canScale(crop, target))
        return {};
    return withoutThrowing([&] {
        const auto scale = [&](auto &reader) { return reader.scaled(reader.part(), target); };
        QImage image;
        if (isReduced(crop.size(), target))
            image =
                made(JPEGScalingReader(data(), eighthsFor(crop.size(), target, kMarginOfOwn), crop), scale);
        if (image.isNull()) // a file of a rarer kind, or a damaged one
            image = made(JPEGReader(data(), eighthsFor(crop.size(), target, kMargin), crop), scale);
        return image;
    });
}
