#include "platform/NSBinaryPropertyListWriter.h"

#include <QHashFunctions>
#include <QtEndian>

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

using Ref = NSBinaryPropertyListWriter::Ref;

namespace {

// High halves of the byte that starts each object.
enum Marker : quint8 {
    BoolFalse = 0x08,
    BoolTrue = 0x09,
    Integer = 0x10,
    Real = 0x23,
    Date = 0x33,
    Data = 0x40,
    ASCIIString = 0x50,
    UTF16String = 0x60,
    UID = 0x80,
    Array = 0xA0,
    Dictionary = 0xD0
};

/// Bytes that the largest of some numbers takes, in one of the widths that the format knows.
quint8 widthFor(quint64 largest)
{
    if (largest <= 0xFF)
        return 1;
    if (largest <= 0xFFFF)
        return 2;
    return largest <= 0xFFFF'FFFF ? 4 : 8;
}

void appendBigEndian(QByteArray &out, quint64 number, quint8 width)
{
    char bytes[8];
    qToBigEndian(number, bytes);
    out.append(bytes + 8 - width, width);
}

void appendInteger(QByteArray &out, quint64 number, quint8 width)
{
    out.append(static_cast<char>(Integer | (width == 1 ? 0 : width == 2 ? 1 : width == 4 ? 2 : 3)));
    appendBigEndian(out, number, width);
}

/// Marker with a count in its low half, or behind it from 15 on.
void appendHeader(QByteArray &out, Marker marker, quint64 count)
{
    out.append(static_cast<char>(marker | std::min<quint64>(count, 15)));
    if (count >= 15)
        appendInteger(out, count, widthFor(count));
}

} // namespace

struct NSBinaryPropertyListWriter::Private
{
    struct Object
    {
        Marker marker;  ///< Array, Dictionary, or anything for an object that is only bytes
        quint32 hash;   ///< of the contents
        quint64 start;  ///< in `refs` for containers, else in `bytes`
        quint64 length; ///< number of references or bytes
    };

    static constexpr Ref kFree = ~Ref(0);

    QByteArray bytes;
    std::vector<Ref> refs;
    std::vector<Object> objects;
    std::vector<Ref> table = std::vector<Ref>(1024, kFree); // of all objects by hash; at most half full

    static bool isContainer(const Object &object)
    {
        return object.marker == Array || object.marker == Dictionary;
    }

    [[nodiscard]] std::span<const char> contents(const Object &object) const
    {
        if (isContainer(object))
            return {reinterpret_cast<const char *>(refs.data() + object.start), object.length * sizeof(Ref)};
        return {bytes.constData() + object.start, object.length};
    }

    [[nodiscard]] bool equal(const Object &a, const Object &b) const
    {
        return a.hash == b.hash && a.marker == b.marker && a.length == b.length &&
               (a.length == 0 ||
                std::memcmp(contents(a).data(), contents(b).data(), contents(a).size()) == 0);
    }

    /// Where an equal object stands in the table, or where it would.
    Ref &placeOf(const Object &object)
    {
        const size_t mask = table.size() - 1;
        for (size_t at = object.hash & mask;; at = (at + 1) & mask) {
            if (table[at] == kFree || equal(objects[table[at]], object))
                return table[at];
        }
    }

    void growTable()
    {
        table.assign(table.size() * 2, kFree);
        const size_t mask = table.size() - 1;
        for (size_t number = 0; number < objects.size(); ++number) {
            size_t at = objects[number].hash & mask;
            while (table[at] != kFree)
                at = (at + 1) & mask;
            table[at] = static_cast<Ref>(number);
        }
    }

    /// Keeps the object that was just appended, unless an equal one is there: then its tail is cut off again.
    Ref keep(Marker marker, quint64 start)
    {
        const bool container = marker == Array || marker == Dictionary;
        const quint64 end = container ? refs.size() : static_cast<quint64>(bytes.size());
        Object added{marker, 0, start, end - start};
        added.hash = static_cast<quint32>(qHashBits(contents(added).data(), contents(added).size(), marker));
        Ref &place = placeOf(added);
        if (place == kFree) {
            const Ref number = place = static_cast<Ref>(objects.size());
            objects.push_back(added);
            if (objects.size() * 2 > table.size())
                growTable();
            return number;
        }
        if (container)
            refs.resize(start);
        else
            bytes.truncate(static_cast<qsizetype>(start));
        return place;
    }

    [[nodiscard]] quint64 start() const { return static_cast<quint64>(bytes.size()); }

    void appendObject(QByteArray &out, const Object &object, quint8 refWidth) const
    {
        if (!isContainer(object)) {
            out.append(bytes.constData() + object.start, static_cast<qsizetype>(object.length));
            return;
        }
        appendHeader(out, object.marker, object.marker == Dictionary ? object.length / 2 : object.length);
        for (quint64 i = object.start; i < object.start + object.length; ++i)
            appendBigEndian(out, refs[i], refWidth);
    }
};

