#pragma once

#include "platform/NSTextAttachment.h"

#include <QString>

/// Name under which an export writes an embedded file: its stored name, or else prefix, number and extension.
[[nodiscard]] QString exportedFileName(const NSTextAttachmentPtr &attachment, const QString &prefix,
                                       qint64 number);
