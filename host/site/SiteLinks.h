#pragma once

#include "platform/NSAttributedString.h"

struct Site;

namespace SiteLinks {

/// The text with its links to "page:ID", "page:ID/SUBPAGE", "page:ID#ANCHOR" and "asset:NAME" made links to
/// pages and assets of the site. A link to a page or asset that is not there stays a link without address; it
/// makes a record in the current report. Linear in the runs.
[[nodiscard]] NSAttributedString resolved(const NSAttributedString &text, const Site &site);

} // namespace SiteLinks
