#include "plugin/QFAbstractPlugin.h"

#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/NSUserDefaults.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "plugin/QFAbstractPluginPrivate.h"

using namespace Qt::StringLiterals;

namespace {

constexpr QStringView kPlugins = u"Plugins";

QVariantMap hostDomain()
{
    return NSUserDefaults::standardUserDefaults().persistentDomainForName(NSUserDefaults::mainIdentifier());
}

/// Empty also where something other than a dictionary is stored; writing then replaces that.
QVariantMap dictionaryIn(const QVariantMap &dictionary, QStringView key)
{
    return dictionaryValue(dictionary.value(key.toString())).value_or(QVariantMap());
}

/// Changes one entry of what is stored for plug-ins. False when it cannot be stored.
bool storeDefaults(const QString &name, const QVariant &defaults)
{
    NSUserDefaults &preferences = NSUserDefaults::standardUserDefaults();
    if (hostDomain().isEmpty())
        return true;           // meant so: a host that keeps no preferences is not given any
    preferences.synchronize(); // so that entries which another process has made stay
    QVariantMap domain = hostDomain();
    if (domain.isEmpty())
        return true; // another process has removed it
    QVariantMap plugins = dictionaryIn(domain, kPlugins);
    if (isNil(defaults))
        plugins.remove(name);
    else
        plugins.insert(name, defaults);
    domain.insert(kPlugins.toString(), plugins);
    return preferences.setPersistentDomain(domain, NSUserDefaults::mainIdentifier()) &&
           preferences.synchronize();
}

} // namespace

QVariantMap QFAbstractPlugin::pluginDefaults() const
{
    const QString name = pluginNameOf(*this);
    return name.isEmpty() ? QVariantMap() : dictionaryIn(dictionaryIn(hostDomain(), kPlugins), name);
}

void QFAbstractPlugin::setPluginDefaults(const QVariant &defaults)
{
    const QString name = pluginNameOf(*this);
    if (name.isEmpty())
        return;
    const bool isDefaults = isNil(defaults) || dictionaryValue(defaults);
    if (!isDefaults || !storeDefaults(name, defaults))
        logFailure(qfPluginLog(), u"plugin-defaults"_s,
                   formatted(u"Failed to save plugin defaults for %@", {name}));
}
