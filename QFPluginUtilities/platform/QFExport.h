#pragma once

#include <QtCore/qglobal.h>

/// Marks what the shared library shows to plug-ins and host; everything else stays hidden.
#if defined(QFPluginUtilities_EXPORTS)
#define QF_EXPORT Q_DECL_EXPORT
#else
#define QF_EXPORT Q_DECL_IMPORT
#endif
