#include "platform/NSBinaryPropertyList.h"

#include "platform/NSBinaryPropertyListWriter.h"
#include "platform/NSPropertyListValue.h"
#include "platform/Values.h"

#include <QtEndian>

#include <bit>
#include <limits>
#include <optional>
#include <vector>

namespace {

using Ref = NSBinaryPropertyListWriter::Ref;

constexpr qsizetype kTrailerSize = 32;
constexpr quint64 kMostUnfoldedValues = 1'000'000; // plus one for each byte of the file

/// What stands at the head of an object: its kind and where its contents lie.
struct Head
{
    int type = 0; // the upper half of the marker byte
    int low = 0;  // the lower half
    quint64 start = 0;
    quint64 count = 0; // elements, bytes or units
};

class Reader
{
public:
    explicit Reader(const QByteArray &data) : _data(data), _size(static_cast<quint64>(data.size())) {}

    QVariant read()
    {
        if (!readTrailer() || !readObject(_top, 0))
            return {};
        return _slots[_top].value;
    }

private:
    enum class State : quint8 { Unread, Reading, Read };

    /// One object of the file. It is read once, whatever the number of references to it.
    struct Slot
    {
        QVariant value;
        quint64 unfolded = 1; // values in it when shared parts are counted each time
        quint16 height = 0;   // levels of containers in it
        State state = State::Unread;
    };

    [[nodiscard]] quint64 number(quint64 at, int width) const
    {
        quint64 result = 0;
        for (int i = 0; i < width; ++i)
            result = result << 8 | static_cast<quint8>(_data[static_cast<qsizetype>(at) + i]);
        return result;
    }

    bool readTrailer()
    {
        if (_data.size() < 8 + 2 + kTrailerSize)
            return false;
        const quint64 trailer = _size - kTrailerSize;
        _offsetWidth = static_cast<int>(number(trailer + 6, 1));
        _refWidth = static_cast<int>(number(trailer + 7, 1));
        const quint64 count = number(trailer + 8, 8);
        _top = number(trailer + 16, 8);
        _table = number(trailer + 24, 8);
        const auto isWidth = [](int width) { return width >= 1 && width <= 8; };
        // Each object takes at least a byte before the table and an entry in it.
        if (!isWidth(_offsetWidth) || !isWidth(_refWidth) || _table < 9 || _table > trailer ||
            _top >= count || count > _table - 8 ||
            count > (trailer - _table) / static_cast<quint64>(_offsetWidth))
            return false;
        _unspent = _table - 8;
        _slots.resize(count);
        return true;
    }

    /// The head of an object, with its contents inside the file. All objects together may take no more room
    /// than the file has for objects: two that lie over each other make their reader work twice.
    std::optional<Head> readHead(quint64 object)
    {
        const quint64 at = number(_table + object * static_cast<quint64>(_offsetWidth), _offsetWidth);
        if (at < 8 || at >= _table)
            return {};
        const int marker = static_cast<int>(number(at, 1));
        Head head{marker >> 4, marker & 0xF, at + 1, static_cast<quint64>(marker & 0xF)};
        const bool counted = head.type >= 4 && head.type != 8;
        if (counted && head.low == 0xF && !readLongCount(head))
            return {};
        if (!counted)
            head.count = head.type == 8   ? head.count + 1
                         : head.type == 0 ? 0
                                          : quint64(1) << std::min(head.low, 5);
        const auto width = static_cast<quint64>(elementWidth(head.type));
        if (head.count > (_table - head.start) / width)
            return {};
        const quint64 extent = head.start - at + head.count * width;
        if (extent > _unspent)
            return {};
        _unspent -= extent;
        return head;
    }

    bool readLongCount(Head &head) const
    {
        const int marker = static_cast<int>(number(head.start, 1));
        const int width = 1 << (marker & 0x3);
        if ((marker & 0xFC) != 0x10 || head.start + 1 + static_cast<quint64>(width) > _table)
            return false;
        head.count = number(head.start + 1, width);
        head.start += 1 + static_cast<quint64>(width);
        return true;
    }

