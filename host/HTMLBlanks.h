#pragma once

#include <QChar>

/// What HTML takes for white space; a no-break space is none.
[[nodiscard]] constexpr bool isHTMLBlank(QChar unit)
{
    return unit == u' ' || unit == u'\t' || unit == u'\n' || unit == u'\r' || unit == u'\f';
}
