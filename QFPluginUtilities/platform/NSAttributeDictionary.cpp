#include "platform/NSAttributeDictionary.h"

#include "platform/Values.h"

#include <algorithm>

namespace {

bool keyBefore(const NSAttributeDictionary::Entry &a, const NSAttributeDictionary::Entry &b)
{
    return a.first < b.first;
}

/// Sorts by key and keeps the last of several entries for one key, without nils and null keys.
void makeCanonical(std::vector<NSAttributeDictionary::Entry> &entries)
{
    std::stable_sort(entries.begin(), entries.end(), keyBefore);
    auto out = entries.begin();
    for (auto it = entries.begin(); it != entries.end(); ++it) {
        const bool overwritten = std::next(it) != entries.end() && std::next(it)->first == it->first;
        if (overwritten || it->first.isNull() || isNil(it->second))
            continue;
        if (out != it)
            *out = std::move(*it);
        ++out;
    }
    entries.erase(out, entries.end());
}

} // namespace

NSAttributeDictionary::NSAttributeDictionary(std::initializer_list<Entry> entries)
    : NSAttributeDictionary(std::vector<Entry>(entries))
{
}

NSAttributeDictionary::NSAttributeDictionary(std::vector<Entry> entries)
{
    makeCanonical(entries);
    if (entries.empty())
        return;
    _data = new Data;
    _data->entries = std::move(entries);
}

const QVariant *NSAttributeDictionary::find(NSAttributeKey key) const
{
    if (!_data)
        return nullptr;
    // A run has a handful of attributes: a plain walk beats a binary search.
    for (const Entry &entry : _data->entries) {
        if (entry.first == key)
            return &entry.second;
    }
    return nullptr;
}

QVariant NSAttributeDictionary::value(NSAttributeKey key) const
{
    const QVariant *found = find(key);
    return found ? *found : QVariant();
}

NSAttributeDictionary NSAttributeDictionary::withValue(NSAttributeKey key, const QVariant &value) const
{
    std::vector<Entry> entries(this->entries().begin(), this->entries().end());
    entries.emplace_back(key, value);
    if (isNil(value))
        std::erase_if(entries, [key](const Entry &entry) { return entry.first == key; });
    return NSAttributeDictionary(std::move(entries));
}

NSAttributeDictionary NSAttributeDictionary::withoutKey(NSAttributeKey key) const
{
    return contains(key) ? withValue(key, {}) : *this;
}

std::span<const NSAttributeDictionary::Entry> NSAttributeDictionary::entries() const
{
    return _data ? std::span<const Entry>(_data->entries) : std::span<const Entry>();
}

bool operator==(const NSAttributeDictionary &a, const NSAttributeDictionary &b)
{
    if (a.address() == b.address())
        return true;
    return std::ranges::equal(a.entries(), b.entries(), [](const auto &x, const auto &y) {
        return x.first == y.first && sameValue(x.second, y.second);
    });
}
