#pragma once

#include <cstdlib>

/// Ends a fuzzer's run, so that its input is kept, when something does not hold.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}
