#pragma once

#include "platform/QFExport.h"
#include "text/ReversedKeys.h"
#include "text/ns_string.h"

#include <QVariant>

#include <string>
#include <vector>

namespace Sigil {

namespace HorspoolFeng {

/// Logs that a recursive replacement was stopped.
QF_EXPORT void logEndlessReplacement();

inline ns::string textOf(const QString &text)
{
    return text;
}

/// Nil for what is no string.
inline ns::string textOf(const QVariant &value)
{
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

inline ns::string textOf(const ns::string &text)
{
    return text;
}

inline std::u16string unitsOf(const ns::string &text)
{
    return text.text().toStdU16String();
}

/// How far a recursive replacement, which need not end, may go.
class Bounds
{
public:
    explicit Bounds(long length) : _replacements(1'000'000 + 64 * qint64(length)) {}

    [[nodiscard]] bool allow(long length) { return --_replacements >= 0 && length <= kLongest; }

private:
    static constexpr long kLongest = 64L << 20; ///< units
    qint64 _replacements;
};

/// What one window came to.
struct Window
{
    long advance; ///< of its end
    qint32 key = ReversedKeys::kNone;
};

/// Compares the text before and at the window's last unit with all keys at once. The shortest key that ends
/// there is met.
template <typename Text>
Window look(const Text &text, const ReversedKeys::Stop &window, const ReversedKeys &keys)
{
    const auto end = long(window.window);
    const ReversedKeys::Unit &last = keys.unit(text[end]);
    if (last.node == ReversedKeys::kNone)
        return {last.shift};
    const bool isBegun = window.node != ReversedKeys::kNone;
    ReversedKeys::Agreeing agreeing = keys.at(isBegun ? window.node : last.node);
    for (long depth = isBegun ? long(keys.unitsBefore()) + 1 : 1;; depth++) {
        if (const qint32 whole = keys.wholeKey(agreeing, depth); whole != ReversedKeys::kNone)
            return {0, whole};
        if (depth > end) // nothing stands before the text, not even NUL
            return {last.shift};
        const char16_t unit = text[end - depth];
        if (!keys.narrow(agreeing, depth, unit))
            return {long(keys.advance(last, depth, unit))};
    }
}

/// The first window from `window` on that has to be looked at closely.
template <typename Text>
ReversedKeys::Stop skip(const Text &text, long window, const ReversedKeys &keys)
{
    if constexpr (requires { text.rest(); }) {
        const auto [units, start] = text.rest();
        if (window - start >= keys.unitsBefore()) {
            const ReversedKeys::Stop stop = keys.skip(units, window - start, text.length() - start);
            return {start + stop.window, stop.node};
        }
    }
    return {window};
}

} // namespace HorspoolFeng

/// Replaces every occurrence of a key by its value, in one pass from left to right. `Text` has `length()`,
/// `operator[]` and `replace(position, length, const ns::string &)`, and may have `rest()`, which shows its
/// units from some index to its end, and that index; iterators yield pairs of key and value, as strings,
/// texts or generic values. Pairs with an empty key, or without a string on either side, are skipped; with no
/// pair left nothing changes. Lone surrogates are units like others.
///
/// Which occurrences are found follows from how the window moves, and all of it is meant:
/// - The first window ends at the index m, the length of the shortest key, so a key of that length at the
/// very
///   beginning is not found.
/// - Of keys that end at one place, the shortest is replaced.
/// - After a replacement the next window ends m units behind the inserted value or, with `recursive`, m units
///   behind its beginning, so that the value itself is searched from its second unit on. A longer key may
///   reach back into an inserted value in both cases.
/// - When no key agrees any more, the window moves by m, which can step over an occurrence.
///
/// `start` is not used: the search always begins as above. A recursive replacement that does not end by
/// itself is stopped, with what it has made until then, and logged: after a million replacements and 64 for
/// each unit of the text, or at 64 Mi units.
///
/// Cost: linear in the keys' total length, and in the text where keys do not agree with it for long; at
/// worst, as where the text consists of the end of a key, over and over, its length times that of the longest
/// key.
template <typename Text, typename Iterator>
void StringReplaceHF(Text &text, [[maybe_unused]] long start, Iterator begin, Iterator end, bool recursive)
{
    ReversedKeys keys;
    std::vector<ns::string> values;
    for (; begin != end; ++begin) {
        const auto pair = *begin;
        const ns::string key = HorspoolFeng::textOf(pair.first);
        const ns::string value = HorspoolFeng::textOf(pair.second);
        if (key.length() == 0 || value.text().isNull())
            continue;
        keys.add(HorspoolFeng::unitsOf(key));
        values.push_back(value);
    }
    if (keys.isEmpty())
        return;
    keys.prepare(text.length());
    const auto shortest = long(keys.shortestLength());
    HorspoolFeng::Bounds bounds(text.length());
    long length = text.length();
    for (long window = shortest; window < length;) {
        const ReversedKeys::Stop stop = HorspoolFeng::skip(text, window, keys);
        if (stop.window >= length)
            return;
        const auto [advance, key] = HorspoolFeng::look(text, stop, keys);
        window = long(stop.window) + advance;
        if (key == ReversedKeys::kNone)
            continue;
        const auto matched = long(keys.key(key).size());
        const long match = window - matched + 1;
        text.replace(match, matched, values[std::size_t(key)]);
        length = text.length();
        window = match + shortest + (recursive ? 0 : values[std::size_t(key)].length());
        if (recursive && !bounds.allow(length))
            return HorspoolFeng::logEndlessReplacement();
    }
}

} // namespace Sigil
