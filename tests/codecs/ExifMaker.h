#pragma once

#include <QByteArray>
#include <QList>
#include <QtEndian>

/// Makes the block in which cameras leave their notes, in either byte order, entry by entry.
struct ExifMaker
{
    enum Type : quint16 {
        Byte = 1,
        Ascii = 2,
        Short = 3,
        Long = 4,
        Rational = 5,
        Undefined = 7,
        SRational = 10
    };
    struct Entry
    {
        quint16 tag;
        quint16 type;
        quint32 count;
        QByteArray bytes; ///< in the block's order; see `number`
    };

    bool isBigEndian = false;
    QList<Entry> first; ///< entries of the first directory, without the pointer to the second
    QList<Entry> exif;

    [[nodiscard]] QByteArray number(quint32 value, int size) const
    {
        QByteArray bytes(4, '\0');
        if (isBigEndian)
            qToBigEndian<quint32>(value, bytes.data());
        else
            qToLittleEndian<quint32>(value, bytes.data());
        return isBigEndian ? bytes.last(size) : bytes.first(size);
    }

    [[nodiscard]] QByteArray made() const
    {
        QByteArray block = isBigEndian ? QByteArray("MM\0*", 4) : QByteArray("II*\0", 4);
        block += number(8, 4);
        QList<Entry> entries = first;
        const auto size = static_cast<quint32>(2 + (first.size() + 1) * 12 + 4);
        QByteArray far;
        const QByteArray second = directory(exif, 8 + size, far);
        entries.append({0x8769, Long, 1, number(8 + size, 4)});
        QByteArray farOfFirst;
        const auto end = static_cast<quint32>(8 + size + second.size() + far.size());
        return block + directory(entries, end - size, farOfFirst) + second + far + farOfFirst;
    }

    /// With its segment in front of a JPEG's own.
    [[nodiscard]] static QByteArray inJPEG(const QByteArray &jpeg, const QByteArray &block)
    {
        const QByteArray segment = QByteArray("Exif\0\0", 6) + block;
        return jpeg.first(2) + "\xFF\xE1" + ExifMaker{true, {}, {}}.number(segment.size() + 2, 2) + segment +
               jpeg.sliced(2);
    }
    static QByteArray inJPEG(const QByteArray &jpeg, int orientation)
    {
        ExifMaker maker;
        maker.first = {{0x0112, Short, 1, maker.number(orientation, 2)}};
        return inJPEG(jpeg, maker.made());
    }

private:
    /// Values that do not fit into their entry go to `far`, which follows the directory.
    [[nodiscard]] QByteArray directory(const QList<Entry> &entries, quint32 at, QByteArray &far) const
    {
        QByteArray bytes = number(static_cast<quint32>(entries.size()), 2);
        const auto end = static_cast<quint32>(at + 2 + entries.size() * 12 + 4);
        for (const Entry &entry : entries) {
            bytes += number(entry.tag, 2) + number(entry.type, 2) + number(entry.count, 4);
            const bool isNear = entry.bytes.size() <= 4;
            bytes += isNear ? entry.bytes.leftJustified(4, '\0') : number(end + far.size(), 4);
            far += isNear ? QByteArray() : entry.bytes;
        }
        return bytes + number(0, 4);
    }
};
