#pragma once

#include "host/DocumentResult.h"

#include <QByteArray>
#include <QString>

/// Reads Markdown (CommonMark with tables, strike-through, task lists and bare links) as the HTML importer
/// reads HTML; HTML inside Markdown counts.
namespace MarkdownImporter {

/// `markdown` is UTF-8. An error only for text that would blow up: link definitions that are used so often
/// that the result is over a hundred times the input.
DocumentResult read(const QByteArray &markdown, const QString &baseFolder);

} // namespace MarkdownImporter
