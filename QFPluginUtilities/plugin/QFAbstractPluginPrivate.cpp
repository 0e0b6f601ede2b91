#include "plugin/QFAbstractPluginPrivate.h"

#include "platform/QFReport.h"
#include "plugin/QFPluginClass.h"

using namespace Qt::StringLiterals;

QString pluginNameOf(const QFAbstractPlugin &plugin)
{
    try {
        const QFPluginClass *const kind = plugin.pluginClass();
        return kind ? kind->pluginName() : QString();
    } catch (...) {
        reportLoss(u"exception"_s, u"A plug-in threw an exception when it was asked for its name."_s);
        return {};
    }
}

std::optional<QVariantMap> dictionaryValue(const QVariant &value)
{
    const int type = value.typeId();
    if (type != QMetaType::QVariantMap && type != QMetaType::QVariantHash)
        return std::nullopt;
    return value.toMap();
}
