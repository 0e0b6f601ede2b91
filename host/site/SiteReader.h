#pragma once

#include "host/site/Site.h"

#include <optional>

namespace SiteReader {

/// The most pages that a site may have, and how deep they may be nested.
inline constexpr qsizetype kMaximumPages = 100000;
inline constexpr qsizetype kMaximumLevels = 32;

/// Reads `site.json` of the folder. Nothing, and a sentence in `error`, when there is none or it holds no
/// JSON object with a list of pages. Everything else that is wrong makes a record in the current report, with
/// the file and the key: a wrong value counts as absent, a page without ID or plug-in, or with a name that is
/// not safe or lies where another page does, is left out. Pages below it stay, and hang on its parent. Linear
/// in the file.
[[nodiscard]] std::optional<Site> read(const QString &folder, QString &error);

/// Whether a name may stand in the published site's paths: letters, digits, "-", "_" and ".", at most 200 of
/// them, no dot at the start.
[[nodiscard]] bool isSafeName(const QString &name);

} // namespace SiteReader
