#pragma once

#include "platform/NSColor.h"

#include <QString>
#include <QStringView>

#include <functional>
#include <optional>

/// The few kinds of value that an inline style or a presentational attribute of HTML holds.
namespace CSSValues {

/// Calls `take` with each property (lower case) and value of a style attribute, in order.
void forEachDeclaration(QStringView style,
                        const std::function<void(QStringView property, QStringView value)> &take);

/// "#rgb", "#rrggbb", "#rrggbbaa", "rgb(…)", "rgba(…)" or a colour name; nothing for anything else, with
/// "transparent" and "inherit" among it.
[[nodiscard]] std::optional<NSColor> color(QStringView value);

/// A font size in points; "px" and "pt" both count as points, since exported pages write points as pixels.
/// `parent` is what "em", "%", "larger" and "smaller" refer to, `standard` what the size keywords do.
[[nodiscard]] std::optional<float> fontSize(QStringView value, float parent, float standard);

/// A length in points, from 0 to 32767; nothing for percentages.
[[nodiscard]] std::optional<double> length(QStringView value);

/// The font size of `<font size>`: "1" to "7", "+1", "-2".
[[nodiscard]] std::optional<float> legacyFontSize(QStringView value, float standard);

} // namespace CSSValues
