#include "platform/Logging.h"

const QLoggingCategory &qfPlatformLog()
{
    static const QLoggingCategory category("qf.platform");
    return category;
}

const QLoggingCategory &qfTextLog()
{
    static const QLoggingCategory category("qf.text");
    return category;
}

const QLoggingCategory &qfMessagingLog()
{
    // Never destroyed: threads may still log while the process ends.
    static const auto *const category = new QLoggingCategory("qf.messaging");
    return *category;
}

const QLoggingCategory &qfMediaLog()
{
    static const QLoggingCategory category("qf.media");
    return category;
}

const QLoggingCategory &qfExportLog()
{
    static const QLoggingCategory category("qf.export");
    return category;
}

const QLoggingCategory &qfEditingLog()
{
    static const QLoggingCategory category("qf.editing");
    return category;
}

const QLoggingCategory &qfPluginLog()
{
    static const QLoggingCategory category("qf.plugin",
                                           QtInfoMsg); // the end of each plug-in is of no interest
    return category;
}
