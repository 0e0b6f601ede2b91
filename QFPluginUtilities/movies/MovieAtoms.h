#pragma once

#include "movies/MovieBytes.h"

#include <QDeadlineTimer>

/// How a QuickTime or MPEG-4 file is laid out: a walk over its atoms, which looks at few of their bytes.
struct MovieAtoms
{
    /// Whether there is an index that can be true: that it names no more media than the file has bytes for.
    /// Some tables say in a few bytes that there are thousands of millions of samples, and reading them would
    /// take memory for all of these. A compressed index counts as what it inflates to, 8 MB at most.
    bool isPlausible = false;
    /// Whether the whole index stands before the media, so that the file plays while it loads.
    bool isIndexFirst = false;

    /// Past the deadline nothing is plausible.
    [[nodiscard]] QF_EXPORT static MovieAtoms of(const MovieBytes &bytes,
                                                 QDeadlineTimer deadline = QDeadlineTimer::Forever);
};