NSBinaryPropertyListWriter::NSBinaryPropertyListWriter() : d(std::make_unique<Private>()) {}
NSBinaryPropertyListWriter::~NSBinaryPropertyListWriter() = default;

Ref NSBinaryPropertyListWriter::addBool(bool value)
{
    const quint64 start = d->start();
    d->bytes.append(static_cast<char>(value ? BoolTrue : BoolFalse));
    return d->keep(BoolTrue, start);
}

Ref NSBinaryPropertyListWriter::addInteger(qint64 value)
{
    const quint64 start = d->start();
    // Only eight bytes are read back with a sign.
    appendInteger(d->bytes, static_cast<quint64>(value),
                  value < 0 ? 8 : widthFor(static_cast<quint64>(value)));
    return d->keep(Integer, start);
}

Ref NSBinaryPropertyListWriter::addUnsigned(quint64 value)
{
    if (value >> 63 == 0)
        return addInteger(static_cast<qint64>(value));
    const quint64 start = d->start();
    d->bytes.append(static_cast<char>(Integer | 4)); // sixteen bytes, the upper half zero
    appendBigEndian(d->bytes, 0, 8);
    appendBigEndian(d->bytes, value, 8);
    return d->keep(Integer, start);
}

Ref NSBinaryPropertyListWriter::addReal(double value)
{
    const quint64 start = d->start();
    d->bytes.append(static_cast<char>(Real));
    appendBigEndian(d->bytes, std::bit_cast<quint64>(value), 8);
    return d->keep(Real, start);
}

Ref NSBinaryPropertyListWriter::addDate(double secondsSince2001)
{
    const quint64 start = d->start();
    d->bytes.append(static_cast<char>(Date));
    appendBigEndian(d->bytes, std::bit_cast<quint64>(secondsSince2001), 8);
    return d->keep(Date, start);
}

Ref NSBinaryPropertyListWriter::addString(QStringView text)
{
    const quint64 start = d->start();
    const bool ascii =
        std::all_of(text.begin(), text.end(), [](QChar unit) { return unit.unicode() < 0x80; });
    appendHeader(d->bytes, ascii ? ASCIIString : UTF16String, static_cast<quint64>(text.size()));
    const qsizetype at = d->bytes.size();
    d->bytes.resize(at + text.size() * (ascii ? 1 : 2));
    if (ascii) {
        std::transform(text.begin(), text.end(), d->bytes.data() + at,
                       [](QChar unit) { return static_cast<char>(unit.unicode()); });
    } else {
        qToBigEndian<quint16>(text.utf16(), text.size(), d->bytes.data() + at);
    }
    return d->keep(ascii ? ASCIIString : UTF16String, start);
}

Ref NSBinaryPropertyListWriter::addData(QByteArrayView bytes)
{
    const quint64 start = d->start();
    appendHeader(d->bytes, Data, static_cast<quint64>(bytes.size()));
    d->bytes.append(bytes);
    return d->keep(Data, start);
}

Ref NSBinaryPropertyListWriter::addUID(quint64 value)
{
    const quint64 start = d->start();
    const quint8 width = widthFor(value);
    d->bytes.append(static_cast<char>(UID | (width - 1)));
    appendBigEndian(d->bytes, value, width);
    return d->keep(UID, start);
}

Ref NSBinaryPropertyListWriter::addArray(std::span<const Ref> elements)
{
    const quint64 start = d->refs.size();
    d->refs.insert(d->refs.end(), elements.begin(), elements.end());
    return d->keep(Array, start);
}

Ref NSBinaryPropertyListWriter::addDictionary(std::span<const Ref> keys, std::span<const Ref> values)
{
    Q_ASSERT(keys.size() == values.size());
    const quint64 start = d->refs.size();
    d->refs.insert(d->refs.end(), keys.begin(), keys.end());
    d->refs.insert(d->refs.end(), values.begin(), values.end());
    return d->keep(Dictionary, start);
}

QByteArray NSBinaryPropertyListWriter::data(Ref top) const
{
    const quint64 count = d->objects.size();
    const quint8 refWidth = widthFor(count - 1);
    QByteArray out("bplist00");
    out.reserve(d->bytes.size() + static_cast<qsizetype>(d->refs.size() * refWidth + count * 16) + 64);
    std::vector<quint64> offsets;
    offsets.reserve(count);
    for (const Private::Object &object : d->objects) {
        offsets.push_back(static_cast<quint64>(out.size()));
        d->appendObject(out, object, refWidth);
    }
    const auto tableStart = static_cast<quint64>(out.size());
    const quint8 offsetWidth = widthFor(tableStart);
    for (const quint64 offset : offsets)
        appendBigEndian(out, offset, offsetWidth);
    out.append(6, '\0');
    out.append(static_cast<char>(offsetWidth));
    out.append(static_cast<char>(refWidth));
    appendBigEndian(out, count, 8);
    appendBigEndian(out, top, 8);
    appendBigEndian(out, tableStart, 8);
    return out;
}
