#include "export/CVHTMLTableMarkup.h"

#include "export/QFColours.h"
#include "platform/Formatting.h"

#include <QStringBuilder>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

QString wholePoints(double points)
{
    constexpr double limit = std::numeric_limits<int>::max();
    return QString::number(std::isnan(points) ? 0 : static_cast<int>(std::clamp(points, 0.0, limit)));
}

QString layerWidth(const NSTextTableBlock &cell, NSTextBlockLayer layer)
{
    const double width = cell.widthForLayer(layer, NSRectEdge::MinX);
    return formattedFloat(std::isfinite(width) ? width : 0);
}

/// The colour in calibrated RGB; nothing for one that is absent, transparent or cannot be converted.
std::optional<NSColor> visibleColour(const std::optional<NSColor> &color)
{
    const auto converted = color ? color->colorUsingColorSpaceName(NSCalibratedRGBColorSpace) : std::nullopt;
    return converted && converted->alpha != 0 ? converted : std::nullopt;
}

QStringView verticalAlignmentAttribute(NSTextBlockVerticalAlignment alignment)
{
    switch (alignment) {
    case NSTextBlockVerticalAlignment::Top:
        return u" valign=\"top\"";
    case NSTextBlockVerticalAlignment::Middle:
        return u" valign=\"middle\"";
    case NSTextBlockVerticalAlignment::Bottom:
    case NSTextBlockVerticalAlignment::Baseline:
        return u" valign=\"bottom\"";
    }
    return {};
}

} // namespace

QString tableStartTag(const NSTextTableBlock &cell)
{
    QString tag = u"<table border=\"" % layerWidth(cell, NSTextBlockLayer::Border) % u"\" cellpadding=\"" %
                  layerWidth(cell, NSTextBlockLayer::Padding) % u"\" cellspacing=\"" %
                  layerWidth(cell, NSTextBlockLayer::Margin) % u'"';
    if (const auto color = visibleColour(cell.borderColorForEdge(NSRectEdge::MinX)))
        tag += u"bordercolor=\"" % QFColourUtilities::tableColourString(*color) % u'"';
    return tag % u'>';
}

QString rowStartTag(const NSTextTableBlock &cell)
{
    return u"<tr height=\"" % wholePoints(cell.height) % u"\">";
}

QString cellStartTag(const NSTextTableBlock &cell)
{
    QString tag = u"<td" % verticalAlignmentAttribute(cell.verticalAlignment) % u" width=\"" %
                  wholePoints(cell.width) % u'"';
    if (cell.table->layoutAlgorithm == NSTextTableLayoutAlgorithm::Fixed && cell.table->numberOfColumns > 0) {
        const double share = 100.0 / static_cast<double>(cell.table->numberOfColumns);
        tag += u" width=\"" % formattedFloat(share) % u"%\"";
    }
    if (cell.rowSpan != 1)
        tag += u" rowspan=\"" % QString::number(cell.rowSpan) % u'"';
    if (cell.columnSpan != 1)
        tag += u" colspan=\"" % QString::number(cell.columnSpan) % u'"';
    if (const auto color = visibleColour(cell.backgroundColor))
        tag += u" bgcolor=\"#" % QFColourUtilities::tableColourString(*color) % u'"';
    return tag % u'>';
}

bool hasCellEndTag(const NSTextTableBlock &cell)
{
    return cell.columnSpan == 1;
}

bool isInLastColumn(const NSTextTableBlock &cell)
{
    return cell.startingColumn >= 0 &&
           static_cast<quint64>(cell.startingColumn) + 1 == cell.table->numberOfColumns;
}
