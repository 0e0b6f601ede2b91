#pragma once

#include "host/preview/PreviewReport.h"

#include <QByteArray>
#include <QString>

/// What the preview adds to a site: a script in its pages, and pages of its own.
namespace PreviewPages {

/// Paths of the preview's own, below the builder's folder, which no site has files in.
inline const QByteArray kScriptPath = "/.qf/preview.js";
inline const QByteArray kEventsPath = "/.qf/events";

/// Reloads the page when the site is another one than that of the tag, and shows problems in a corner.
[[nodiscard]] QByteArray script();
/// Calls the script, for the site's `version`. With the host, since the page may say that its addresses count
/// from elsewhere; it must be harmless in markup.
[[nodiscard]] QByteArray scriptTag(const QByteArray &host, const QByteArray &version);

/// The page with the tag of the script: before the last end tag of its body, else at its end; XHTML only
/// before the tag. Bytes of an encoding in which a tag cannot be written so stay as they are.
[[nodiscard]] QByteArray withScript(const QByteArray &html, const QByteArray &scriptTag, bool isXHTML);

/// What browsers are told of the last build: {"version", "problems": [{"page", "message", "file"}], "more"}.
[[nodiscard]] QByteArray state(const PreviewReport &report, const QByteArray &version);

/// A whole page in place of one that is not there: what is wrong, with the problems of the page with this ID
/// before the others.
[[nodiscard]] QByteArray reportPage(const QString &heading, const PreviewReport &report, const QString &page,
                                    const QByteArray &scriptTag);

} // namespace PreviewPages
