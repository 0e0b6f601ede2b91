#pragma once

#include "platform/NSColor.h"

#include <array>
#include <memory>
#include <optional>

/// How a table finds its column widths.
enum class NSTextTableLayoutAlgorithm : int { Automatic = 0, Fixed = 1 };

/// A table whose cells are text blocks of paragraphs. Edited in place and equal by identity: two tables with
/// equal fields are still two tables.
class NSTextTable
{
public:
    quint64 numberOfColumns = 0;
    NSTextTableLayoutAlgorithm layoutAlgorithm = NSTextTableLayoutAlgorithm::Automatic;
};

using NSTextTablePtr = std::shared_ptr<NSTextTable>;

/// What `widthForLayer` measures; the numbers are the platform's.
enum class NSTextBlockLayer : int { Padding = -1, Border = 0, Margin = 1 };

/// Where text stands in a cell that is higher than it. Values beyond the four are kept as they come.
enum class NSTextBlockVerticalAlignment : int { Top = 0, Middle = 1, Bottom = 2, Baseline = 3 };

/// Edges in the platform's order.
enum class NSRectEdge : int { MinX = 0, MinY = 1, MaxX = 2, MaxY = 3 };

/// One cell of a table, shared by all paragraphs inside it and equal by identity. Lengths are points.
class NSTextTableBlock
{
public:
    NSTextTablePtr table;
    qint64 startingRow = 0;
    qint64 startingColumn = 0; ///< 0-based
    qint64 rowSpan = 1;
    qint64 columnSpan = 1;
    NSTextBlockVerticalAlignment verticalAlignment = NSTextBlockVerticalAlignment::Top;
    std::optional<NSColor> backgroundColor;
    double width = 0;  ///< dimension 0; doubles, since "%f" would show the 32-bit rounding of 16.7
    double height = 0; ///< dimension 4

    [[nodiscard]] double widthForLayer(NSTextBlockLayer layer, NSRectEdge edge) const
    {
        return _widths[index(layer)][static_cast<size_t>(edge)];
    }
    void setWidthForLayer(NSTextBlockLayer layer, NSRectEdge edge, double points)
    {
        _widths[index(layer)][static_cast<size_t>(edge)] = points;
    }
    /// The same width on all four edges.
    void setWidthForLayer(NSTextBlockLayer layer, double points) { _widths[index(layer)].fill(points); }

    [[nodiscard]] const std::optional<NSColor> &borderColorForEdge(NSRectEdge edge) const
    {
        return _borderColors[static_cast<size_t>(edge)];
    }
    void setBorderColorForEdge(NSRectEdge edge, std::optional<NSColor> color)
    {
        _borderColors[static_cast<size_t>(edge)] = color;
    }
    /// The same colour on all four edges.
    void setBorderColor(std::optional<NSColor> color) { _borderColors.fill(color); }

private:
    static constexpr size_t index(NSTextBlockLayer layer)
    {
        const int fromPadding = static_cast<int>(layer) - static_cast<int>(NSTextBlockLayer::Padding);
        return static_cast<size_t>(fromPadding);
    }

    std::array<std::array<double, 4>, 3> _widths{};
    std::array<std::optional<NSColor>, 4> _borderColors{};
};

using NSTextTableBlockPtr = std::shared_ptr<NSTextTableBlock>;
