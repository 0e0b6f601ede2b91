#pragma once

#include <QImage>
#include <QList>

#include <array>
#include <optional>
#include <vector>

/// Counting the colours of a picture, for palettes. Pixels with alpha below one half count as transparent and
/// are left out; the others as opaque.
namespace ColourHistogram {

/// A group of colours that are close to each other: their mean and number.
struct Group
{
    std::array<float, 3> mean; ///< red, green, blue
    float weight;
};

/// Whether a pixel is shown where pixels are transparent or not.
[[nodiscard]] constexpr bool isVisible(QRgb pixel)
{
    return qAlpha(pixel) >= 128;
}

/// The colours in order of their appearance; nothing when there are more than `most`.
[[nodiscard]] std::optional<QList<QRgb>> colours(const QImage &image, int most);
/// The colours in groups of four steps of each component.
[[nodiscard]] std::vector<Group> groups(const QImage &image);

} // namespace ColourHistogram
