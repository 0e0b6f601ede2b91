#pragma once

#include "host/DocumentResult.h"

#include <QByteArray>
#include <QString>

/// Reads HTML into styled text: body text in the user's font, headings and quotations in sizes and faces of
/// it, code in Courier, lists as marked lines, tables as cells with spans, links, pictures from the
/// document's folder, raw markup for rules and for the targets of links into the page. Style attributes and
/// presentational attributes count, style sheets do not. Never fails: any bytes give some text. Linear;
/// nesting beyond 200 elements is read at that depth.
namespace HTMLImporter {

/// Reads bytes in the encoding that a byte order mark or the document itself names, else UTF-8, and
/// Windows-1252 when they are no UTF-8.
[[nodiscard]] NSAttributedString read(const QByteArray &html, const QString &baseFolder);
[[nodiscard]] NSAttributedString readText(const QString &html, const QString &baseFolder);

/// Exported text is markup: what an imported text shows as "<b>" or "&lt;" is written with references, so
/// that it is shown again and not obeyed. A "<" or "&" that no browser would take for markup stays as it is.
[[nodiscard]] QString textForMarkup(const QString &text);

} // namespace HTMLImporter
