#pragma once

#include "platform/NSArchivableClasses.h"

#include <QList>

/// File wrappers and attachments.
[[nodiscard]] QList<NSArchivableClass> archivableAttachmentClasses();
