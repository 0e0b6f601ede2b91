#pragma once

/// The interface between host and plug-ins as this library has it. Goes up with each release that adds to it;
/// a module's metadata says the level it was built against and the oldest level that it can run with.
inline constexpr int QFPluginAPILevel = 1;
/// Modules built against older levels than this no longer work with this library.
inline constexpr int QFPluginAPIOldestLevel = 1;
