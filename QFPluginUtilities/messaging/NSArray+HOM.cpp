#include "messaging/NSArray+HOM.h"

#include "messaging/DetachedThreads.h"
#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/MainThread.h"
#include "platform/QFReport.h"

#include <chrono>
#include <cmath>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

/// Replays on the object that the element points to, or on a copy of the element, which shares what it holds
/// until a message changes it.
void replayOn(const CapturedMessage *message, const QVariant &element, QVariant &answer)
{
    if (!message)
        return;
    if (QObject *const object = objectValue(element))
        message->replay(object, answer);
    else if (QVariant copy = element; copy.isValid())
        message->replay(copy, answer);
}

/// Units of 32 bits, rounded up; what is too large, or infinite, is all ones.
quint32 roundedUp(float x)
{
    const float whole = std::ceil(x);
    return whole >= 4294967296.0F ? std::numeric_limits<quint32>::max() : static_cast<quint32>(whole);
}

/// The part of the range that is there.
NSRange clipped(NSRange range, qsizetype count)
{
    const NSRange inside = range.clippedTo(count);
    if (inside != range)
        qCWarning(qfMessagingLog).noquote() << formatted(
            u"A worker's range of %d elements from %d on goes beyond the %d that there are",
            {range.length, range.location, count}); // nothing is lost, so the report has no place for it
    return inside;
}

/// The workers of one array. The caller waits for all before it goes on, so they may use what is its.
class Crew
{
public:
    void begin()
    {
        const std::lock_guard guard(_lock);
        ++_working;
    }

    void end(QFReport &report)
    {
        const std::lock_guard guard(_lock);
        _records.append(report.records());
        --_working;
        _changed.notify_all();
    }

    /// What the workers have put into their reports goes into the caller's, with the caller's place.
    void wait()
    {
        constexpr std::chrono::milliseconds kLook{1};
        std::unique_lock guard(_lock);
        while (_working > 0) {
            if (!MainThread::isCurrent()) {
                _changed.wait(guard);
            } else if (_changed.wait_for(guard, kLook) == std::cv_status::timeout) {
                guard.unlock();
                MainThread::drain();
                guard.lock();
            }
        }
        for (const QFReportRecord &record : std::as_const(_records)) {
            if (record.page.isNull())
                QFReport::addHere(record);
            else if (QFReport::current())
                QFReport::current()->add(record);
        }
    }

private:
    std::mutex _lock; ///< guards all
    std::condition_variable _changed;
    int _working = 0;
    QList<QFReportRecord> _records;
};

} // namespace

void HOM::Implementation::throwNilAnswer()
{
    throw std::invalid_argument("an array cannot hold the nil that an element answered");
}

bool HOM::isTrue(const QVariant &answer)
{
    if (!isNumber(answer))
        return boolValue(answer);
    const bool isUnsigned = answer.typeId() == QMetaType::ULongLong || answer.typeId() == QMetaType::ULong;
    const quint64 bits = isUnsigned ? answer.toULongLong() : static_cast<quint64>(intValue(answer));
    return static_cast<quint8>(bits) != 0; // meant so
}

QVariantList HOM::collect(const QVariantList &array, const CVMessage &message)
{
    const QVariantList elements = array; // NOLINT: messages may change the array
    const std::shared_ptr<const CapturedMessage> captured = message.captured();
    QVariantList answers(elements.size());
    auto answer = answers.begin();
    for (const QVariant &element : elements) {
        replayOn(captured.get(), element, *answer);
        if (isNil(*answer++))
            Implementation::throwNilAnswer();
    }
    return answers;
}

QVariantList HOM::select(const QVariantList &array, const CVMessage &message)
{
    const QVariantList elements = array; // NOLINT: messages may change the array
    const std::shared_ptr<const CapturedMessage> captured = message.captured();
    QVariantList selected;
    for (const QVariant &element : elements) {
        QVariant answer;
        replayOn(captured.get(), element, answer);
        if (isTrue(answer))
            selected.append(element);
    }
    return selected;
}

void HOM::mutableReplacingCollect(const QVariantList &source, std::span<QVariant> newVector, NSRange range,
                                  const CVMessage &message)
{
    const QVariantList elements = source; // NOLINT: messages may change the array
    const std::shared_ptr<const CapturedMessage> captured = message.captured();
    const NSRange inside = clipped(range, std::min(elements.size(), qsizetype(newVector.size())));
    for (qsizetype i = inside.location; i < inside.end(); ++i)
        replayOn(captured.get(), elements[i], newVector[size_t(i)] = QVariant());
}

QList<NSRange> HOM::parallelRanges(qsizetype count, unsigned processors)
{
    QList<NSRange> ranges;
    const float all = static_cast<float>(count);
    // Infinite for 0. More processors than any machine has would be pieces without number.
    const float chunk = all / static_cast<float>(std::min(processors, 65536U));
    float x = 0;
    while (all > x) {
        const quint32 start = roundedUp(x);
        x += chunk;
        ranges.append({start, roundedUp(x) - start});
    }
    // Counts that single precision rounds down.
    if (!ranges.isEmpty() && ranges.constLast().end() < count)
        ranges.append({ranges.constLast().end(), count - ranges.constLast().end()});
    return ranges;
}

QVariantList HOM::parallelCollect(const QVariantList &array, const CVMessage &message, unsigned processors)
{
    const QVariantList source = array;
    QVariantList answers(source.size());
    const std::span<QVariant> newVector(answers.data(), size_t(answers.size()));
    QList<NSRange> ranges;
    for (const NSRange range : parallelRanges(source.size(), processors))
        if (const NSRange inside = range.isEmpty() ? range : clipped(range, source.size()); !inside.isEmpty())
            ranges.append(inside);

    Crew crew;
    for (qsizetype i = 0; i < ranges.size(); ++i) {
        const auto work = [&, range = ranges[i]] {
            mutableReplacingCollect(source, newVector, range, message);
        };
        const auto workElsewhere = [&crew, work] {
            QFReport report;
            try {
                const QFReport::Installed collecting(report);
                work();
            } catch (...) { // for want of memory: what is not filled is nil
            }
            crew.end(report);
        };
        crew.begin();
        if (i + 1 == ranges.size() || !DetachedThreads::start(workElsewhere))
            workElsewhere();
    }
    crew.wait();
    for (const QVariant &answer : std::as_const(answers))
        if (isNil(answer))
            Implementation::throwNilAnswer();
    return answers;
}
