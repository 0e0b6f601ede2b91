#pragma once

#include "platform/NSColor.h"

#include <QColor>

#include <optional>

/// For painting; nothing for no colour and for patterns, which have no components. Components are clipped to
/// 0 to 1, and what is no number counts as 0.
[[nodiscard]] std::optional<QColor> qColor(const std::optional<NSColor> &colour);
