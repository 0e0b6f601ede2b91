#include "platform/NSAttributedString.h"

#include <QVarLengthArray>

#include <algorithm>
#include <array>
#include <limits>

namespace {

using Run = NSAttributedString::Run;

/// Adds a run unless it goes on with the attributes of the one before it.
template <typename Runs>
void appendJoined(Runs &runs, quint32 start, const NSAttributeDictionary &attributes)
{
    if (runs.isEmpty() || !(runs.last().attributes == attributes))
        runs.append({start, attributes});
}

} // namespace

/// Replaces the runs of a range by others (whose starts are counted from the range) in one splice: what is
/// left of the runs at both ends is joined with its new neighbours where attributes are equal. Looks at the
/// runs of the text before the edit; the string itself is changed by the caller.
void NSMutableAttributedString::replaceRuns(NSRange replaced, qsizetype insertedLength,
                                            std::span<const Run> inserted)
{
    const auto startsBefore = [](const Run &run, qsizetype index) { return run.start < index; };
    // The splice begins behind the last run that starts before the range, and ends before the first run that
    // starts at or behind the range's end.
    const auto begin = std::lower_bound(_runs.cbegin(), _runs.cend(), replaced.location, startsBefore);
    const auto end = std::lower_bound(begin, _runs.cend(), replaced.end(), startsBefore);
    const qsizetype from = std::distance(_runs.cbegin(), begin);
    const qsizetype to = std::distance(_runs.cbegin(), end);

    QVarLengthArray<Run, 8> fresh;
    fresh.reserve(static_cast<qsizetype>(inserted.size()) + 2);
    if (from > 0)
        fresh.append(_runs.at(from - 1));
    for (const Run &run : inserted)
        appendJoined(fresh, static_cast<quint32>(replaced.location) + run.start, run.attributes);

    const qsizetype shift = insertedLength - replaced.length;
    const qsizetype oldLength = _string.size();
    const bool lastRunGoesOn =
        replaced.end() < oldLength && (to == _runs.size() || _runs.at(to).start != replaced.end());
    if (lastRunGoesOn && to > 0) {
        appendJoined(fresh, static_cast<quint32>(replaced.end() + shift), _runs.at(to - 1).attributes);
    }
    qsizetype tail = to;
    if (tail < _runs.size() && !fresh.isEmpty() && fresh.last().attributes == _runs.at(tail).attributes)
        ++tail;

    const qsizetype head = std::max<qsizetype>(from - 1, 0);
    const qsizetype oldCount = tail - head;
    if (fresh.size() > oldCount)
        _runs.insert(tail, fresh.size() - oldCount, Run());
    else if (fresh.size() < oldCount)
        _runs.remove(head, oldCount - fresh.size());
    std::move(fresh.begin(), fresh.end(), _runs.begin() + head);
    if (shift != 0) {
        for (auto run = _runs.begin() + head + fresh.size(); run != _runs.end(); ++run)
            run->start = static_cast<quint32>(run->start + shift);
    }
}

void NSMutableAttributedString::setAttributes(const NSAttributeDictionary &attributes, NSRange range)
{
    range = range.clippedTo(_string.size());
    if (!range.isEmpty())
        replaceRuns(range, range.length, std::array{Run{0, attributes}});
}

void NSMutableAttributedString::addAttribute(NSAttributeKey key, const QVariant &value, NSRange range)
{
    range = range.clippedTo(_string.size());
    if (range.isEmpty())
        return;
    const NSAttributedString part = attributedSubstringFromRange(range);
    QList<Run> changed;
    changed.reserve(part.runs().size());
    for (const Run &run : part.runs())
        appendJoined(changed, run.start, run.attributes.withValue(key, value));
    replaceRuns(range, range.length, changed);
}

void NSMutableAttributedString::replaceCharactersInRange(NSRange range, const NSAttributedString &text)
{
    range = range.clippedTo(_string.size());
    constexpr qsizetype maximum = std::numeric_limits<quint32>::max();
    const NSAttributedString fitting =
        text.attributedSubstringFromRange({0, maximum - (_string.size() - range.length)});
    replaceRuns(range, fitting.length(), fitting.runs());
    _string.replace(range.location, range.length, fitting.string());
}

void NSMutableAttributedString::replaceCharactersInRange(NSRange range, const QString &text)
{
    range = range.clippedTo(_string.size());
    const qsizetype model = range.isEmpty() ? std::max<qsizetype>(range.location - 1, 0) : range.location;
    replaceCharactersInRange(range, NSAttributedString(text, attributesAtIndex(model)));
}

void NSMutableAttributedString::append(const QString &text, const NSAttributeDictionary &attributes)
{
    constexpr qsizetype maximum = std::numeric_limits<quint32>::max();
    const QStringView fitting = QStringView(text).left(std::min(text.size(), maximum - _string.size()));
    if (fitting.isEmpty())
        return;
    appendJoined(_runs, static_cast<quint32>(_string.size()), attributes);
    _string += fitting;
}

void NSMutableAttributedString::append(const NSAttributedString &text)
{
    // The other text may be this one, whose runs grow here.
    const NSAttributedString source = text; // NOLINT(performance-unnecessary-copy-initialization)
    for (qsizetype run = 0; run < source.runs().size(); ++run) {
        const NSRange range = source.rangeOfRun(run);
        append(source.string().mid(range.location, range.length), source.runs().at(run).attributes);
    }
}

void NSMutableAttributedString::reserve(qsizetype units, qsizetype runs)
{
    _string.reserve(units);
    _runs.reserve(runs);
}
