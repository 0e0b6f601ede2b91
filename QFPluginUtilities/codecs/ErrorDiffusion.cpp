#include "codecs/ErrorDiffusion.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace {

/// Red, green, blue.
using Error = std::array<int, 3>;

/// Nearest colours by groups of four steps of each component, found when they are needed first.
class NearestColours
{
public:
    explicit NearestColours(const ColourPalette &palette)
        : _palette(palette), _known(size_t(1) << (3 * kBits), kUnknown)
    {
    }

    [[nodiscard]] int of(const Error &colour)
    {
        constexpr int kDropped = 8 - kBits;
        constexpr int kMiddle = 1 << (kDropped - 1);
        const std::array<int, 3> cell{colour[0] >> kDropped, colour[1] >> kDropped, colour[2] >> kDropped};
        qint16 &known = _known[static_cast<size_t>((cell[0] << (2 * kBits)) | (cell[1] << kBits) | cell[2])];
        if (known == kUnknown) {
            const auto middle = [&](size_t i) { return (cell[i] << kDropped) + kMiddle; };
            known = static_cast<qint16>(_palette.nearest(middle(0), middle(1), middle(2)));
        }
        return known;
    }

private:
    static constexpr int kBits = 6;
    static constexpr qint16 kUnknown = -1;

    const ColourPalette &_palette;
    std::vector<qint16> _known;
};

/// Diffuses the errors of one row after the other.
class Diffusion
{
public:
    Diffusion(const ColourPalette &palette, int width, uchar transparent)
        : _nearest(palette), _colours(palette.colours()), _width(width), _transparent(transparent),
          _here(static_cast<size_t>(width) + 2), _below(static_cast<size_t>(width) + 2)
    {
    }

    void draw(const QRgb *from, uchar *to)
    {
        const int step = _isForth ? 1 : -1;
        int x = _isForth ? 0 : _width - 1;
        Error carried{};
        for (int count = 0; count < _width; ++count, x += step)
            to[x] = qAlpha(from[x]) == 0 ? _transparent : drawPixel(from[x], x, step, carried);
        std::swap(_here, _below);
        std::fill(_below.begin(), _below.end(), Error{});
        _isForth = !_isForth;
    }

private:
    /// Errors are kept in sixteenths; the arrays have a place more on both sides.
    uchar drawPixel(QRgb pixel, int x, int step, Error &carried)
    {
        const Error &given = _here[static_cast<size_t>(x) + 1];
        const Error source{qRed(pixel), qGreen(pixel), qBlue(pixel)};
        Error wanted;
        for (size_t i = 0; i < 3; ++i)
            wanted[i] = std::clamp(source[i] + ((given[i] + carried[i] + 8) >> 4), 0, 255);
        const int index = _nearest.of(wanted);
        const QRgb chosen = _colours[index];
        const Error shown{qRed(chosen), qGreen(chosen), qBlue(chosen)};
        Error &before = _below[static_cast<size_t>(x - step) + 1];
        Error &under = _below[static_cast<size_t>(x) + 1];
        Error &after = _below[static_cast<size_t>(x + step) + 1];
        for (size_t i = 0; i < 3; ++i) {
            const int error = wanted[i] - shown[i];
            carried[i] = 7 * error;
            before[i] += 3 * error;
            under[i] += 5 * error;
            after[i] += error;
        }
        return static_cast<uchar>(index);
    }

    NearestColours _nearest;
    QList<QRgb> _colours;
    int _width;
    uchar _transparent;
    bool _isForth = true;
    std::vector<Error> _here;
    std::vector<Error> _below;
};

} // namespace

QImage ErrorDiffusion::indexed(const QImage &image, const ColourPalette &palette, uchar transparent)
{
    QImage result(image.size(), QImage::Format_Indexed8);
    Diffusion diffusion(palette, image.width(), transparent);
    for (int y = 0; y < result.height(); ++y)
        diffusion.draw(reinterpret_cast<const QRgb *>(image.constScanLine(y)), result.scanLine(y));
    return result;
}
