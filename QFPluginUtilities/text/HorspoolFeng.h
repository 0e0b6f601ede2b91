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

/// Compares the text before and at `end`, the index of the window's last unit, with all keys at once. The
/// shortest key that ends there is met.
template <typename Text>
Window look(const Text &text, long end, const ReversedKeys &keys)
{
    const ReversedKeys::Unit &last = keys.unit(text[end]);
    if (last.node == ReversedKeys::kNone)
        return {last.shift};
    qint32 node = last.node;
    qint32 only = ReversedKeys::kNone; // whose remaining units are compared without the tree
    for (long depth = 1;; depth++) {
        if (only == ReversedKeys::kNone) {
            if (const qint32 whole = keys.wholeKey(node); whole != ReversedKeys::kNone)
                return {0, whole};
            only = keys.onlyKey(node);
        } else if (long(keys.key(only).size()) == depth) {
            return {0, only};
        }
        if (depth > end) // nothing stands before the text, not even NUL
            return {last.shift};
        const char16_t unit = text[end - depth];
        bool agrees;
        if (only != ReversedKeys::kNone) {
            const std::u16string_view key = keys.key(only);
            agrees = key[key.size() - 1 - std::size_t(depth)] == unit;
        } else {
            node = keys.child(node, unit);
            agrees = node != ReversedKeys::kNone;
        }
        if (agrees)
            continue;
        // A unit that no key has there moves the window by what its last unit allows. Otherwise it moves by
        // the shortest key's length, although a key may be stepped over: meant.
        return {keys.occurs(depth, unit) ? long(keys.shortestLength()) : long(last.shift)};
    }
}

} // namespace HorspoolFeng

/// Replaces every occurrence of a key by its value, in one pass from left to right. `Text` has `length()`,
/// `operator[]` and `replace(position, length, const ns::string &)`; iterators yield pairs of key and value,
/// as strings, texts or generic values. Pairs with an empty key, or without a string on either side, are
/// skipped; with no pair left nothing changes. Lone surrogates are units like others.
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
/// Cost: linear in the text and in the keys' total length.
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
    keys.prepare();
    const auto shortest = long(keys.shortestLength());
    HorspoolFeng::Bounds bounds(text.length());
    long length = text.length();
    for (long window = shortest; window < length;) {
        const auto [advance, key] = HorspoolFeng::look(text, window, keys);
        window += advance;
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
