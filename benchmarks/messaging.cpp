#include "Contest.h"
#include "Measuring.h"

#include "messaging/NSArray+HOM.h"

#include <QObject>

#include <atomic>
#include <ctime>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr int kObjects = 1000;
constexpr int kRounds = 20; // lists a turn
constexpr int kElements = 100'000;

/// Processor time of this thread, in milliseconds.
double threadMilliseconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

} // namespace

class Label : public QObject
{
    Q_OBJECT

public:
    Q_INVOKABLE virtual QString text(int number, const QString &name) const = 0;
};

class PlainLabel : public Label
{
    Q_OBJECT

public:
    [[nodiscard]] QString text(int number, const QString &name) const override
    {
        return number > 0 ? name : QString();
    }
};

class OddLabel : public Label
{
    Q_OBJECT

public:
    [[nodiscard]] QString text(int number, const QString &name) const override
    {
        return (number & 1) != 0 ? name : QString();
    }
};

/// What threads note of the time that they take.
class Worker : public QObject
{
    Q_OBJECT

public:
    /// About two microseconds.
    Q_INVOKABLE int work()
    {
        note();
        unsigned sum = 1;
        for (int i = 0; i < steps; ++i) {
            sum = sum * 1664525 + 1013904223;
            asm volatile("" : "+r"(sum));
        }
        return int(sum >> 1);
    }

    static inline int steps = 1000;
    static inline std::atomic<double> longest = 0; ///< of the threads, milliseconds

private:
    static void note()
    {
        thread_local const double start = threadMilliseconds();
        thread_local int calls = 0;
        if (++calls % 64 != 0)
            return;
        const double taken = threadMilliseconds() - start;
        double known = longest;
        while (taken > known && !longest.compare_exchange_weak(known, taken)) {
        }
    }
};

namespace {

std::vector<std::unique_ptr<Label>> labels()
{
    std::vector<std::unique_ptr<Label>> made;
    for (int i = 0; i < kObjects; ++i) {
        if (i % 3 == 0)
            made.push_back(std::make_unique<OddLabel>());
        else
            made.push_back(std::make_unique<PlainLabel>());
    }
    return made;
}

template <typename Function>
Contest::Turn turn(Function function)
{
    return [function] {
        return timed([&] {
            for (int i = 0; i < kRounds; ++i) {
                const auto result = function();
                asm volatile("" : : "r"(&result) : "memory");
            }
        });
    };
}

void printRatios(const Contest &contest, const std::vector<const char *> &names, double calls)
{
    for (size_t i = 0; i < names.size(); ++i)
        std::printf("  %-44s %7.1f ns   %5.2f times\n", names[i], contest.wall(i) * 1e6 / calls,
                    contest.wall(i) / contest.wall(0));
}

void measureLists(const QList<Label *> &objects, const QVariantList &array)
{
    const QString name = QString::fromUtf8("a name"); // one that is counted
    const auto direct = [&] {
        QList<QString> texts;
        texts.reserve(objects.size());
        for (const Label *object : objects)
            texts.append(object->text(7, name));
        return texts;
    };
    CVMessage typed;
    typed.capture(&Label::text, 7, name);
    CVMessage named;
    named.capture("text", 7, name);
    const QList<QString> right = direct();
    require(HOM::collect<QString>(objects, typed) == right, "typed");
    require(QVariant(HOM::collect(array, named)).toStringList() == right, "named");

    Contest contest;
    contest.add("direct", turn(direct));
    contest.add("typed", turn([&] { return HOM::collect<QString>(objects, typed); }));
    contest.add("typedVariants", turn([&] { return HOM::collect(array, typed); }));
    contest.add("named", turn([&] { return HOM::collect(array, named); }));
    contest.run(500);
    std::printf("a list of two classes, for each element\n");
    printRatios(contest,
                {"virtual call, to a list of strings", "typed message, to a list of strings",
                 "typed message, to values", "named message, to values"},
                double(kObjects) * kRounds);
}

void measureSingle(const QList<Label *> &objects)
{
    constexpr int kCalls = 20'000;
    const QString name = QString::fromUtf8("a name"); // one that is counted
    CVMessage named;
    named.capture("text", 7, name);
    const auto repeated = [&](auto function) {
        return [function, &objects] {
            return timed([&] {
                for (int i = 0; i < kCalls; ++i) {
                    const auto result = function(objects[i & 1]);
                    asm volatile("" : : "r"(&result) : "memory");
                }
            });
        };
    };
    require(named.replay(objects[0]) == name && named.replay(objects[1]) == name, "single");
    Contest contest;
    contest.add("direct", repeated([&](const Label *object) { return object->text(7, name); }));
    contest.add("named", repeated([&](Label *object) { return named.replay(object); }));
    contest.add("captured", repeated([&](Label *object) {
                    CVMessage message;
                    return message.capture("text", 7, name).replay(object);
                }));
    contest.run(500);
    std::printf("one at a time\n");
    printRatios(contest, {"virtual call", "named message", "named message, captured for the occasion"},
                kCalls);
}

void measureThreads()
{
    while (true) { // two microseconds of work
        Worker probe;
        const double start = threadMilliseconds();
        for (int i = 0; i < 1000; ++i)
            probe.work();
        const double microseconds = threadMilliseconds() - start;
        if (microseconds > 1.9 && microseconds < 2.1)
            break;
        Worker::steps = int(Worker::steps * 2 / microseconds);
    }
    std::vector<std::unique_ptr<Worker>> workers(kElements);
    QVariantList array;
    for (auto &worker : workers) {
        worker = std::make_unique<Worker>();
        array.append(QVariant::fromValue(worker.get()));
    }
    CVMessage message;
    message.capture("work");
    // Each on a thread of its own, whose time is counted from its first element.
    const auto longestChunk = [](auto function) {
        double best = 1e9;
        double wall = 1e9;
        for (int i = 0; i < 7; ++i) {
            Worker::longest = 0;
            Timing timing;
            std::thread([&] { timing = timed(function); }).join();
            best = std::min(best, Worker::longest.load());
            wall = std::min(wall, timing.wall);
        }
        return Timing{wall, best};
    };
    QVariantList one;
    QVariantList many;
    const Timing sequential = longestChunk([&] { one = HOM::collect(array, message); });
    const Timing parallel = longestChunk([&] { many = HOM::parallelCollect(array, message, 2); });
    require(one == many && one.size() == kElements, "parallel");
    std::printf("%d elements of two microseconds, 2 threads\n", kElements);
    std::printf("  collect          %8.1f ms, of the thread %8.1f ms\n", sequential.wall,
                sequential.processor);
    std::printf("  parallelCollect  %8.1f ms, of the longer %8.1f ms: %.2f times by the clock, %.2f of "
                "processor time\n",
                parallel.wall, parallel.processor, sequential.wall / parallel.wall,
                sequential.processor / parallel.processor);
}

} // namespace

int main()
{
    const auto owned = labels();
    QList<Label *> objects;
    QVariantList array;
    for (const auto &label : owned) {
        objects.append(label.get());
        array.append(QVariant::fromValue(label.get()));
    }
    measureLists(objects, array);
    measureSingle(objects);
    measureThreads();
    return 0;
}

#include "messaging.moc"
