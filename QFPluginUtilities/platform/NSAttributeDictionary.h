#pragma once

#include "platform/NSAttributeKey.h"

#include <QExplicitlySharedDataPointer>
#include <QSharedData>
#include <QVariant>

#include <initializer_list>
#include <span>
#include <utility>
#include <vector>

/// The attributes of one run of text: an immutable, shared map from interned keys to values, kept as one flat
/// vector sorted by key. Copying is one reference count; comparing looks at the address first. Nil values are
/// never stored. Reading is safe on any thread.
class QF_EXPORT NSAttributeDictionary
{
public:
    using Entry = std::pair<NSAttributeKey, QVariant>;

    NSAttributeDictionary() = default;
    /// Of several values for one key the last wins; nil values and null keys are left out.
    NSAttributeDictionary(std::initializer_list<Entry> entries);
    explicit NSAttributeDictionary(std::vector<Entry> entries);

    [[nodiscard]] bool isEmpty() const { return !_data; }
    [[nodiscard]] qsizetype count() const
    {
        return _data ? static_cast<qsizetype>(_data->entries.size()) : 0;
    }
    [[nodiscard]] bool contains(NSAttributeKey key) const { return find(key) != nullptr; }

    /// The value under `key`, or an invalid variant.
    [[nodiscard]] QVariant value(NSAttributeKey key) const;
    /// The value under `key` without a copy, or nullptr. It lives as long as a dictionary that shares these
    /// data.
    [[nodiscard]] const QVariant *find(NSAttributeKey key) const;
    /// The value under `key` if it is exactly a T, else nullptr: a value of a wrong type counts as absent.
    template <typename T>
    [[nodiscard]] const T *find(NSAttributeKey key) const
    {
        const QVariant *found = find(key);
        if (!found || found->metaType() != QMetaType::fromType<T>())
            return nullptr;
        return static_cast<const T *>(found->constData());
    }

    /// A dictionary with one entry set (a nil value removes it).
    [[nodiscard]] NSAttributeDictionary withValue(NSAttributeKey key, const QVariant &value) const;
    [[nodiscard]] NSAttributeDictionary withoutKey(NSAttributeKey key) const;

    /// All entries, in the order of their keys' numbers (not of their names).
    [[nodiscard]] std::span<const Entry> entries() const;

    /// Same for dictionaries that share their data. Different addresses can still be equal.
    [[nodiscard]] const void *address() const { return _data.constData(); }

    /// Equal keys with equal values (`sameValue`): numbers by value, objects by identity.
    QF_EXPORT friend bool operator==(const NSAttributeDictionary &a, const NSAttributeDictionary &b);

private:
    struct Data : QSharedData
    {
        std::vector<Entry> entries;
    };
    QExplicitlySharedDataPointer<Data> _data;
};

Q_DECLARE_TYPEINFO(NSAttributeDictionary, Q_RELOCATABLE_TYPE);
