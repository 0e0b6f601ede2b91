#pragma once

#include "platform/NSArchivableClasses.h"

#include <QList>

/// Arrays, dictionaries, dates, data, strings, URLs, fonts and colours.
[[nodiscard]] QList<NSArchivableClass> archivableValueClasses();
