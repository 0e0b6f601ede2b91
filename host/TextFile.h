#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QString>

/// A text in UTF-8 that was read from a file, or the sentence that says why it could not be.
struct TextFile
{
    QString text;
    QString error; ///< nil when the text was read

    /// Reads at most 64 MB.
    [[nodiscard]] static TextFile read(const QString &path);
};

/// What can be read of the open device, up to `maximum` bytes. Room is made for what there is only.
[[nodiscard]] QByteArray readAtMost(QIODevice &device, qint64 maximum);

/// The text as UTF-8. Halves of surrogate pairs that stand alone, which UTF-8 cannot hold, become decimal
/// references.
[[nodiscard]] QByteArray utf8WithReferences(const QString &text);
