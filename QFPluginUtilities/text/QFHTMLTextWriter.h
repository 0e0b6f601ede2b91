#pragma once

#include "platform/QFExport.h"

#include <QString>
#include <QStringView>

#include <cstddef>
#include <cstring>

class QFUnitEncoder;

/// Builds HTML from pieces in order. The result is the same as if the pieces were joined and then every CR
/// LF, CR and LF of the whole were replaced by "<br />", pairs split between two pieces included; but it is
/// all done while appending, without an allocation a call. For one thread at a time.
class QF_EXPORT QFHTMLTextWriter
{
public:
    /// `capacity` units are reserved; more grow by themselves.
    explicit QFHTMLTextWriter(qsizetype capacity = 0);
    QFHTMLTextWriter(const QFHTMLTextWriter &) = delete;
    QFHTMLTextWriter &operator=(const QFHTMLTextWriter &) = delete;

    /// Makes room for an output of so many units in all.
    void reserve(qsizetype units);
    /// Text with named references as `QFCharacterConverter` makes them, tags skipped.
    void appendText(QStringView text);
    /// Markup: nothing but line breaks is changed.
    void appendMarkup(QStringView markup);
    /// Units as they stand, line breaks included.
    void appendVerbatim(QStringView units)
    {
        if (units.isEmpty())
            return;
        const auto length = static_cast<size_t>(units.size());
        std::memcpy(room(units.size()), units.utf16(), length * sizeof(char16_t));
        _at += length;
        _afterCarriageReturn = false;
    }
    /// A literal without CR and LF: `appendLiteral(u"<em>")`.
    template <size_t N>
    void appendLiteral(const char16_t (&literal)[N])
    {
        static_assert(N > 1);
        std::memcpy(room(N - 1), literal, (N - 1) * sizeof(char16_t));
        _at += N - 1;
        _afterCarriageReturn = false;
    }

    /// A CR before here and a LF behind it are two line breaks.
    void endPair() { _afterCarriageReturn = false; }

    /// Units written so far.
    [[nodiscard]] qsizetype size() const { return _at ? _at - begin() : 0; }
    /// What has been written, until the next change.
    [[nodiscard]] QStringView view() const { return {begin(), size()}; }
    /// The result; the writer starts again empty.
    [[nodiscard]] QString take();

private:
    [[nodiscard]] const char16_t *begin() const
    {
        return reinterpret_cast<const char16_t *>(_buffer.constData());
    }
    char16_t *room(qsizetype units)
    {
        if (_limit - _at < units) [[unlikely]]
            grow(units);
        return _at;
    }
    void grow(qsizetype units);
    void append(const QFUnitEncoder &encoder, QStringView text);

    const QFUnitEncoder &_textEncoder;
    const QFUnitEncoder &_markupEncoder;
    qsizetype _slack;
    QString _buffer; ///< as long as its room, `_at` says how much of it counts
    char16_t *_at = nullptr;
    char16_t *_limit = nullptr;        ///< end of the room but for the encoders' slack
    bool _afterCarriageReturn = false; ///< the last unit given was a CR, written as a line break
};
