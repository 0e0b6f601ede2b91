#pragma once

#include "platform/QFExport.h"

#include <QtGlobal>

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Keys, prepared so that all of them can be compared at once with a text, from a place backwards. The keys
/// that agree with the units read so far are a node of the tree of the reversed keys, so a unit costs one
/// look-up, however many keys there are. Preparation is linear in the keys' total length.
class QF_EXPORT ReversedKeys
{
public:
    static constexpr qint32 kNone = -1;

    /// What is known of a unit before anything else.
    struct Unit
    {
        qint32 shift;          ///< how far a window that ends with it may move on when the text differs
        qint32 node = kNone;   ///< of the keys that end with it
        quint64 distances = 0; ///< bit j: it stands j units before the end of some key
    };

    ReversedKeys();
    ~ReversedKeys();
    ReversedKeys(const ReversedKeys &) = delete;
    ReversedKeys &operator=(const ReversedKeys &) = delete;

    /// Keys are numbered in the order of their addition. Not empty, and each only once.
    void add(std::u16string key);
    /// After the last key, before the first question.
    void prepare();

    [[nodiscard]] bool isEmpty() const { return _keys.empty(); }
    /// Of all keys.
    [[nodiscard]] qsizetype shortestLength() const { return _shortest; }
    [[nodiscard]] std::u16string_view key(qint32 number) const { return _keys[std::size_t(number)]; }

    [[nodiscard]] const Unit &unit(char16_t unit) const { return (*_pages[unit >> 8])[unit & 0xFF]; }
    /// Whether the unit stands that far from the end of any key.
    [[nodiscard]] bool occurs(qsizetype distance, char16_t unit) const
    {
        return distance < kMaskedDistances ? (this->unit(unit).distances >> distance & 1) != 0
                                           : occursFarOff(distance, unit);
    }

    /// The key that is whole at this node, or kNone. No longer key that ends with it can be met.
    [[nodiscard]] qint32 wholeKey(qint32 node) const { return _nodes[std::size_t(node)].whole; }
    /// The only key below this node, whose further units are to be compared one by one, or kNone.
    [[nodiscard]] qint32 onlyKey(qint32 node) const { return _nodes[std::size_t(node)].only; }
    /// The node of the keys that have `unit` before what they have at this node, or kNone.
    [[nodiscard]] qint32 child(qint32 node, char16_t unit) const
    {
        const quint64 edge = quint64(node) << 16 | unit;
        for (std::size_t slot = slotOf(edge);; slot = (slot + 1) & (_edges.size() - 1)) {
            if (_edges[slot].edge == edge)
                return _edges[slot].child;
            if (_edges[slot].child == kNone)
                return kNone;
        }
    }

private:
    static constexpr qsizetype kMaskedDistances = 64;
    using Page = std::array<Unit, 256>;

    struct Node
    {
        qint32 whole = kNone;
        qint32 only = kNone;
    };
    /// In a table with open addressing, of which at most half is in use.
    struct Edge
    {
        quint64 edge = ~quint64(0); ///< node and unit
        qint32 child = kNone;
    };

    [[nodiscard]] std::size_t slotOf(quint64 edge) const
    {
        return std::size_t(edge * 0x9E3779B97F4A7C15U >> _edgeShift); // 2^64 over the golden ratio
    }
    [[nodiscard]] bool occursFarOff(qsizetype distance, char16_t unit) const;
    Unit &changeableUnit(char16_t unit);
    void noteUnits(const std::u16string &key);
    void noteFarUnits();
    void insert(qint32 number);
    [[nodiscard]] qint32 newNode(qint32 number, qsizetype depth);
    void addEdge(qint32 node, char16_t unit, qint32 child);
    void growEdges();

    std::vector<std::u16string> _keys;
    qsizetype _shortest = 0;
    qsizetype _longest = 0;
    std::array<Page *, 256> _pages;
    std::vector<std::unique_ptr<Page>> _ownPages; ///< the first is that of units that no key has
    std::vector<Node> _nodes;
    std::vector<Edge> _edges;
    std::size_t _edgeCount = 0;
    int _edgeShift = 64;
    /// For each distance from kMaskedDistances on, where its units, in order, begin in `_farUnits`.
    std::vector<std::size_t> _farStarts;
    std::u16string _farUnits;
};
