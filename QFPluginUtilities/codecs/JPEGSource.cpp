#include "codecs/JPEGSource.h"

#include "codecs/JPEGHalvesReader.h"
#include "codecs/JPEGReader.h"
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
    constexpr int kWhole = 8;
    return withReader(kWhole, QRect(QPoint(), size()), [](auto &reader) { return reader.image(); });
}

QImage JPEGSource::scaled(const QRect &crop, const QSize &target) const
{
    if (!canScale(crop, target))
        return {};
    return withReader(eighthsFor(crop.size(), target), crop,
                      [&](auto &reader) { return reader.scaled(reader.part(), target); });
}

/// What `work` makes of the file's rows, read the quickest way.
template <typename Work>
QImage JPEGSource::withReader(int eighths, const QRect &part, Work work) const
{
    const auto read = [&](auto &&reader) { return reader.isValid() ? work(reader) : QImage(); };
    return withoutThrowing([&] {
        return JPEGHalvesReader::isFor(size(), eighths, part) ? read(JPEGHalvesReader(data(), eighths, part))
                                                              : read(JPEGReader(data(), eighths, part));
    });
}
