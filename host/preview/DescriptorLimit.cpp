#include "host/preview/DescriptorLimit.h"

#include <algorithm>
#include <climits>
#include <sys/resource.h>

namespace {

rlimit before = {}; // NOLINT: read between fork and exec

} // namespace

void DescriptorLimit::raise()
{
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    before = limit;
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

void DescriptorLimit::restore(pid_t process)
{
    if (before.rlim_max != 0)
        ::prlimit(process, RLIMIT_NOFILE, &before, nullptr);
}

int DescriptorLimit::current()
{
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 0;
    return static_cast<int>(std::min<rlim_t>(limit.rlim_cur, INT_MAX));
}
