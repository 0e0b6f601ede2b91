#pragma once

#include "platform/NSAttributedString.h"
#include "platform/NSFont.h"
#include "platform/NSMenu.h"

#include <optional>

/// The fonts that any visitor's browser can be trusted to have, as CSS font stacks and as a menu.
class QF_EXPORT QFWebSafeFonts
{
public:
    /// When set, `styleStringForFont` answers nil for a font that it does not know.
    void setNilOnWebUnsafeFont(bool flag) { _nilOnWebUnsafeFont = flag; }

    /// The stack for a font, found by its exact PostScript name. An unknown font gives the stack
    /// "Verdana, Arial, Helvetica, sans-serif", or nil when the flag is set.
    [[nodiscard]] QString styleStringForFont(const NSFont &font) const;

    /// Whether some run has a font without a stack; linear in the runs up to the first such one.
    [[nodiscard]] static bool containsWebUnsafeFonts(const NSAttributedString &text);

    /// PostScript name behind a menu title ("Times" is "TimesNewRomanPSMT"); nil for an unknown title.
    [[nodiscard]] static QString fontNameFromTitle(const QString &title);
    /// That font at the system font size; nothing for an unknown title.
    [[nodiscard]] static std::optional<NSFont> menuItemTitleToFont(const QString &title);

    /// Gives each item with a title its action, and all but "Theme Default" a title in its own font. A title
    /// without a font is logged ("No matching font for '%@'") and its item left alone.
    static void styliseFontMenu(NSMenu &menu);

private:
    bool _nilOnWebUnsafeFont = false;
};