    [[nodiscard]] int elementWidth(int type) const
    {
        switch (type) {
        case 0x6:
            return 2;
        case 0xA:
            return _refWidth;
        case 0xD:
            return 2 * _refWidth;
        default:
            return 1;
        }
    }

    bool readObject(quint64 object, int depth)
    {
        if (object >= _slots.size())
            return false;
        Slot &slot = _slots[object];
        if (slot.state == State::Read)
            return depth + slot.height <= NSPropertyList::maximumDepth;
        if (slot.state == State::Reading || depth > NSPropertyList::maximumDepth)
            return false;
        slot.state = State::Reading;
        const std::optional<Head> head = readHead(object);
        if (!head || !readContents(*head, slot, depth))
            return false;
        slot.state = State::Read;
        return slot.value.isValid();
    }

    bool readContents(const Head &head, Slot &slot, int depth)
    {
        switch (head.type) {
        case 0xA:
            return readArray(head, slot, depth);
        case 0xD:
            return readDictionary(head, slot, depth);
        default:
            slot.value = scalar(head);
            return true;
        }
    }

    [[nodiscard]] QVariant scalar(const Head &head) const
    {
        const char *bytes = _data.constData() + head.start;
        const auto count = static_cast<qsizetype>(head.count);
        switch (head.type) {
        case 0x0:
            return head.low == 8 || head.low == 9 ? QVariant(head.low == 9) : QVariant();
        case 0x1:
            return integer(head);
        case 0x2:
            return real(head);
        case 0x3:
            return head.low == 3 ? date(head) : QVariant();
        case 0x4:
            return QByteArray(bytes, count);
        case 0x5:
            return QString::fromLatin1(bytes, count);
        case 0x6:
            return utf16(bytes, count);
        case 0x8:
            return uid(head);
        default:
            return {};
        }
    }

    [[nodiscard]] QVariant integer(const Head &head) const
    {
        if (head.low <= 2)
            return static_cast<qint64>(number(head.start, 1 << head.low));
        if (head.low == 3)
            return static_cast<qint64>(number(head.start, 8));
        if (head.low != 4)
            return {};
        // Sixteen bytes: only what fits in 64 bits, with or without a sign.
        const quint64 upper = number(head.start, 8);
        const quint64 lower = number(head.start + 8, 8);
        if (upper == 0)
            return lower >> 63 ? QVariant(lower) : QVariant(static_cast<qint64>(lower));
        return upper == ~quint64(0) && lower >> 63 ? QVariant(static_cast<qint64>(lower)) : QVariant();
    }

    [[nodiscard]] QVariant real(const Head &head) const
    {
        if (head.low == 2)
            return static_cast<double>(std::bit_cast<float>(static_cast<quint32>(number(head.start, 4))));
        return head.low == 3 ? QVariant(std::bit_cast<double>(number(head.start, 8))) : QVariant();
    }

    [[nodiscard]] QVariant date(const Head &head) const
    {
        const QDateTime result = dateFromReferenceDate(std::bit_cast<double>(number(head.start, 8)));
        return result.isValid() ? QVariant(result) : QVariant();
    }

    [[nodiscard]] QVariant uid(const Head &head) const
    {
        if (head.count > 8)
            return {};
        return QVariant::fromValue(NSPropertyListUID{number(head.start, static_cast<int>(head.count))});
    }

    static QString utf16(const char *bytes, qsizetype units)
    {
        QString result(units, Qt::Uninitialized);
        qFromBigEndian<quint16>(bytes, units, result.data());
        return result.isNull() ? QString::fromLatin1("") : result;
    }

    /// Reads an object that `slot` refers to, and counts it in.
    const Slot *readPart(Slot &slot, quint64 at, int depth)
    {
        const quint64 object = number(at, _refWidth);
        if (!readObject(object, depth + 1))
            return nullptr;
        const Slot &part = _slots[object];
        slot.unfolded += part.unfolded; // no overflow: both are at most the limit
        slot.height = std::max<quint16>(slot.height, part.height + 1);
        return slot.unfolded <= kMostUnfoldedValues + _size ? &part : nullptr;
    }

