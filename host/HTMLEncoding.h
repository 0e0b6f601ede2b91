#pragma once

#include <QByteArray>
#include <QString>

/// The text of a page, in the encoding that a byte order mark or the page itself names. A page that names
/// none is UTF-8 where it can be. ISO Latin 1 and what is unknown are Windows-1252, as in browsers.
[[nodiscard]] QString decodedHTML(const QByteArray &html);

/// What browsers read for a number up to 255: that of Windows-1252, in which 128 to 159 are no controls.
[[nodiscard]] char16_t windowsCharacter(char16_t number);
