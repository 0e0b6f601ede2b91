#pragma once

#include <QtCore/qglobal.h>

#include <algorithm>
#include <limits>

/// Location of a range that was not found.
inline constexpr qsizetype NSNotFound = std::numeric_limits<qsizetype>::max();

/// A half-open stretch of UTF-16 units: `length` units from `location` on.
struct NSRange
{
    qsizetype location = 0;
    qsizetype length = 0;

    friend constexpr bool operator==(const NSRange &, const NSRange &) = default;

    /// First index behind the range. Meaningless for a range that was not found.
    [[nodiscard]] constexpr qsizetype end() const { return location + length; }
    [[nodiscard]] constexpr bool isEmpty() const { return length <= 0 || location == NSNotFound; }

    /// The part of this range that lies in [0, textLength). Any values whatever are clipped, so that a range
    /// from foreign data can be used without further tests.
    [[nodiscard]] constexpr NSRange clippedTo(qsizetype textLength) const
    {
        const qsizetype from = std::clamp<qsizetype>(location, 0, textLength);
        const qsizetype wanted =
            location < 0 ? length + std::max(location, -std::max<qsizetype>(length, 0)) : length;
        return {from, std::clamp<qsizetype>(wanted, 0, textLength - from)};
    }

    /// The part of this range that lies in another; both must lie in a text.
    [[nodiscard]] constexpr NSRange clippedTo(NSRange other) const
    {
        const qsizetype from = std::max(location, other.location);
        return {from, std::max<qsizetype>(std::min(end(), other.end()) - from, 0)};
    }
};
