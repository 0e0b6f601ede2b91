#include "codecs/PictureStructure.h"

#include <QtEndian>

#include <cstdlib>

namespace {

/// A position in bytes that never reads beyond the end.
class Cursor
{
public:
    explicit Cursor(QByteArrayView bytes) : _bytes(bytes) {}
    [[nodiscard]] bool isInside() const { return _position < _bytes.size(); }
    void skip(qsizetype count) { _position += count; }
    /// The next byte; 0 beyond the end.
    uint byte() { return isInside() ? static_cast<uchar>(_bytes[_position++]) : 0; }

    /// Passes blocks with their length in front until an empty one. False when the file ends before it.
    bool skipBlocks()
    {
        while (isInside()) {
            const uint length = byte();
            if (length == 0)
                return true;
            skip(length);
        }
        return false;
    }

private:
    QByteArrayView _bytes;
    qsizetype _position = 0;
};

/// Bytes of a colour table, from the flags that announce it.
qsizetype colourTableSize(uint flags)
{
    return (flags & 0x80U) != 0 ? 3 * (qsizetype(2) << (flags & 7U)) : 0;
}

qint64 littleEndian(QByteArrayView file, qsizetype position, int bytes)
{
    const char *data = file.data() + position;
    return bytes == 2 ? qFromLittleEndian<quint16>(data) : qFromLittleEndian<qint32>(data);
}

} // namespace

bool PictureStructure::isGIFWhole(QByteArrayView file)
{
    enum : uint { Extension = 0x21, Picture = 0x2C };
    Cursor at(file);
    at.skip(10);
    const uint screen = at.byte();
    at.skip(2 + colourTableSize(screen));
    while (at.isInside()) {
        const uint kind = at.byte();
        if (kind == Picture) {
            at.skip(8);
            const uint flags = at.byte();
            at.skip(colourTableSize(flags) + 1);
            return at.skipBlocks();
        }
        if (kind != Extension)
            return false;
        at.skip(1);
        if (!at.skipBlocks())
            return false;
    }
    return false;
}

bool PictureStructure::isBMPWhole(QByteArrayView file)
{
    constexpr qsizetype kHeaders = 14 + 40;
    constexpr qint64 kOldHeader = 12;
    if (file.size() < kHeaders)
        return false;
    const qint64 pixels = littleEndian(file, 10, 4);
    const bool isOld = littleEndian(file, 14, 4) == kOldHeader;
    const qint64 compression = isOld ? 0 : littleEndian(file, 30, 4);
    if (compression == 1 || compression == 2)
        return true;
    const qint64 width = isOld ? littleEndian(file, 18, 2) : littleEndian(file, 18, 4);
    const qint64 height = isOld ? littleEndian(file, 20, 2) : std::abs(littleEndian(file, 22, 4));
    const qint64 depth = littleEndian(file, isOld ? 24 : 28, 2);
    return pixels + (width * depth + 31) / 32 * 4 * height <= file.size();
}
