#pragma once

#include "platform/NSArchivableClasses.h"

#include <QList>

/// Styled text, and what its paragraph styles are made of.
[[nodiscard]] QList<NSArchivableClass> archivableTextClasses();
