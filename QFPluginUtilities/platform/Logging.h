#pragma once

#include "platform/QFExport.h"

#include <QLoggingCategory>

// One logging category a folder; a failure's fixed text is logged there, whole and unquoted.

QF_EXPORT const QLoggingCategory &qfPlatformLog();  ///< "qf.platform"
QF_EXPORT const QLoggingCategory &qfTextLog();      ///< "qf.text"
QF_EXPORT const QLoggingCategory &qfMessagingLog(); ///< "qf.messaging"
QF_EXPORT const QLoggingCategory &qfMediaLog();     ///< "qf.media"
QF_EXPORT const QLoggingCategory &qfExportLog();    ///< "qf.export"
QF_EXPORT const QLoggingCategory &qfPluginLog();    ///< "qf.plugin", without debug messages
QF_EXPORT const QLoggingCategory &qfEditingLog();   ///< "qf.editing"
