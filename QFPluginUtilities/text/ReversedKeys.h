#pragma once

#include "platform/QFExport.h"

#include <QtGlobal>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Keys, prepared so that all of them can be compared at once with a text, from a place backwards. The keys
/// that agree with the units read so far are a node of the tree of the reversed keys, so a unit costs one
/// look-up, however many keys there are. Preparation is linear in the keys' total length, and takes
/// up to 64 Ki steps more for a long text.
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
    /// After the last key, before the first question. For a text of that length: longer ones are worth more
    /// preparation.
    void prepare(qsizetype textLength);

    [[nodiscard]] bool isEmpty() const { return _keys.empty(); }
    /// Of all keys.
    [[nodiscard]] qsizetype shortestLength() const { return _shortest; }
    [[nodiscard]] std::u16string_view key(qint32 number) const { return _keys[std::size_t(number)]; }

    /// Units that `skip` looks at before the window's last one.
    [[nodiscard]] qsizetype unitsBefore() const { return std::max(_glance - 1, 0); }
    /// A window that has to be looked at closely, and what is known of it.
    struct Stop
    {
        qsizetype window;
        qint32 node = kNone; ///< of the keys that agree with its last `unitsBefore` + 1 units, unless kNone
    };
    /// Moves windows on as long as their last few units are enough to tell that no key is there, and by how
    /// much to move. The window where that ends may lie beyond `length`. `units` is the text; `unitsBefore`
    /// units stand before the window.
    [[nodiscard]] Stop skip(const char16_t *units, qsizetype window, qsizetype length) const;

    [[nodiscard]] const Unit &unit(char16_t unit) const { return (*_pages[unit >> 8])[unit & 0xFF]; }
    /// Whether the unit stands that far from the end of any key.
    [[nodiscard]] bool occurs(qsizetype distance, char16_t unit) const
    {
        return distance < kMaskedDistances ? (this->unit(unit).distances >> distance & 1) != 0
                                           : occursFarOff(distance, unit);
    }

    /// How far a window moves on whose unit at that distance from its last agrees with no key that is left. A
    /// unit that no key has there moves it by what its last unit allows. Otherwise it moves by the shortest
    /// key's length, although a key may be stepped over: meant.
    [[nodiscard]] qsizetype advance(const Unit &last, qsizetype distance, char16_t unit) const
    {
        return occurs(distance, unit) ? _shortest : last.shift;
    }

    /// The keys that agree with the units read so far, from a window's last one backwards.
    struct Agreeing
    {
        qint32 node;
        qint32 only; ///< the only one, whose further units are compared without the tree, or kNone
    };

    /// All keys of a node.
    [[nodiscard]] Agreeing at(qint32 node) const { return {node, _nodes[std::size_t(node)].only}; }
    /// The one that is whole after `depth` units, or kNone. No longer key that ends with it can be met.
    [[nodiscard]] qint32 wholeKey(const Agreeing &keys, qsizetype depth) const
    {
        if (keys.only == kNone)
            return _nodes[std::size_t(keys.node)].whole;
        return qsizetype(key(keys.only).size()) == depth ? keys.only : kNone;
    }
    /// Keeps those that have `unit` at that distance from their end; false when there are none.
    [[nodiscard]] bool narrow(Agreeing &keys, qsizetype distance, char16_t unit) const
    {
        if (keys.only != kNone) {
            const std::u16string_view only = key(keys.only);
            return only[only.size() - 1 - std::size_t(distance)] == unit;
        }
        const qint32 next = child(keys.node, unit);
        if (next != kNone)
            keys = at(next);
        return next != kNone;
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
    [[nodiscard]] bool occursFarOff(qsizetype distance, char16_t unit) const;
    Unit &changeableUnit(char16_t unit);
    void noteUnits(const std::u16string &key);
    void noteFarUnits();
    void insert(qint32 number);
    [[nodiscard]] qint32 newNode(qint32 number, qsizetype depth);
    void addEdge(qint32 node, char16_t unit, qint32 child);
    void growEdges();
    void prepareGlance(qsizetype textLength);
    void fillGlance(const Unit &last, const Agreeing &keys, int depth, std::size_t index);
    void fillGlance(std::size_t index, int depth, qsizetype advance);
    [[nodiscard]] std::size_t classOf(char16_t unit) const
    {
        return unit < _latinClasses.size() ? _latinClasses[unit] : _classPages[unit >> 8][unit & 0xFF];
    }
    template <int depth>
    [[nodiscard]] Stop skipped(const char16_t *units, qsizetype window, qsizetype length) const;

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

    // Where a window goes on to, by the classes of its last units: 0 where that takes a closer look. Each
    // unit of the keys is a class of its own, all others are class 0.
    int _glance = 0;                  ///< units that are looked at; 0 for no table
    std::u16string _unitOfClass;      ///< from class 1 on
    std::vector<quint8> _advances;    ///< the class of the last unit counts most
    std::vector<qint32> _glanceNodes; ///< for the windows that take a closer look
    std::array<quint8, 256> _latinClasses;
    std::vector<std::array<quint8, 256>> _classes; ///< the first is that of units that no key has
    std::array<const quint8 *, 256> _classPages;
};
