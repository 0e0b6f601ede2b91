#pragma once

#include "platform/QFExport.h"

#include <QByteArray>

#include <optional>

/// What a camera has noted in a picture's file: the first directory of a TIFF structure and its EXIF
/// directory. Each look-up reads these two and follows nothing else, so no structure makes it go round; maker
/// notes stay as bytes.
class QF_EXPORT ExifBlock
{
public:
    /// The block that a picture's file carries: in a JPEG's first EXIF segment, PNG's "eXIf" or WebP's "EXIF"
    /// chunk; a TIFF file is one itself. Empty for every other file. Reads headers only.
    [[nodiscard]] static ExifBlock inPicture(const QByteArray &file);
    /// A TIFF structure in either byte order. Empty for anything else.
    [[nodiscard]] static ExifBlock withData(const QByteArray &data);

    /// 1 to 8; nothing for any other value.
    [[nodiscard]] std::optional<int> orientation() const;
    /// How a TIFF file's first picture is compressed, by the code of its tag Compression; nothing where that
    /// is not said.
    [[nodiscard]] std::optional<quint32> compression() const;
    /// Bytes of an item of the EXIF directory, the first of several of one tag. Numbers are in this machine's
    /// order; characters and undefined bytes are as they are. Nothing for one that is missing, of an unknown
    /// type, or partly beyond the end.
    [[nodiscard]] std::optional<QByteArray> item(quint16 tag) const;

private:
    [[nodiscard]] std::optional<quint32> firstDirectoryNumber(quint16 tag) const;
    [[nodiscard]] std::optional<quint32> number(qsizetype position, int bytes) const;
    [[nodiscard]] std::optional<QByteArray> entry(quint32 directory, quint16 tag) const;
    [[nodiscard]] std::optional<QByteArray> value(qsizetype entryPosition) const;

    QByteArray _data;
    bool _isBigEndian = false;
};
