#include "plugin/QFAbstractPlugin.h"

#include "platform/DynamicMessages.h"
#include "platform/Formatting.h"
#include "platform/KeyValueCoding.h"
#include "platform/Logging.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "plugin/QFAbstractPluginPrivate.h"

using namespace Qt::StringLiterals;

namespace {

constexpr QByteArrayView kPopulate = "populatePluginSettings";

void insertUnlessNil(QVariantMap &record, const QString &key, const QVariant &value)
{
    if (!isNil(value))
        record.insert(key, value);
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
    const QVariant value = setting->value(u"value"_s);
    if (!boolValue(setting->value(u"enabled"_s)) || isNil(value))
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
    entry.insert(u"value"_s, value);
    if (display.isNull())
        return entry;
    entry.insert(u"display"_s, display);
    entry.insert(u"enabled"_s, true);
    return entry;
}

QVariant QFAbstractPlugin::pluginSettings()
{
    if (!respondsTo(this, kPopulate, 0))
        return {};
    QVariantMap record;
    insertUnlessNil(record, u"uniqueID"_s, d->uniqueID);
    insertUnlessNil(record, u"name"_s, pluginNameOf(*this));
    insertUnlessNil(record, u"settings"_s, send(this, kPopulate));
    return record;
}

void QFAbstractPlugin::setPluginSettings(const QVariantMap &record)
{
    const QVariant stored = record.value(u"settings"_s);
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
    if (sameString(stringValue(record.value(u"uniqueID"_s)), d->uniqueID))
        return false;
    return sameString(stringValue(record.value(u"name"_s)), pluginNameOf(*this));
}

bool QFAbstractPlugin::providesPluginSettings()
{
    return false;
}
