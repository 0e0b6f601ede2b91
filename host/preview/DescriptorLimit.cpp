#include "host/preview/DescriptorLimit.h"

#include <algorithm>
#include <climits>
#include <sys/resource.h>

namespace {

constexpr rlim_t kHighest = 1 << 20;

rlimit before = {}; // NOLINT: read between fork and exec

} // namespace

void DescriptorLimit::raise()
{
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    before = limit;
    limit.rlim_cur = std::max(limit.rlim_cur, std::min(limit.rlim_max, kHighest));
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

void DescriptorLimit::restore()
{
    if (before.rlim_max != 0)
        ::setrlimit(RLIMIT_NOFILE, &before);
}

int DescriptorLimit::current()
{
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 0;
    return static_cast<int>(std::min<rlim_t>(limit.rlim_cur, INT_MAX));
}
