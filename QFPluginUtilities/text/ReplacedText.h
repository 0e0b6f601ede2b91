#pragma once

#include "text/GrowthEstimate.h"
#include "text/ns_string.h"

#include <QString>
#include <QStringView>

#include <algorithm>
#include <string>
#include <utility>

/// A text in which ranges are replaced from left to right, at a cost that does not depend on what follows
/// them. What lies before the last replacement is in a string of its own; what follows is still the original.
/// Where replacements are themselves looked at again (`isRescanned`), they go in front of what follows.
template <bool isRescanned>
class ReplacedText
{
public:
    explicit ReplacedText(const QString &original) : _original(original), _rest(_original) {}

    [[nodiscard]] long length() const { return long(_done.size() + pending() + _rest.size()); }

    /// The unit at an index, which must lie in the text.
    [[nodiscard]] char16_t operator[](long index) const
    {
        if (index < _done.size())
            return _done.constData()[index].unicode();
        index -= long(_done.size());
        if constexpr (isRescanned) {
            if (index < pending())
                return _pending[_pending.size() - 1 - std::size_t(index)];
            index -= long(pending());
        }
        return _rest.utf16()[index];
    }

    /// The units of the original that follow, up to the end, and the index of the first.
    [[nodiscard]] std::pair<const char16_t *, long> rest() const
    {
        return {_rest.utf16(), length() - long(_rest.size())};
    }

    /// The range must end in what has not been replaced yet or is looked at again.
    void replace(long position, long length, const ns::string &replacement)
    {
        const qsizetype end = position + length - _done.size(); // counted from the end of what is done
        if (position < _done.size()) {
            _done.truncate(position);
            drop(end, false);
        } else {
            makeRoom();
            drop(position - _done.size(), true);
            drop(length, false);
        }
        if constexpr (isRescanned) {
            const QString &value = replacement.text();
            const std::u16string_view units(reinterpret_cast<const char16_t *>(value.utf16()),
                                            std::size_t(value.size()));
            _pending.append(units.rbegin(), units.rend());
        } else {
            _done += replacement.text();
        }
        _isChanged = true;
    }

    /// The text as it is now.
    [[nodiscard]] QString take()
    {
        if (!_isChanged)
            return _original;
        drop(pending() + _rest.size(), true);
        return std::move(_done);
    }

private:
    enum class Room : quint8 { None, LikeOriginal, Estimated };

    [[nodiscard]] qsizetype pending() const { return isRescanned ? qsizetype(_pending.size()) : 0; }

    /// As much as the original takes and, once its beginning shows how it grows, as that lets expect. A
    /// beginning with a huge value in it says nothing about the rest.
    void makeRoom()
    {
        constexpr qsizetype kMostGrowth = 4;
        const qsizetype read = _original.size() - _rest.size();
        if (_room == Room::None) {
            _room = Room::LikeOriginal;
            _done.reserve(_original.size());
            adviseLargePages(_done.data(), std::size_t(_done.capacity()) * sizeof(QChar));
        } else if (_room == Room::LikeOriginal && read >= estimateAfter) {
            _room = Room::Estimated;
            if (_done.size() / read < kMostGrowth)
                reserveLikeBeginning(_done, read, _original.size(), 0);
        }
    }

    /// Takes units from the front of what follows, and keeps them as done or not.
    void drop(qsizetype count, bool isKept)
    {
        if constexpr (isRescanned) {
            const qsizetype first = std::min(count, pending());
            for (qsizetype i = 0; i < first; i++) {
                if (isKept)
                    _done += QChar(_pending.back());
                _pending.pop_back();
            }
            count -= first;
        }
        if (isKept)
            _done += _rest.first(count);
        _rest = _rest.sliced(count);
    }

    const QString _original;
    QString _done;
    std::u16string _pending; ///< last unit first
    QStringView _rest;       ///< of the original
    bool _isChanged = false;
    Room _room = Room::None;
};
