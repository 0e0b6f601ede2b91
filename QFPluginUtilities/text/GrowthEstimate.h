#pragma once

#include "platform/LargeMemory.h"

#include <QtCore/qglobal.h>

/// Units after which the size of a long text's result is estimated.
inline constexpr qsizetype estimateAfter = 0x10000;

/// Reserves room for all of a long conversion once its beginning is done: as much as the whole comes to when
/// the rest grows like the first `read` of `total` units, a little more, and `extra`. A wrong estimate costs
/// memory or a reallocation, nothing else.
template <typename Container>
void reserveLikeBeginning(Container &output, qsizetype read, qsizetype total, qsizetype extra)
{
    const double growth = static_cast<double>(output.size()) / static_cast<double>(read);
    output.reserve(static_cast<qsizetype>(growth * 1.03 * static_cast<double>(total)) + extra);
    adviseLargePages(output.data(), static_cast<size_t>(output.capacity()) * sizeof(*output.data()));
}
