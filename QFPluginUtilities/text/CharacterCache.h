#pragma once

#include <QtGlobal>

#include <algorithm>
#include <array>

namespace ns {

/// Reads the units of a string one by one, cheaply when they lie close together: from the string's own
/// storage when it shows that, otherwise from a window of 64 units that is copied at once. A source has
/// `qsizetype length() const`, `const char16_t *storage() const` (nullptr when it shows none) and
/// `void copy(qsizetype start, qsizetype end, char16_t *units) const`. One thread at a time.
template <typename Source>
class CharacterCache
{
public:
    /// The unit at an index, 0 outside the string.
    char16_t at(const Source &source, qsizetype index)
    {
        if (!_isInitialised)
            initialise(source);
        if (_storage != nullptr)
            return index >= 0 && index < _length ? _storage[index] : u'\0';
        if (index >= _start && index < _end)
            return _units[std::size_t(index - _start)];
        if (index < 0 || index >= _length)
            return u'\0';
        refill(source, index);
        return _units[std::size_t(index - _start)];
    }

    /// To be called when the string has changed.
    void invalidate() { _isInitialised = false; }

private:
    static constexpr qsizetype kBackwards = 4; ///< units before the one asked for, for short steps back

    void initialise(const Source &source)
    {
        _length = source.length();
        _storage = source.storage();
        _start = _end = 0;
        _isInitialised = true;
    }

    void refill(const Source &source, qsizetype index)
    {
        _start = std::max(index - kBackwards, qsizetype(0));
        _end = std::min(_start + qsizetype(_units.size()), _length);
        source.copy(_start, _end, _units.data());
    }

    bool _isInitialised = false;
    std::array<char16_t, 64> _units;
    const char16_t *_storage = nullptr;
    qsizetype _length = 0;
    qsizetype _start = 0; ///< of the window
    qsizetype _end = 0;
};

} // namespace ns
