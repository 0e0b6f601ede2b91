#include "imaging/JPEGSource.h"

#include "imaging/JPEGReader.h"
#include "platform/WithoutThrowing.h"

namespace {

/// How much larger than the result a reduced picture must be, so that reducing adds no false patterns.
constexpr double kMargin = 2;

int eighthsFor(QSize crop, QSize target)
{
    for (const int eighths : {1, 2, 4}) {
        if (crop.width() * eighths >= kMargin * 8 * target.width() &&
            crop.height() * eighths >= kMargin * 8 * target.height())
            return eighths;
    }
    return 8;
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
    return withoutThrowing([this] {
        JPEGReader reader(data(), 8, QRect(QPoint(), size()));
        return reader.isValid() ? reader.image() : QImage();
    });
}

QImage JPEGSource::scaled(const QRect &crop, const QSize &target) const
{
    return withoutThrowing([&]() -> QImage {
        if (!canScale(crop, target))
            return {};
        JPEGReader reader(data(), eighthsFor(crop.size(), target), crop);
        return reader.isValid() ? reader.scaled(reader.part(), target) : QImage();
    });
}
