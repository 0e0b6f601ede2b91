#include "codecs/PSDSource.h"

#include "codecs/PSDReader.h"
#include "platform/WithoutThrowing.h"

#include <utility>

PSDSource::PSDSource(PSDLayout layout, const QByteArray &data)
    : ImageSource(Format::PSD, layout.size, data), _layout(std::move(layout))
{
}

bool PSDSource::isPSD(QByteArrayView data)
{
    return data.startsWith("8BPS");
}

ImageSourcePtr PSDSource::withBytes(const QByteArray &data)
{
    auto layout = PSDLayout::ofFile(data);
    if (!layout || !isSizeAllowed(layout->size))
        return nullptr;
    return ImageSourcePtr(new PSDSource(*std::move(layout), data));
}

QImage PSDSource::image() const
{
    return withoutThrowing([this] { return PSDReader(_layout, data()).image(); });
}

QImage PSDSource::scaled(const QRect &crop, const QSize &target) const
{
    return withoutThrowing([&] {
        return canScale(crop, target) ? PSDReader(_layout, data()).scaled(QRectF(crop), target) : QImage();
    });
}
