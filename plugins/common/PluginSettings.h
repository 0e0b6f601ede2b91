#pragma once

#include "platform/KeyValueCoding.h"
#include "platform/QFReport.h"
#include "plugin/QFAbstractPlugin.h"

#include <QMetaProperty>
#include <QVariantMap>

#include <algorithm>
#include <utility>

/// Settings of the sample plug-ins: the properties that their own classes declare.
namespace PluginSettings {

/// Sets what the preferences say for this kind of plug-in. Called once for a new plug-in; what does not fit a
/// property is passed over.
inline void takeDefaults(QFAbstractPlugin &plugin)
{
    const QVariantMap defaults = plugin.pluginDefaults();
    for (auto [name, value] : defaults.asKeyValueRange())
        NSKeyValueCoding::setValueForKey(&plugin, name, value);
}

/// Entries for pages of the same kind to take over: all settings but those named, which are this page's own.
inline QVariantMap transferable(const QFAbstractPlugin &plugin, std::initializer_list<QByteArrayView> own)
{
    QVariantMap settings;
    const QMetaObject *const kind = plugin.metaObject();
    for (int index = kind->propertyOffset(); index < kind->propertyCount(); ++index) {
        const QMetaProperty property = kind->property(index);
        if (std::find(own.begin(), own.end(), QByteArrayView(property.name())) != own.end())
            continue;
        const QVariant value = property.read(&plugin);
        settings.insert(QString::fromLatin1(property.name()),
                        QFAbstractPlugin::pluginSettingsValueForDisplay(value.toString(), value));
    }
    return settings;
}

/// One of the words that a setting may be, or the present one, with a record, when it is another.
inline QString choice(const QString &value, const QString &present, std::initializer_list<QStringView> words)
{
    if (std::find(words.begin(), words.end(), QStringView(value)) != words.end())
        return value;
    reportLoss(QStringLiteral("setting"), QStringLiteral("There is no choice \"") + value +
                                              QStringLiteral("\"; it stays \"") + present +
                                              QStringLiteral("\""));
    return present;
}

/// The same for a number and its range: the nearest that is allowed.
inline int clamped(int value, int lowest, int highest)
{
    const int allowed = std::clamp(value, lowest, highest);
    if (allowed != value)
        reportLoss(QStringLiteral("setting"),
                   QStringLiteral("%1 is out of range; it becomes %2").arg(value).arg(allowed));
    return allowed;
}

} // namespace PluginSettings
