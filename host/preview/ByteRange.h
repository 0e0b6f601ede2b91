#pragma once

#include <QByteArray>

#include <optional>

/// A part of a file.
struct ByteRange
{
    qint64 first = 0;
    qint64 count = 0; ///< 0: the request asks for a part that the file does not have

    /// What the value of a Range header asks for, of a file of `size` bytes. Nothing, which means the whole
    /// file, when it is malformed or asks for several parts.
    [[nodiscard]] static std::optional<ByteRange> asked(const QByteArray &header, qint64 size);
};
