#include "platform/NSAttributedString.h"

#include "platform/Values.h"

#include <algorithm>
#include <limits>

namespace {

constexpr qsizetype kMaximumLength = std::numeric_limits<quint32>::max();

using Run = NSAttributedString::Run;

QList<Run> singleRun(const QString &string, const NSAttributeDictionary &attributes)
{
    return string.isEmpty() ? QList<Run>() : QList<Run>{{0, attributes}};
}

} // namespace

NSAttributedString::NSAttributedString(const QString &string, const NSAttributeDictionary &attributes)
    : _string(string.size() > kMaximumLength ? string.left(kMaximumLength) : string),
      _runs(singleRun(string, attributes))
{
}

NSRange NSAttributedString::rangeOfRun(qsizetype run) const
{
    const qsizetype start = _runs.at(run).start;
    const qsizetype end = run + 1 < _runs.size() ? _runs.at(run + 1).start : _string.size();
    return {start, end - start};
}

qsizetype NSAttributedString::runAtIndex(qsizetype index) const
{
    const auto behind = std::upper_bound(_runs.cbegin(), _runs.cend(), index,
                                         [](qsizetype i, const Run &run) { return i < run.start; });
    return std::distance(_runs.cbegin(), behind) - 1;
}

NSAttributeDictionary NSAttributedString::attributesAtIndex(qsizetype index, NSRange *longestEffectiveRange,
                                                            std::optional<NSRange> inRange) const
{
    if (index < 0 || index >= _string.size()) {
        if (longestEffectiveRange)
            *longestEffectiveRange = {NSNotFound, 0};
        return {};
    }
    const qsizetype run = runAtIndex(index);
    if (longestEffectiveRange) {
        const NSRange limit = inRange ? inRange->clippedTo(_string.size()) : NSRange{0, _string.size()};
        const NSRange whole = rangeOfRun(run);
        const qsizetype from = std::max(whole.location, limit.location);
        const qsizetype to = std::min(whole.end(), limit.end());
        *longestEffectiveRange = {from, std::max<qsizetype>(to - from, 0)};
    }
    return _runs.at(run).attributes;
}

QVariant NSAttributedString::attribute(NSAttributeKey key, qsizetype index, NSRange *longestEffectiveRange,
                                       std::optional<NSRange> inRange) const
{
    const QVariant value = attributesAtIndex(index, longestEffectiveRange, inRange).value(key);
    if (!longestEffectiveRange || longestEffectiveRange->location == NSNotFound)
        return value;

    const NSRange limit = inRange ? inRange->clippedTo(_string.size()) : NSRange{0, _string.size()};
    qsizetype first = runAtIndex(index);
    qsizetype last = first;
    const auto continues = [&](qsizetype run) {
        return sameValue(_runs.at(run).attributes.value(key), value);
    };
    while (first > 0 && _runs.at(first).start > limit.location && continues(first - 1))
        --first;
    while (last + 1 < _runs.size() && _runs.at(last + 1).start < limit.end() && continues(last + 1))
        ++last;
    const qsizetype from = std::max<qsizetype>(_runs.at(first).start, limit.location);
    const qsizetype to = std::min(rangeOfRun(last).end(), limit.end());
    *longestEffectiveRange = {from, std::max<qsizetype>(to - from, 0)};
    return value;
}

NSAttributedString NSAttributedString::attributedSubstringFromRange(NSRange range) const
{
    range = range.clippedTo(_string.size());
    if (range.length == _string.size())
        return *this;
    NSAttributedString part;
    if (range.isEmpty())
        return part;
    part._string = _string.mid(range.location, range.length);
    const qsizetype first = runAtIndex(range.location);
    const qsizetype last = runAtIndex(range.end() - 1);
    part._runs.reserve(last - first + 1);
    for (qsizetype run = first; run <= last; ++run) {
        const qsizetype start = std::max<qsizetype>(_runs.at(run).start, range.location);
        part._runs.append({static_cast<quint32>(start - range.location), _runs.at(run).attributes});
    }
    return part;
}

NSMutableAttributedString NSAttributedString::mutableCopy() const
{
    return NSMutableAttributedString(*this);
}

bool operator==(const NSAttributedString &a, const NSAttributedString &b)
{
    return a._string == b._string && a._runs == b._runs;
}
