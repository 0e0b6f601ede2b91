#pragma once

/// Answers what `work` answers, or an empty value of its type when it throws, as for want of memory. For the
/// operations at the library's edge, which no exception leaves.
template <typename Work>
[[nodiscard]] auto withoutThrowing(Work work) noexcept -> decltype(work())
{
    try {
        return work(); // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): taken for leaks of shared pointers
    } catch (...) {
        return {};
    }
}
