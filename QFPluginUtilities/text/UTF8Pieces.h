#pragma once

#include <QByteArray>
#include <QStringEncoder>
#include <QStringView>

/// Calls `use(bytes, count)` for the UTF-8 form of a text, piece by piece, so that it is never whole in
/// memory. False, with nothing called, for a text with lone surrogates, which has no such form.
template <typename Use>
[[nodiscard]] bool forUTF8Pieces(QStringView text, Use use)
{
    constexpr qsizetype kPiece = 8192; // units
    if (!text.isValidUtf16())
        return false;
    QStringEncoder encoder(QStringConverter::Utf8); // keeps a first half until the second comes
    QByteArray buffer(encoder.requiredSpace(kPiece), Qt::Uninitialized);
    for (qsizetype start = 0; start < text.size(); start += kPiece) {
        const QStringView piece = text.mid(start, kPiece);
        const char *end = encoder.appendToBuffer(buffer.data(), piece);
        use(buffer.constData(), end - buffer.constData());
    }
    return true;
}
