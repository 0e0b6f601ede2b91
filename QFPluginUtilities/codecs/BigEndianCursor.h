#pragma once

#include <QByteArray>
#include <QtEndian>

/// A position in a file of big-endian numbers. Reading beyond the end answers zeros and is remembered.
class BigEndianCursor
{
public:
    explicit BigEndianCursor(QByteArrayView bytes) : _bytes(bytes) {}

    [[nodiscard]] bool isGood() const { return _isGood; }
    [[nodiscard]] qsizetype position() const { return _position; }
    [[nodiscard]] qsizetype left() const { return _bytes.size() - _position; }

    template <typename Number>
    [[nodiscard]] Number number()
    {
        const QByteArrayView bytes = take(sizeof(Number));
        return bytes.isEmpty() ? Number(0) : qFromBigEndian<Number>(bytes.data());
    }
    /// The next `count` bytes; none when there are fewer.
    [[nodiscard]] QByteArrayView take(quint64 count)
    {
        if (!_isGood || count > static_cast<quint64>(left())) {
            _isGood = false;
            return {};
        }
        const QByteArrayView bytes = _bytes.sliced(_position, static_cast<qsizetype>(count));
        _position += bytes.size();
        return bytes;
    }
    void skip(quint64 count) { (void)take(count); }

private:
    QByteArrayView _bytes;
    qsizetype _position = 0;
    bool _isGood = true;
};
