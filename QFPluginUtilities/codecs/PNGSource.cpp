#include "codecs/PNGSource.h"

#include "codecs/PNGReader.h"
#include "codecs/QtImageSource.h"
#include "platform/WithoutThrowing.h"

#include <utility>

PNGSource::PNGSource(PNGLayout layout, const QByteArray &data)
    : ImageSource(Format::PNG, layout.size, data), _layout(std::move(layout))
{
}

bool PNGSource::isPNG(QByteArrayView data)
{
    return data.startsWith("\x89PNG\r\n\x1a\n");
}

ImageSourcePtr PNGSource::withBytes(const QByteArray &data)
{
    auto layout = PNGLayout::ofFile(data);
    if (!layout || !isSizeAllowed(layout->size))
        return nullptr;
    if (!PNGReader::canRead(*layout))
        return QtImageSource::withBytes(data);
    return ImageSourcePtr(new PNGSource(*std::move(layout), data));
}

QImage PNGSource::image() const
{
    return withoutThrowing([this] {
        PNGReader reader(_layout);
        return reader.isValid() ? reader.image() : QImage();
    });
}

QImage PNGSource::scaled(const QRect &crop, const QSize &target) const
{
    return withoutThrowing([&]() -> QImage {
        if (!canScale(crop, target))
            return {};
        PNGReader reader(_layout);
        return reader.isValid() ? reader.scaled(QRectF(crop), target) : QImage();
    });
}
