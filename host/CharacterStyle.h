#pragma once

#include "platform/NSColor.h"
#include "platform/NSParagraphStyle.h"

#include <QString>
#include <QVariant>

#include <optional>

/// How imported text looks, apart from its paragraph.
struct CharacterStyle
{
    QString family; ///< of `WebFonts`; empty for the user's own font
    float size = 0; ///< points; 0 for the user's own size
    bool bold = false;
    bool italic = false;
    bool underlined = false;
    std::optional<NSColor> color;
    QVariant link;     ///< a string or a link object; nil for none
    QString directive; ///< element that a markup directive wraps around the text, such as "sup"; nil for none

    friend bool operator==(const CharacterStyle &a, const CharacterStyle &b) = default;
};
