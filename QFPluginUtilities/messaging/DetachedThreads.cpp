#include "messaging/DetachedThreads.h"

#include "platform/Logging.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <exception>
#include <list>
#include <mutex>
#include <thread>
#include <utility>

namespace {

constexpr std::chrono::seconds kPatience{2};

struct Entry
{
    std::thread thread;
    bool isDone = false;
};

/// Never destroyed: threads may outlast the patience.
struct Threads
{
    std::mutex lock; ///< guards the entries
    std::condition_variable changed;
    std::list<Entry> entries;
    MainThread::StopFlag programEnds;
};

Threads &threads()
{
    static auto *const all = new Threads;
    return *all;
}

void runLogged(const std::function<void()> &work)
{
    try {
        work();
    } catch (const std::exception &exception) {
        qCWarning(qfMessagingLog, "Work on a thread of its own ended with an exception: %s",
                  exception.what());
    } catch (...) {
        qCWarning(qfMessagingLog, "Work on a thread of its own ended with an exception");
    }
}

/// Those that are done, off the list; joining them takes no time. With the lock held.
std::list<Entry> takeDone()
{
    std::list<Entry> done;
    for (auto entry = threads().entries.begin(); entry != threads().entries.end();) {
        const auto next = std::next(entry);
        if (entry->isDone)
            done.splice(done.end(), threads().entries, entry);
        entry = next;
    }
    return done;
}

void join(std::list<Entry> &&done)
{
    for (Entry &entry : done)
        entry.thread.join();
}

void waitForAll()
{
    Threads &all = threads();
    all.programEnds.raise();
    std::unique_lock guard(all.lock);
    const auto isOver = [&] {
        return std::all_of(all.entries.begin(), all.entries.end(),
                           [](const Entry &entry) { return entry.isDone; });
    };
    all.changed.wait_for(guard, kPatience, isOver);
    std::list<Entry> done = takeDone();
    guard.unlock();
    join(std::move(done));
}

} // namespace

bool DetachedThreads::start(std::function<void()> work)
{
    [[maybe_unused]] static const bool isWaitedFor = std::atexit(waitForAll) == 0;
    Threads &all = threads();
    std::list<Entry> done;
    {
        const std::lock_guard guard(all.lock);
        if (all.programEnds.isRaised())
            return false;
        done = takeDone();
        Entry &entry = all.entries.emplace_back();
        try {
            entry.thread = std::thread([&entry, &all, task = std::move(work)]() mutable {
                runLogged(task);
                task = {};
                const std::lock_guard finished(all.lock);
                entry.isDone = true;
                all.changed.notify_all();
            });
        } catch (...) { // no thread, or no memory for one
            all.entries.pop_back();
            return false;
        }
    }
    join(std::move(done));
    return true;
}

const MainThread::StopFlag &DetachedThreads::programEnds()
{
    return threads().programEnds;
}
