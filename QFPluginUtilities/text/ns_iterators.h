#pragma once

#include "platform/Values.h"

#include <QStringList>
#include <QVariant>

#include <algorithm>
#include <compare>
#include <cstddef>
#include <iterator>
#include <utility>

// Containers as generic algorithms walk over them. A walk sees the container as it was when it began.
namespace ns {

/// What iterators with an index have in common. `Iterator` has `count()`, the index of the end.
template <typename Iterator, typename Value>
class IndexIterator
{
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = Value;
    using difference_type = std::ptrdiff_t;
    using pointer = const Value *;
    using reference = Value;

    [[nodiscard]] qsizetype index() const { return _index; }

    /// Never leaves the container.
    Iterator &operator+=(difference_type steps)
    {
        _index = std::clamp<qsizetype>(_index + steps, 0, self().count());
        return self();
    }
    Iterator &operator-=(difference_type steps) { return *this += -steps; }
    Iterator &operator++() { return *this += 1; }
    Iterator &operator--() { return *this += -1; }
    Iterator operator++(int)
    {
        Iterator before = self();
        ++*this;
        return before;
    }
    friend Iterator operator+(Iterator iterator, difference_type steps) { return iterator += steps; }
    friend difference_type operator-(const Iterator &a, const Iterator &b) { return a._index - b._index; }
    friend std::strong_ordering operator<=>(const Iterator &a, const Iterator &b)
    {
        return a._index <=> b._index;
    }

protected:
    explicit IndexIterator(qsizetype index) : _index(index) {}
    qsizetype _index;

private:
    Iterator &self() { return static_cast<Iterator &>(*this); }
};

struct array
{
    class iterator : public IndexIterator<iterator, QVariant>
    {
    public:
        explicit iterator(QVariantList elements = {}, qsizetype index = 0)
            : IndexIterator(index), _elements(std::move(elements))
        {
        }

        /// The element, nil at the end.
        QVariant operator*() const { return _elements.value(_index); }
        [[nodiscard]] qsizetype count() const { return _elements.size(); }
        /// By place and count: walks over different arrays are not to be compared.
        friend bool operator==(const iterator &a, const iterator &b)
        {
            return a._index == b._index && a.count() == b.count();
        }

    private:
        QVariantList _elements;
    };

    [[nodiscard]] static iterator begin(const QVariantList &elements) { return iterator(elements); }
    [[nodiscard]] static iterator end(const QVariantList &elements)
    {
        return iterator(elements, elements.size());
    }
};

struct dictionary
{
    class iterator : public IndexIterator<iterator, std::pair<QString, QVariant>>
    {
    public:
        explicit iterator(const QVariantMap &entries = {}) : iterator(entries, 0) {}
        iterator(const QVariantMap &entries, qsizetype index)
            : IndexIterator(index), _entries(entries), _keys(entries.keys())
        {
        }

        /// A key and its value, both nil at the end.
        std::pair<QString, QVariant> operator*() const
        {
            const QString key = _keys.value(_index);
            return {key, key.isNull() ? QVariant() : _entries.value(key)};
        }
        [[nodiscard]] qsizetype count() const { return _keys.size(); }
        friend bool operator==(const iterator &a, const iterator &b)
        {
            // The same dictionary is equal to itself, whatever values are in it.
            return a._index == b._index && a._keys == b._keys &&
                   (a._entries.isSharedWith(b._entries) || sameValue(a._entries, b._entries));
        }

    private:
        QVariantMap _entries;
        QStringList _keys;
    };

    [[nodiscard]] static iterator begin(const QVariantMap &entries) { return iterator(entries); }
    [[nodiscard]] static iterator end(const QVariantMap &entries)
    {
        return iterator(entries, entries.size());
    }
};

} // namespace ns

/// Iterators of dictionaries and arrays.
namespace CXXEnumerationIterator {

[[nodiscard]] inline ns::dictionary::iterator beginEnumerator(const QVariantMap &dictionary)
{
    return ns::dictionary::begin(dictionary);
}

[[nodiscard]] inline ns::dictionary::iterator endEnumerator(const QVariantMap &dictionary)
{
    return ns::dictionary::end(dictionary);
}

/// Over the keys.
[[nodiscard]] inline ns::array::iterator beginKeyEnumerator(const QVariantMap &dictionary)
{
    return ns::array::begin(QVariant(dictionary.keys()).toList());
}

[[nodiscard]] inline ns::array::iterator endKeyEnumerator(const QVariantMap &dictionary)
{
    return ns::array::end(QVariant(dictionary.keys()).toList());
}

/// Over the values.
[[nodiscard]] inline ns::array::iterator beginObjectEnumerator(const QVariantMap &dictionary)
{
    return ns::array::begin(dictionary.values());
}

[[nodiscard]] inline ns::array::iterator endObjectEnumerator(const QVariantMap &dictionary)
{
    return ns::array::end(dictionary.values());
}

[[nodiscard]] inline ns::array::iterator beginObjectEnumerator(const QVariantList &array)
{
    return ns::array::begin(array);
}

[[nodiscard]] inline ns::array::iterator endObjectEnumerator(const QVariantList &array)
{
    return ns::array::end(array);
}

} // namespace CXXEnumerationIterator
