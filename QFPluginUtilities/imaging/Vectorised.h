#pragma once

/// Marks an inner loop over pixels: the compiler builds it once for every processor and once for those with
/// AVX2, and the loader picks. Both give the same bits. Plain functions only: no templates, nothing inline.
/// The sanitizers' start-up does not get along with such a choice.
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && defined(__gnu_linux__) &&             \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define QF_VECTORISED __attribute__((target_clones("avx2", "default")))
#else
#define QF_VECTORISED
#endif
