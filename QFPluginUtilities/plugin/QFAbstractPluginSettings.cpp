#include "plugin/QFAbstractPlugin.h"

#include "platform/DynamicMessages.h"
#include "platform/Formatting.h"
#include "platform/KeyValueCoding.h"
#include "platform/Logging.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "platform/WithoutThrowing.h"
#include "plugin/QFAbstractPluginPrivate.h"
#include "plugin/QFPluginRecords.h"

using namespace Qt::StringLiterals;

namespace {

constexpr QByteArrayView kPopulate = "populatePluginSettings";

void insertUnlessNil(QVariantMap &record, QStringView key, const QVariant &value)
{
    if (!isNil(value))
        record.insert(key.toString(), value);
}

/// What the plug-in answers, which may not be what it was given.
QString uniqueIDOf(const QFAbstractPlugin &plugin)
{
    return withoutThrowing([&] { return plugin.uniqueID(); });
}

void logNotApplied(const QString &reason)
{
    logFailure(qfPluginLog(), u"plugin-settings"_s,
               formatted(u"Error applying plugin settings: %@", {reason}));
}

/// Nothing for an entry that is well-formed but not to be applied.
void applyEntry(QObject *plugin, const QString &key, const QVariant &entry)
{
    const std::optional<QVariantMap> setting = dictionaryValue(entry);
    if (!setting) {
        logNotApplied(u"the entry '"_s + key + u"' is no dictionary"_s);
        return;
    }
    const QVariant value = setting->value(kQFPluginSettingValueKey.toString());
    if (!boolValue(setting->value(kQFPluginSettingEnabledKey.toString())) || isNil(value))
        return;
    QString reason;
    if (!NSKeyValueCoding::setValueForKey(plugin, key, value, &reason))
        logNotApplied(reason);
}

} // namespace

QVariantMap QFAbstractPlugin::pluginSettingsValueForDisplay(const QString &display, const QVariant &value)
{
    // The first nil ends the dictionary, "enabled" included; meant so.
    QVariantMap entry;
    if (isNil(value))
        return entry;
    entry.insert(kQFPluginSettingValueKey.toString(), value);
    if (display.isNull())
        return entry;
    entry.insert(kQFPluginSettingDisplayKey.toString(), display);
    entry.insert(kQFPluginSettingEnabledKey.toString(), true);
    return entry;
}

QVariant QFAbstractPlugin::pluginSettings()
{
    if (!respondsTo(this, kPopulate, 0))
        return {};
    QVariantMap record;
    insertUnlessNil(record, kQFPluginSettingsUniqueIDKey, uniqueIDOf(*this));
    insertUnlessNil(record, kQFPluginSettingsNameKey, pluginNameOf(*this));
    insertUnlessNil(record, kQFPluginSettingsSettingsKey, send(this, kPopulate));
    return record;
}

void QFAbstractPlugin::setPluginSettings(const QVariantMap &record)
{
    const QVariant stored = record.value(kQFPluginSettingsSettingsKey.toString());
    if (isNil(stored))
        return;
    const std::optional<QVariantMap> settings = dictionaryValue(stored);
    if (!settings) {
        logNotApplied(u"'settings' is no dictionary"_s);
        return;
    }
    // A setter may destroy this plug-in. The settings are a copy, whatever becomes of the record.
    const QPointer<QObject> plugin(this);
    for (auto setting = settings->begin(); setting != settings->end() && plugin; ++setting)
        applyEntry(plugin, setting.key(), setting.value());
}

bool QFAbstractPlugin::acceptsPluginSettings(const QVariantMap &record)
{
    if (sameString(stringValue(record.value(kQFPluginSettingsUniqueIDKey.toString())), uniqueIDOf(*this)))
        return false;
    return sameString(stringValue(record.value(kQFPluginSettingsNameKey.toString())), pluginNameOf(*this));
}

bool QFAbstractPlugin::providesPluginSettings()
{
    return false;
}
