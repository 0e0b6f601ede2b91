#include "codecs/ColourQuantiser.h"

#include "codecs/ColourHistogram.h"
#include "codecs/ColourPalette.h"
#include "codecs/ErrorDiffusion.h"

#include <QHash>

#include <algorithm>
#include <array>
#include <cmath>
#include <queue>

namespace {

using ColourHistogram::Group;
using Groups = std::vector<Group>;

constexpr int kRounds = 3;

/// Neighbouring groups that share a colour of the palette, as a part of an array that is sorted step by step.
struct Box
{
    Groups::iterator begin;
    Groups::iterator end;
    std::array<float, 3> mean{};
    int widest = 0;    ///< the component that varies most
    double spread = 0; ///< how much: sum of squared distances from the mean

    [[nodiscard]] bool operator<(const Box &other) const { return spread < other.spread; }
};

Box measured(Groups::iterator begin, Groups::iterator end)
{
    std::array<double, 3> sums{};
    std::array<double, 3> squares{};
    double weight = 0;
    for (auto group = begin; group != end; ++group) {
        weight += group->weight;
        for (size_t i = 0; i < 3; ++i) {
            const double weighted = double(group->weight) * group->mean[i];
            sums[i] += weighted;
            squares[i] += weighted * group->mean[i];
        }
    }
    Box box{begin, end};
    for (size_t i = 0; i < 3; ++i) {
        box.mean[i] = static_cast<float>(sums[i] / weight);
        const double spread = squares[i] - sums[i] * sums[i] / weight;
        if (spread > box.spread) {
            box.spread = spread;
            box.widest = static_cast<int>(i);
        }
    }
    return box;
}

QRgb rounded(const std::array<float, 3> &colour)
{
    const auto component = [&](size_t i) {
        return std::clamp(static_cast<int>(std::lround(colour[i])), 0, 255);
    };
    return qRgb(component(0), component(1), component(2));
}

/// Divides the box that varies most at its mean until there are enough boxes.
QList<QRgb> medianCut(Groups &groups, int most)
{
    std::priority_queue<Box> boxes;
    boxes.push(measured(groups.begin(), groups.end()));
    QList<QRgb> colours;
    while (!boxes.empty() && static_cast<int>(boxes.size()) + colours.size() < most) {
        const Box box = boxes.top();
        boxes.pop();
        const auto axis = static_cast<size_t>(box.widest);
        const auto middle = std::partition(
            box.begin, box.end, [&](const Group &group) { return group.mean[axis] <= box.mean[axis]; });
        if (middle == box.begin || middle == box.end) {
            colours.append(rounded(box.mean));
            continue;
        }
        boxes.push(measured(box.begin, middle));
        boxes.push(measured(middle, box.end));
    }
    for (; !boxes.empty(); boxes.pop())
        colours.append(rounded(boxes.top().mean));
    return colours;
}

/// Moves each colour to the mean of what is nearest to it.
QList<QRgb> improved(const ColourPalette &palette, const Groups &groups)
{
    struct Sum
    {
        std::array<double, 3> components{};
        double weight = 0;
    };
    std::array<Sum, ColourPalette::kMostColours> sums;
    for (const Group &group : groups) {
        const QRgb colour = rounded(group.mean);
        Sum &sum = sums[static_cast<size_t>(palette.nearest(qRed(colour), qGreen(colour), qBlue(colour)))];
        sum.weight += group.weight;
        for (size_t i = 0; i < 3; ++i)
            sum.components[i] += double(group.weight) * group.mean[i];
    }
    QList<QRgb> colours = palette.colours();
    for (qsizetype i = 0; i < colours.size(); ++i) {
        const Sum &sum = sums[static_cast<size_t>(i)];
        const auto mean = [&](size_t axis) { return static_cast<float>(sum.components[axis] / sum.weight); };
        if (sum.weight > 0)
            colours[i] = rounded({mean(0), mean(1), mean(2)});
    }
    return colours;
}

QList<QRgb> chosenColours(const QImage &image, int most)
{
    Groups groups = ColourHistogram::groups(image);
    QList<QRgb> colours = medianCut(groups, most);
    for (int round = 0; round < kRounds; ++round)
        colours = improved(ColourPalette(colours), groups);
    return colours;
}

/// Makes every pixel opaque or, with no colour, transparent. Whether there is a transparent one.
bool separateTransparency(QImage &image)
{
    bool isTransparent = false;
    for (int y = 0; y < image.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const bool isVisible = ColourHistogram::isVisible(row[x]);
            row[x] = isVisible ? row[x] | 0xFF000000 : 0;
            isTransparent |= !isVisible;
        }
    }
    return isTransparent;
}

/// Each pixel as the index of its very colour.
QImage indexed(const QImage &image, const QList<QRgb> &colours, uchar transparent)
{
    QHash<QRgb, uchar> indices;
    for (qsizetype i = 0; i < colours.size(); ++i)
        indices.insert(colours[i], static_cast<uchar>(i));
    QImage result(image.size(), QImage::Format_Indexed8);
    for (int y = 0; y < result.height(); ++y) {
        const auto *from = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        uchar *to = result.scanLine(y);
        for (int x = 0; x < result.width(); ++x) {
            if (x > 0 && from[x] == from[x - 1])
                to[x] = to[x - 1];
            else
                to[x] = ColourHistogram::isVisible(from[x]) ? indices.value(from[x]) : transparent;
        }
    }
    return result;
}

} // namespace

QImage ColourQuantiser::quantised(const QImage &image)
{
    QImage pixels =
        image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    const bool isTransparent = image.hasAlphaChannel() && separateTransparency(pixels);
    const int most = ColourPalette::kMostColours - (isTransparent ? 1 : 0);
    const auto exact = ColourHistogram::colours(pixels, most);
    const QList<QRgb> colours = exact ? *exact : chosenColours(pixels, most);
    const auto transparent = static_cast<uchar>(colours.size());
    QImage result = exact ? indexed(pixels, colours, transparent)
                          : ErrorDiffusion::indexed(pixels, ColourPalette(colours), transparent);
    if (result.isNull())
        return {};
    result.setColorTable(isTransparent ? colours + QList<QRgb>{0} : colours);
    return result;
}
