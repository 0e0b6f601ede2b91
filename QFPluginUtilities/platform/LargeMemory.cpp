#include "platform/LargeMemory.h"

#include <cstdint>

#include <sys/mman.h>

void adviseLargePages([[maybe_unused]] void *memory, [[maybe_unused]] size_t size)
{
#if defined(MADV_HUGEPAGE)
    constexpr uintptr_t largePage = uintptr_t(2) << 20;
    if (size < 2 * largePage)
        return;
    // Only pages that lie wholly in the block.
    const auto start = reinterpret_cast<uintptr_t>(memory);
    const uintptr_t first = (start + largePage - 1) & ~(largePage - 1);
    const uintptr_t end = (start + size) & ~(largePage - 1);
    if (first < end)
        (void)madvise(static_cast<char *>(memory) + (first - start), end - first, MADV_HUGEPAGE);
#endif
}
