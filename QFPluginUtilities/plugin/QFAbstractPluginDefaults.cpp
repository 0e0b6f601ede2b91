#include "plugin/QFAbstractPlugin.h"

#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/NSUserDefaults.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "plugin/QFAbstractPluginPrivate.h"

using namespace Qt::StringLiterals;

namespace {

const QString kPlugins = u"Plugins"_s;

QVariantMap hostDomain()
{
    return NSUserDefaults::standardUserDefaults().persistentDomainForName(NSUserDefaults::mainIdentifier());
}

/// Empty also where something other than a dictionary is stored; writing then replaces that.
QVariantMap dictionaryIn(const QVariantMap &dictionary, const QString &key)
{
    return dictionaryValue(dictionary.value(key)).value_or(QVariantMap());
}

bool isWritten(const QVariantMap &domain)
{
    NSUserDefaults &preferences = NSUserDefaults::standardUserDefaults();
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
    QVariantMap domain = hostDomain();
    if (domain.isEmpty())
        return; // meant so: a host that keeps no preferences is not given any
    QVariantMap plugins = dictionaryIn(domain, kPlugins);
    if (isNil(defaults))
        plugins.remove(name);
    else
        plugins.insert(name, defaults);
    domain.insert(kPlugins, plugins);
    if (!isWritten(domain))
        logFailure(qfPluginLog(), u"plugin-defaults"_s,
                   formatted(u"Failed to save plugin defaults for %@", {name}));
}
