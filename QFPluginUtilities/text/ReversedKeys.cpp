#include "text/ReversedKeys.h"

#include <algorithm>
#include <bit>
#include <bitset>
#include <utility>

ReversedKeys::ReversedKeys() = default;

ReversedKeys::~ReversedKeys() = default;

void ReversedKeys::add(std::u16string key)
{
    const auto length = qsizetype(key.size());
    _shortest = _keys.empty() ? length : std::min(_shortest, length);
    _longest = std::max(_longest, length);
    _keys.push_back(std::move(key));
}

void ReversedKeys::prepare(qsizetype textLength)
{
    _ownPages.push_back(std::make_unique<Page>());
    _ownPages.front()->fill(Unit{qint32(_shortest)});
    _pages.fill(_ownPages.front().get());
    for (const std::u16string &key : _keys)
        noteUnits(key);
    noteFarUnits();
    growEdges();
    for (std::size_t number = 0; number < _keys.size(); number++)
        insert(qint32(number));
    prepareGlance(textLength);
}

ReversedKeys::Unit &ReversedKeys::changeableUnit(char16_t unit)
{
    Page *&page = _pages[unit >> 8];
    if (page == _ownPages.front().get()) {
        _ownPages.push_back(std::make_unique<Page>(*page));
        page = _ownPages.back().get();
    }
    return (*page)[unit & 0xFF];
}

/// Shifts and near distances. The last unit of a key shifts nothing.
void ReversedKeys::noteUnits(const std::u16string &key)
{
    for (std::size_t i = 0; i < key.size(); i++) {
        Unit &unit = changeableUnit(key[i]);
        const auto distance = qsizetype(key.size() - 1 - i);
        if (distance > 0)
            unit.shift = qint32(std::min<qsizetype>(unit.shift, distance));
        if (distance < kMaskedDistances)
            unit.distances |= quint64(1) << distance;
    }
}

void ReversedKeys::noteFarUnits()
{
    std::vector<std::u16string_view> keys; // those that reach so far
    for (const std::u16string &key : _keys) {
        if (qsizetype(key.size()) > kMaskedDistances)
            keys.push_back(key);
    }
    std::bitset<0x10000> seen;
    for (qsizetype distance = kMaskedDistances; distance < _longest; distance++) {
        _farStarts.push_back(_farUnits.size());
        std::erase_if(keys, [&](std::u16string_view key) { return qsizetype(key.size()) <= distance; });
        for (const std::u16string_view key : keys) {
            const char16_t unit = key[key.size() - 1 - std::size_t(distance)];
            if (!seen[unit])
                _farUnits += unit;
            seen[unit] = true;
        }
        const auto start = _farUnits.begin() + std::ptrdiff_t(_farStarts.back());
        std::sort(start, _farUnits.end());
        std::for_each(start, _farUnits.end(), [&](char16_t unit) { seen[unit] = false; });
    }
    _farStarts.push_back(_farUnits.size());
}

bool ReversedKeys::occursFarOff(qsizetype distance, char16_t unit) const
{
    const auto index = std::size_t(distance - kMaskedDistances);
    if (index + 1 >= _farStarts.size())
        return false;
    return std::binary_search(_farUnits.begin() + std::ptrdiff_t(_farStarts[index]),
                              _farUnits.begin() + std::ptrdiff_t(_farStarts[index + 1]), unit);
}

/// Follows the key from its end down the tree as far as other keys share it. A key that ends with a shorter
/// one is left out from there on: the shorter one is always met first.
void ReversedKeys::insert(qint32 number)
{
    const std::u16string &key = _keys[std::size_t(number)];
    Unit &last = changeableUnit(key.back());
    if (last.node == kNone) {
        last.node = newNode(number, 1);
        return;
    }
    qint32 node = last.node;
    for (std::size_t depth = 1;; depth++) {
        if (_nodes[std::size_t(node)].whole != kNone)
            return;
        if (key.size() == depth) {
            _nodes[std::size_t(node)] = {number, kNone};
            return;
        }
        if (const qint32 other = std::exchange(_nodes[std::size_t(node)].only, kNone); other != kNone) {
            const std::u16string &otherKey = _keys[std::size_t(other)];
            addEdge(node, otherKey[otherKey.size() - 1 - depth], newNode(other, qsizetype(depth) + 1));
        }
        const char16_t unit = key[key.size() - 1 - depth];
        const qint32 next = child(node, unit);
        if (next == kNone) {
            addEdge(node, unit, newNode(number, qsizetype(depth) + 1));
            return;
        }
        node = next;
    }
}

/// For one key, `depth` units from its end.
qint32 ReversedKeys::newNode(qint32 number, qsizetype depth)
{
    const bool isWhole = qsizetype(_keys[std::size_t(number)].size()) == depth;
    _nodes.push_back(isWhole ? Node{number, kNone} : Node{kNone, number});
    return qint32(_nodes.size() - 1);
}

