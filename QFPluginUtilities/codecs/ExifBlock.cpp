#include "codecs/ExifBlock.h"

#include <QSysInfo>
#include <QtEndian>

#include <algorithm>
#include <array>

namespace {

constexpr quint16 kCompression = 0x0103;
constexpr quint16 kOrientation = 0x0112;
constexpr quint16 kExifDirectory = 0x8769;
constexpr int kEntrySize = 12;
constexpr QByteArrayView kExifHeader("Exif\0\0", 6);

/// A TIFF value type: bytes of a value, and of the numbers in it, which have the file's byte order.
struct ValueType
{
    int size;
    int numberSize;
};

/// By type code, from 0: BYTE, ASCII, SHORT, LONG, RATIONAL, and their signed and undefined kin.
constexpr std::array<ValueType, 13> kValueTypes{
    {{0, 0}, {1, 1}, {1, 1}, {2, 2}, {4, 4}, {8, 4}, {1, 1}, {1, 1}, {2, 2}, {4, 4}, {8, 4}, {4, 4}, {8, 8}}};

/// Some writers put the header of a JPEG segment before the block in other files too.
QByteArray withoutHeader(const QByteArray &block)
{
    return block.startsWith(kExifHeader) ? block.sliced(kExifHeader.size()) : block;
}

/// -1 beyond the end.
template <typename Number>
qint64 numberAt(const QByteArray &file, qsizetype position, Number (*convert)(const void *))
{
    return position + qsizetype(sizeof(Number)) <= file.size() ? qint64(convert(file.constData() + position))
                                                               : -1;
}

QByteArray inJPEG(const QByteArray &file)
{
    enum : uchar { Mark = 0xFF, App1 = 0xE1, StartOfScan = 0xDA, EndOfImage = 0xD9 };
    qsizetype at = 2;
    while (at + 4 <= file.size() && static_cast<uchar>(file[at]) == Mark) {
        const auto kind = static_cast<uchar>(file[at + 1]);
        if (kind == Mark) { // filling
            ++at;
            continue;
        }
        const qint64 length = numberAt<quint16>(file, at + 2, qFromBigEndian<quint16>);
        if (kind == StartOfScan || kind == EndOfImage || length < 2)
            break;
        const QByteArrayView segment =
            QByteArrayView(file).sliced(at + 4, std::min(length - 2, qint64(file.size() - at - 4)));
        if (kind == App1 && segment.startsWith(kExifHeader)) // others hold XMP
            return segment.sliced(kExifHeader.size()).toByteArray();
        at += 2 + length;
    }
    return {};
}

QByteArray inPNG(const QByteArray &file)
{
    qsizetype at = 8;
    for (qint64 length = 0; (length = numberAt<quint32>(file, at, qFromBigEndian<quint32>)) >= 0;
         at += length + 12) {
        if (QByteArrayView(file).sliced(at + 4).startsWith("eXIf"))
            return withoutHeader(file.mid(at + 8, length));
    }
    return {};
}

QByteArray inWebP(const QByteArray &file)
{
    qsizetype at = 12;
    for (qint64 length = 0; (length = numberAt<quint32>(file, at + 4, qFromLittleEndian<quint32>)) >= 0;
         at += 8 + length + (length & 1)) {
        if (QByteArrayView(file).sliced(at).startsWith("EXIF"))
            return withoutHeader(file.mid(at + 8, length));
    }
    return {};
}

} // namespace

ExifBlock ExifBlock::inPicture(const QByteArray &file)
{
    if (file.startsWith("\xFF\xD8"))
        return withData(inJPEG(file));
    if (file.startsWith("\x89PNG\r\n\x1A\n"))
        return withData(inPNG(file));
    if (file.startsWith("RIFF") && file.mid(8, 4) == "WEBP")
        return withData(inWebP(file));
    return withData(file);
}

ExifBlock ExifBlock::withData(const QByteArray &data)
{
    ExifBlock block;
    block._isBigEndian = data.startsWith(QByteArrayView("MM\0*", 4));
    if (block._isBigEndian || data.startsWith(QByteArrayView("II*\0", 4)))
        block._data = data;
    return block;
}

std::optional<int> ExifBlock::orientation() const
{
    const std::optional<quint32> code = firstDirectoryNumber(kOrientation);
    return code >= 1 && code <= 8 ? std::optional<int>(*code) : std::nullopt;
}

std::optional<quint32> ExifBlock::compression() const
{
    return firstDirectoryNumber(kCompression);
}

/// A number of the first directory; some writers use a wider type than they should.
std::optional<quint32> ExifBlock::firstDirectoryNumber(quint16 tag) const
{
    const auto directory = number(4, 4);
    const auto bytes = directory ? entry(*directory, tag) : std::nullopt;
    if (bytes && bytes->size() == 2)
        return qFromUnaligned<quint16>(bytes->constData());
    if (bytes && bytes->size() == 4)
        return qFromUnaligned<quint32>(bytes->constData());
    return {};
}

std::optional<QByteArray> ExifBlock::item(quint16 tag) const
{
    const auto directory = number(4, 4);
    const auto pointer = directory ? entry(*directory, kExifDirectory) : std::nullopt;
    if (!pointer || pointer->size() != 4)
        return {};
    return entry(qFromUnaligned<quint32>(pointer->constData()), tag);
}

/// Two or four bytes in the block's order.
std::optional<quint32> ExifBlock::number(qsizetype position, int bytes) const
{
    if (position + bytes > _data.size())
        return {};
    const char *data = _data.constData() + position;
    if (bytes == 2)
        return _isBigEndian ? qFromBigEndian<quint16>(data) : qFromLittleEndian<quint16>(data);
    return _isBigEndian ? qFromBigEndian<quint32>(data) : qFromLittleEndian<quint32>(data);
}

/// Value of the first entry with the tag. Entries that the end cuts off are not there.
std::optional<QByteArray> ExifBlock::entry(quint32 directory, quint16 tag) const
{
    const auto count = number(directory, 2);
    for (quint32 i = 0; count && i < *count; ++i) {
        const qsizetype position = qsizetype(directory) + 2 + qsizetype(i) * kEntrySize;
        if (position + kEntrySize > _data.size())
            break;
        if (number(position, 2) == tag)
            return value(position);
    }
    return {};
}

std::optional<QByteArray> ExifBlock::value(qsizetype entryPosition) const
{
    const quint32 type = number(entryPosition + 2, 2).value_or(0);
    if (type == 0 || type >= kValueTypes.size())
        return {};
    const auto [size, numberSize] = kValueTypes[type];
    const qint64 length = qint64(number(entryPosition + 4, 4).value_or(0)) * size;
    // Up to four bytes stand in the entry itself, more somewhere else.
    const qint64 position = length <= 4 ? entryPosition + 8 : number(entryPosition + 8, 4).value_or(0);
    if (position > _data.size() || length > _data.size() - position)
        return {};
    QByteArray bytes = _data.mid(position, length);
    const bool isHostOrder = _isBigEndian == (QSysInfo::ByteOrder == QSysInfo::BigEndian);
    for (qsizetype i = 0; !isHostOrder && numberSize > 1 && i < bytes.size(); i += numberSize)
        std::reverse(bytes.begin() + i, bytes.begin() + i + numberSize);
    return bytes;
}
