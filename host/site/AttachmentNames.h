#pragma once

#include "platform/NSAttributedString.h"

namespace AttachmentNames {

/// Gives attachments of the text file names of their own where an export would write two to one file: where
/// stored names are equal, and in list items, whose attachments are each counted from 1. Pictures count as
/// equal when they differ in their extension only, since they may be converted. Each new name makes a record
/// in the current report. Answers how many were given. Linear in the text's runs.
qsizetype makeUnique(const NSAttributedString &text);

} // namespace AttachmentNames