    bool readArray(const Head &head, Slot &slot, int depth)
    {
        QVariantList list;
        for (quint64 i = 0; i < head.count; ++i) {
            const Slot *element = readPart(slot, head.start + i * static_cast<quint64>(_refWidth), depth);
            if (!element)
                return false;
            list.append(element->value);
        }
        slot.value = list;
        return true;
    }

    bool readDictionary(const Head &head, Slot &slot, int depth)
    {
        QVariantMap map;
        const quint64 keysSize = head.count * static_cast<quint64>(_refWidth);
        for (quint64 i = 0; i < head.count; ++i) {
            const quint64 at = head.start + i * static_cast<quint64>(_refWidth);
            const Slot *key = readPart(slot, at, depth);
            const Slot *value = key ? readPart(slot, at + keysSize, depth) : nullptr;
            if (!value || key->value.typeId() != QMetaType::QString || !spendKey(key->value.toString()))
                return false;
            map.insert(key->value.toString(), value->value);
        }
        slot.value = map;
        return true;
    }

    /// Sorting by long keys that many dictionaries share costs more than the file's size: the sum is bounded.
    bool spendKey(const QString &key)
    {
        _keyUnits += static_cast<quint64>(key.size());
        return _keyUnits <= kMostUnfoldedValues + 16 * _size;
    }

    const QByteArray &_data;
    const quint64 _size;
    int _offsetWidth = 0;
    int _refWidth = 0;
    quint64 _top = 0;
    quint64 _table = 0;
    quint64 _unspent = 0;
    quint64 _keyUnits = 0;
    std::vector<Slot> _slots;
};

std::optional<Ref> addValue(NSBinaryPropertyListWriter &writer, const QVariant &value, int depth);

bool addArrayElements(NSBinaryPropertyListWriter &writer, const QVariantList &list, int depth,
                      std::vector<Ref> &out)
{
    for (const QVariant &element : list) {
        if (isNil(element))
            continue;
        const std::optional<Ref> added = addValue(writer, element, depth + 1);
        if (!added)
            return false;
        out.push_back(*added);
    }
    return true;
}

std::optional<Ref> addDictionaryValue(NSBinaryPropertyListWriter &writer, const QVariantMap &map, int depth)
{
    std::vector<Ref> keys;
    std::vector<Ref> values;
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        if (isNil(entry.value()))
            continue;
        const std::optional<Ref> added = addValue(writer, entry.value(), depth + 1);
        if (!added)
            return {};
        keys.push_back(writer.addString(entry.key()));
        values.push_back(*added);
    }
    return writer.addDictionary(keys, values);
}

std::optional<Ref> addValue(NSBinaryPropertyListWriter &writer, const QVariant &value, int depth)
{
    using Kind = NSPropertyListKind;
    if (depth > NSPropertyList::maximumDepth)
        return {};
    switch (propertyListKind(value)) {
    case Kind::None:
        return {};
    case Kind::Bool:
        return writer.addBool(value.toBool());
    case Kind::Integer:
        return writer.addInteger(value.toLongLong());
    case Kind::Unsigned:
        return writer.addUnsigned(value.toULongLong());
    case Kind::Real:
        return writer.addReal(value.toDouble());
    case Kind::String:
        return writer.addString(value.toString());
    case Kind::Data:
        return writer.addData(value.toByteArray());
    case Kind::Date:
        return writer.addDate(secondsSinceReferenceDate(value.toDateTime()));
    case Kind::UID:
        return writer.addUID(value.value<NSPropertyListUID>().value);
    case Kind::Array: {
        std::vector<Ref> elements;
        if (!addArrayElements(writer, value.toList(), depth, elements))
            return {};
        return writer.addArray(elements);
    }
    case Kind::Dictionary:
        return addDictionaryValue(writer, value.toMap(), depth);
    }
    return {};
}

} // namespace

QVariant propertyListFromBinary(const QByteArray &data)
{
    return Reader(data).read();
}

QByteArray binaryFromPropertyList(const QVariant &value)
{
    NSBinaryPropertyListWriter writer;
    const std::optional<Ref> top = addValue(writer, value, 0);
    return top ? writer.data(*top) : QByteArray();
}
