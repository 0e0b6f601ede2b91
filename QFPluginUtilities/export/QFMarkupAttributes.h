#pragma once

#include "platform/NSMenu.h"

/// The markup directives that are offered to users.
class QF_EXPORT QFMarkupAttributes
{
public:
    QFMarkupAttributes() = delete;

    /// A menu of the directives in the library's resource "markup.plist", in its order: titles localized,
    /// action "applyMarkupAttributeToSelection:", the directive itself as represented object; entries with
    /// "separator" are separators whatever else they hold. Without the resource, or when it is damaged, the
    /// menu is empty.
    [[nodiscard]] static NSMenu setupMarkupMenu();
};
