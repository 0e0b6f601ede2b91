#pragma once

#include "platform/QFExport.h"

#include <QByteArray>
#include <QString>

#include <memory>

/// The bytes of a movie, in a file or in memory, readable at any place. One reading does not disturb another.
class QF_EXPORT MovieBytes
{
public:
    /// nullptr, with the system's `errno` in `error`, for what cannot be opened or is, after links, no
    /// regular file.
    [[nodiscard]] static std::unique_ptr<MovieBytes> ofFile(const QString &path, int &error);
    [[nodiscard]] static std::unique_ptr<MovieBytes> ofData(const QByteArray &data);
    ~MovieBytes();
    MovieBytes(const MovieBytes &) = delete;
    MovieBytes &operator=(const MovieBytes &) = delete;

    [[nodiscard]] qint64 size() const { return _size; }
    /// How many bytes were read, fewer than asked for only at the end; -1 when the system cannot read.
    [[nodiscard]] qint64 read(qint64 offset, char *buffer, qint64 length) const;
    /// Up to `length` bytes; fewer at the end.
    [[nodiscard]] QByteArray bytes(qint64 offset, qint64 length) const;

private:
    MovieBytes() = default;

    int _file = -1;
    QByteArray _data;
    qint64 _size = 0;
};