void ReversedKeys::addEdge(qint32 node, char16_t unit, qint32 child)
{
    if (++_edgeCount * 2 > _edges.size())
        growEdges();
    const quint64 edge = quint64(node) << 16 | unit;
    std::size_t slot = slotOf(edge);
    while (_edges[slot].child != kNone)
        slot = (slot + 1) & (_edges.size() - 1);
    _edges[slot] = {edge, child};
}

void ReversedKeys::growEdges()
{
    std::vector<Edge> old(std::max<std::size_t>(16, _edges.size() * 2));
    old.swap(_edges);
    _edgeShift = 64 - std::countr_zero(_edges.size());
    for (const Edge &edge : old) {
        if (edge.child == kNone)
            continue;
        std::size_t slot = slotOf(edge.edge);
        while (_edges[slot].child != kNone)
            slot = (slot + 1) & (_edges.size() - 1);
        _edges[slot] = edge;
    }
}

/// The table has as many units as fit into a size that the processor keeps at hand and that the text's length
/// is worth.
void ReversedKeys::prepareGlance(qsizetype textLength)
{
    constexpr int kMostUnits = 3;
    constexpr std::size_t kLargest = 0x10000;
    std::bitset<0x10000> seen;
    for (const std::u16string &key : _keys) {
        for (const char16_t unit : key) {
            if (!seen[unit])
                _unitOfClass += unit;
            seen[unit] = true;
        }
    }
    const std::size_t classes = _unitOfClass.size() + 1;
    const std::size_t largest = std::min(kLargest, std::size_t(textLength) / 8);
    std::size_t size = 1;
    while (classes <= 0x100 && _glance < kMostUnits && size * classes <= largest) {
        size *= classes;
        _glance++;
    }
    if (_glance == 0)
        return;
    std::array<quint8, 256> pageOf{}; // 0 is the page of units that no key has
    _classes.emplace_back();
    _classes.back().fill(0);
    for (std::size_t i = 0; i < _unitOfClass.size(); i++) {
        const char16_t unit = _unitOfClass[i];
        quint8 &page = pageOf[unit >> 8];
        if (page == 0) {
            page = quint8(_classes.size());
            _classes.push_back(_classes.front());
        }
        _classes[page][unit & 0xFF] = quint8(i + 1);
    }
    for (std::size_t i = 0; i < pageOf.size(); i++)
        _classPages[i] = _classes[pageOf[i]].data();
    std::copy_n(_classPages[0], _latinClasses.size(), _latinClasses.begin());
    _advances.assign(size, 0);
    _glanceNodes.assign(size, kNone);
    for (std::size_t i = 0; i < classes; i++) {
        const Unit &last = i == 0 ? _ownPages.front()->front() : unit(_unitOfClass[i - 1]);
        if (last.node == kNone)
            fillGlance(i, 1, last.shift);
        else
            fillGlance(last, at(last.node), 1, i);
    }
}

/// For windows whose last `depth` units, of which `index` is made, agree with some keys.
void ReversedKeys::fillGlance(const Unit &last, const Agreeing &keys, int depth, std::size_t index)
{
    if (wholeKey(keys, depth) != kNone)
        return; // their advance stays 0
    if (depth == _glance) {
        _glanceNodes[index] = keys.node;
        return;
    }
    for (std::size_t i = 0; i <= _unitOfClass.size(); i++) {
        Agreeing narrowed = keys;
        const std::size_t longer = index * (_unitOfClass.size() + 1) + i;
        if (i == 0)
            fillGlance(longer, depth + 1, last.shift);
        else if (narrow(narrowed, depth, _unitOfClass[i - 1]))
            fillGlance(last, narrowed, depth + 1, longer);
        else
            fillGlance(longer, depth + 1, advance(last, depth, _unitOfClass[i - 1]));
    }
}

/// All windows that end with these units, whatever stands before them, move on alike.
void ReversedKeys::fillGlance(std::size_t index, int depth, qsizetype advance)
{
    std::size_t count = 1;
    for (; depth < _glance; depth++)
        count *= _unitOfClass.size() + 1;
    std::fill_n(_advances.begin() + std::ptrdiff_t(index * count), count,
                advance <= 0xFF ? quint8(advance) : quint8(0));
}

template <int depth>
ReversedKeys::Stop ReversedKeys::skipped(const char16_t *units, qsizetype window, qsizetype length) const
{
    const std::size_t classes = _unitOfClass.size() + 1;
    while (window < length) {
        std::size_t index = classOf(units[window]);
        for (int i = 1; i < depth; i++)
            index = index * classes + classOf(units[window - i]);
        const quint8 advance = _advances[index];
        if (advance == 0)
            return {window, _glanceNodes[index]};
        window += advance;
    }
    return {window};
}

ReversedKeys::Stop ReversedKeys::skip(const char16_t *units, qsizetype window, qsizetype length) const
{
    switch (_glance) {
    case 1:
        return skipped<1>(units, window, length);
    case 2:
        return skipped<2>(units, window, length);
    case 3:
        return skipped<3>(units, window, length);
    default:
        return {window};
    }
}
