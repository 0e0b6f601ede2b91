#include "imaging/JPEGSource.h"

#include "imaging/ColourProfile.h"
#include "imaging/JPEGReader.h"
#include "platform/WithoutThrowing.h"

#include <vector>

namespace {

using From = ColourTransform::From;

/// How much larger than the result a reduced picture must be, so that reducing adds no false patterns.
constexpr double kMargin = 1.5;

int eighthsFor(QSize crop, QSize target)
{
    for (const int eighths : {1, 2, 4}) {
        if (crop.width() * eighths >= kMargin * 8 * target.width() &&
            crop.height() * eighths >= kMargin * 8 * target.height())
            return eighths;
    }
    return 8;
}

/// Inks without a profile, as those who wrote no profile meant them.
QRgb plainColour(const uchar *inks, uint inverted)
{
    const uint black = 255U - (inks[3] ^ inverted);
    const auto component = [&](int i) { return ((255U - (inks[i] ^ inverted)) * black + 127U) / 255U; };
    return qRgb(static_cast<int>(component(0)), static_cast<int>(component(1)),
                static_cast<int>(component(2)));
}

/// Makes pixels in sRGB of a reader's rows.
class RowConverter
{
public:
    explicit RowConverter(JPEGReader &reader)
        : _reader(reader), _transform(ColourTransform::toSRGB(reader.profile(), from(reader)))
    {
        if (reader.rows() != JPEGReader::Rows::Pixels)
            _inks.resize(4 * static_cast<size_t>(reader.reducedSize().width()));
    }

    /// Reads a row; pixels of RGB and grey keep the colours of the file for `finish`.
    [[nodiscard]] bool readRow(QRgb *row, int width)
    {
        if (_inks.empty())
            return _reader.readRow(row);
        if (!_reader.readRow(_inks.data()))
            return false;
        if (_transform) {
            _transform->applyToCMYK(_inks.data(), row, width);
            return true;
        }
        const uint inverted = _reader.rows() == JPEGReader::Rows::InvertedCMYK ? 0xFF : 0;
        for (int x = 0; x < width; ++x)
            row[x] = plainColour(_inks.data() + 4 * static_cast<size_t>(x), inverted);
        return true;
    }

    void finish(QImage &image) const
    {
        if (!_transform || !_inks.empty())
            return;
        for (int y = 0; y < image.height(); ++y)
            _transform->apply(reinterpret_cast<QRgb *>(image.scanLine(y)), image.width());
    }

private:
    static From from(const JPEGReader &reader)
    {
        if (reader.rows() == JPEGReader::Rows::Pixels)
            return reader.isGrey() ? From::Grey : From::RGB;
        return reader.rows() == JPEGReader::Rows::CMYK ? From::CMYK : From::InvertedCMYK;
    }

    JPEGReader &_reader;
    std::shared_ptr<const ColourTransform> _transform;
    std::vector<uchar> _inks;
};

} // namespace

JPEGSource::JPEGSource(QSize size, const QByteArray &data) : ImageSource(Format::JPEG, size, data) {}

bool JPEGSource::isJPEG(QByteArrayView data)
{
    return data.startsWith("\xFF\xD8\xFF");
}

ImageSourcePtr JPEGSource::withBytes(const QByteArray &data)
{
    JPEGReader reader(data);
    if (!reader.readHeader() || !isSizeAllowed(reader.size()))
        return nullptr;
    return ImageSourcePtr(new JPEGSource(reader.size(), data));
}

QImage JPEGSource::image() const
{
    return withoutThrowing([this] { return decoded(8); });
}

QImage JPEGSource::decoded(int eighths) const
{
    JPEGReader reader(data());
    if (!reader.readHeader() || !reader.start(eighths))
        return {};
    QImage image(reader.reducedSize(), QImage::Format_RGB32);
    RowConverter converter(reader);
    for (int y = 0; y < image.height(); ++y) {
        if (!converter.readRow(reinterpret_cast<QRgb *>(image.scanLine(y)), image.width()))
            return {};
    }
    converter.finish(image);
    return image;
}

// TODO: rows straight into RowScaler as soon as it is there.
QImage JPEGSource::scaled(const QRect &crop, const QSize &target) const
{
    return withoutThrowing([&]() -> QImage {
        if (crop.isEmpty() || target.isEmpty() || !QRect(QPoint(), size()).contains(crop))
            return {};
        const int eighths = eighthsFor(crop.size(), target);
        const QImage reduced = decoded(eighths);
        if (reduced.isNull())
            return {};
        const QRect part(crop.x() * eighths / 8, crop.y() * eighths / 8, crop.width() * eighths / 8,
                         crop.height() * eighths / 8);
        const QImage cut = part == reduced.rect() ? reduced : reduced.copy(part);
        return cut.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    });
}
