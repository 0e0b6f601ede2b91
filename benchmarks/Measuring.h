#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

/// Median milliseconds of a function, over enough runs to fill about a second, at least five. What it answers
/// is kept from being optimised away and is freed inside the measured time.
template <typename Function>
double medianMilliseconds(Function function)
{
    using Clock = std::chrono::steady_clock;
    std::vector<double> times;
    const auto start = Clock::now();
    do {
        const auto before = Clock::now();
        {
            const auto result = function();
            asm volatile("" : : "r"(&result) : "memory");
        }
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - before).count());
    } while (times.size() < 5 || Clock::now() - start < std::chrono::seconds(1));
    std::nth_element(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2),
                     times.end());
    return times[times.size() / 2];
}

/// Ends the program when a result is wrong: a number about it would mean nothing.
inline void require(bool isRight, const char *what)
{
    if (isRight)
        return;
    std::fprintf(stderr, "wrong result: %s\n", what);
    std::exit(1);
}

/// One line: ours and a peer's time, and how many times faster ours is.
inline void printRatio(const char *what, double ours, const char *peer, double theirs)
{
    std::printf("%-44s %9.3f ms   %-22s %9.3f ms   %6.1f times\n", what, ours, peer, theirs, theirs / ours);
}
