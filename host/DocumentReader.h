#pragma once

#include "host/DocumentResult.h"

#include <QByteArray>
#include <QString>

/// Reads a document of any kind into styled text, by what it holds and not by its name: archives, styled-text
/// JSON, HTML, and everything else as Markdown (plain text is Markdown without marks).
namespace DocumentReader {

enum class Format : quint8 { Archive, StyledTextJSON, HTML, Markdown, Binary };

/// Documents may have this many bytes.
inline constexpr qint64 maximumBytes = qint64(512) << 20;

/// What the bytes are: archives start with "bplist00" or are XML property lists, JSON starts with an object,
/// HTML with its declaration or root elements, or starts and ends with tags. Binary is what is none of these
/// and holds NUL.
[[nodiscard]] Format formatOf(const QByteArray &bytes);

/// Reads the file at `path`, or standard input for "-". Names of further files count from the document's
/// folder, for standard input from the current folder.
DocumentResult read(const QString &path);
DocumentResult readBytes(const QByteArray &bytes, const QString &baseFolder);

} // namespace DocumentReader
