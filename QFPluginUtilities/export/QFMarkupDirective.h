#pragma once

#include "platform/QFExport.h"

#include <QString>
#include <QVariantMap>

/// Reading a markup directive: the dictionary that a user attaches to a stretch of text so that it is wrapped
/// in markup of its own. All keys are optional; a value of a wrong type counts as absent.
namespace QFMarkupDirective {

/// Element name without brackets; nil when absent.
[[nodiscard]] QF_EXPORT QString tag(const QVariantMap &directive);
/// Menu title and identity: directives with equal names are one for export. Nil when absent; a nil name
/// equals none.
[[nodiscard]] QF_EXPORT QString name(const QVariantMap &directive);
/// For the editor: choosing this directive removes the one that is there.
[[nodiscard]] QF_EXPORT bool cleartags(const QVariantMap &directive);
/// "opentag" as it stands, even when empty; else "<tag>", with "<p>" behind it when "ptag" is true; ""
/// without a tag.
[[nodiscard]] QF_EXPORT QString openTag(const QVariantMap &directive);
/// "closetag" as it stands, even when empty; else "</tag>", with "</p>" before it when "ptag" is true; ""
/// without a tag.
[[nodiscard]] QF_EXPORT QString closeTag(const QVariantMap &directive);

} // namespace QFMarkupDirective
