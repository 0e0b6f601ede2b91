#pragma once

#include "platform/QFReport.h"

#include <QString>

#include <exception>

/// What a plug-in answers, or an empty value when it throws: then there is a record of what was asked.
/// Plug-ins are code of others: they may throw anything, and may be gone after any call.
template <typename Call>
auto guardedCall(const QString &operation, Call call) -> decltype(call())
{
    QString reason;
    try {
        return call();
    } catch (const std::exception &exception) {
        reason = QStringLiteral(" (") + QString::fromUtf8(exception.what()) + u')';
    } catch (...) {
    }
    reportLoss(QStringLiteral("plugin"),
               QStringLiteral("the plug-in threw an exception in ") + operation + reason);
    return decltype(call())();
}
