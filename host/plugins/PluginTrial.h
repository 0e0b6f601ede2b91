#pragma once

#include <QString>

/// Trying a module out in a process of its own, so that one that crashes or hangs while it is loaded does not
/// take this process with it.
namespace PluginTrial {

/// Whether there can be a trial here: a process that runs threads cannot be copied safely.
[[nodiscard]] bool isPossible();

/// Loads and initialises the module and makes and destroys one instance, in a copy of this process that is
/// gone afterwards. Nil when all went well, otherwise half a sentence that says what happened, "it ...".
/// Takes a few milliseconds, at most 5 seconds or the number of milliseconds in QF_PLUGIN_TIMEOUT. What the
/// module prints meanwhile is not shown.
[[nodiscard]] QString faultOf(const QString &file);

} // namespace PluginTrial
