#pragma once

#include "Measuring.h"

#include <functional>
#include <string>
#include <vector>

#include <sys/resource.h>

/// Milliseconds by the clock and of the processor, user mode, all threads.
struct Timing
{
    double wall = 0;
    double user = 0;
};

/// What a function takes in this process, or in the processes that it starts and waits for.
inline Timing timed(const std::function<void()> &function, int who = RUSAGE_SELF)
{
    const auto user = [who] {
        rusage usage{};
        getrusage(who, &usage);
        return double(usage.ru_utime.tv_sec) * 1e3 + double(usage.ru_utime.tv_usec) / 1e3;
    };
    const auto start = std::chrono::steady_clock::now();
    const double before = user();
    function();
    const std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - start;
    return {wall.count(), user() - before};
}

/// Takes turns between those who do the same job, so that whatever else the machine does meets all alike, and
/// counts the quickest turn of each, which it met least. Who takes seconds gets few turns.
class Contest
{
public:
    using Turn = std::function<Timing()>;

    void add(const std::string &name, const Turn &turn) { _entries.push_back({name, turn, {}, 0}); }

    void run(int rounds)
    {
        constexpr double kLongEnough = 4'000;
        for (Entry &entry : _entries) {
            const Timing first = entry.turn(); // to warm up
            if (first.wall > kLongEnough)
                entry.take(first);
        }
        for (int round = 0; round < rounds; ++round) {
            for (Entry &entry : _entries) {
                if (entry.sum < kLongEnough || (entry.sum < 3 * kLongEnough && entry.timings.size() < 5))
                    entry.take(entry.turn());
            }
        }
    }

    /// One line each, with how many times faster the first is; `remark` gets the name.
    void print(const std::function<std::string(const std::string &)> &remark) const
    {
        const Timing ours = _entries.front().best();
        for (const Entry &entry : _entries) {
            const Timing best = entry.best();
            std::printf("  %-26s %9.1f ms %9.1f ms user  %6.2f times  %6.2f of user  %s\n",
                        entry.name.c_str(), best.wall, best.user, best.wall / ours.wall,
                        best.user / ours.user, remark(entry.name).c_str());
        }
    }

    [[nodiscard]] double wall(size_t index) const { return _entries[index].best().wall; }

private:
    struct Entry
    {
        std::string name;
        Turn turn;
        std::vector<Timing> timings;
        double sum;

        void take(const Timing &timing)
        {
            timings.push_back(timing);
            sum += timing.wall;
        }
        [[nodiscard]] Timing best() const
        {
            Timing least = timings.front();
            for (const Timing &timing : timings)
                least = {std::min(least.wall, timing.wall), std::min(least.user, timing.user)};
            return least;
        }
    };

    std::vector<Entry> _entries;
};
