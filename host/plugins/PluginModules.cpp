#include "host/plugins/PluginModules.h"

#include "host/plugins/PluginLoading.h"
#include "host/plugins/PluginMetadata.h"
#include "host/plugins/PluginTrial.h"
#include "plugin/QFPluginClass.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QMap>
#include <QPointer>
#include <QSet>
#include <QVersionNumber>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The kinds of this process, by file: a module has one root object, and that is initialised once.
QHash<QString, QPointer<QFPluginClass>> &initialisedClasses()
{
    static QHash<QString, QPointer<QFPluginClass>> classes;
    return classes;
}

QStringList filesIn(const QString &folder)
{
    QStringList paths;
    const QDir directory(folder);
    // "System" finds links that lead nowhere, which are refused with a sentence like everything else.
    const auto all = QDir::Files | QDir::Dirs | QDir::System | QDir::NoDotAndDotDot;
    for (const QString &name : directory.entryList({u"*.so"_s}, all, QDir::Name))
        paths.append(directory.absoluteFilePath(name));
    return paths;
}

bool isNewer(const PluginModuleInfo &a, const PluginModuleInfo &b)
{
    return QVersionNumber::fromString(a.version) > QVersionNumber::fromString(b.version);
}

QString titleOf(const PluginModuleInfo &info)
{
    return info.name + u' ' + info.version;
}

/// What the module does wrong when it is first loaded; nil, and the kind, when nothing.
QString load(const QString &file, QPointer<QFPluginClass> &pluginClass)
{
    const bool isTried = PluginTrial::isPossible();
    QString fault = isTried ? PluginTrial::faultOf(file) : QString();
    if (!fault.isNull())
        return fault;
    pluginClass = loadPluginClass(file, fault);
    if (pluginClass && !isTried)
        fault = faultOfInstance(*pluginClass);
    if (fault.isNull() && !pluginClass)
        fault = u"it destroys itself"_s;
    return fault;
}

} // namespace

struct PluginModules::Private
{
    QList<PluginModuleInfo> modules;
    QList<PluginModuleRefusal> refusals;
    QHash<QString, QString> refusedKinds; ///< sentences by identifier, of modules that could not be loaded

    void readFolder(const QString &folder, QMap<QString, PluginModuleInfo> &found);
    void refuseDuplicate(const PluginModuleInfo &info, const PluginModuleInfo &used, const QString &reason);
    QString refuse(const PluginModuleInfo &info, const QString &fault);
};

/// Adds the folder's modules to those that were found in the folders before it.
void PluginModules::Private::readFolder(const QString &folder, QMap<QString, PluginModuleInfo> &found)
{
    QMap<QString, PluginModuleInfo> here;
    for (const QString &file : filesIn(folder)) {
        const PluginMetadata metadata = PluginMetadata::read(file);
        const PluginModuleInfo &info = metadata.info;
        if (!metadata.refusal.isNull()) {
            refusals.append({file, metadata.refusal});
        } else if (const auto before = found.constFind(info.identifier); before != found.constEnd()) {
            refuseDuplicate(info, *before, u"lies in a folder that comes first"_s);
        } else if (const auto other = here.find(info.identifier); other == here.end()) {
            here.insert(info.identifier, info);
        } else if (isNewer(info, *other)) {
            refuseDuplicate(*other, info, u"is newer"_s);
            *other = info;
        } else {
            refuseDuplicate(info, *other, isNewer(*other, info) ? u"is newer"_s : u"has the same version"_s);
        }
    }
    found.insert(here);
}

void PluginModules::Private::refuseDuplicate(const PluginModuleInfo &info, const PluginModuleInfo &used,
                                             const QString &reason)
{
    refusals.append({info.file, titleOf(info) + u" is there twice: "_s + used.file +
                                    u" is used in its place, since it "_s + reason +
                                    u". Remove one of them."_s});
}

QString PluginModules::Private::refuse(const PluginModuleInfo &info, const QString &fault)
{
    const QString sentence = titleOf(info) + u" cannot be used: "_s + fault +
                             u". Install it again, or ask its author, "_s + info.author +
                             u", for a newer build."_s;
    refusals.append({info.file, sentence});
    refusedKinds.insert(info.identifier, sentence);
    return sentence;
}

PluginModules::PluginModules(const QStringList &folders) : d(std::make_unique<Private>())
{
    QMap<QString, PluginModuleInfo> found;
    QSet<QString> read;
    for (const QString &folder : folders) {
        const QString path = QFileInfo(folder).canonicalFilePath();
        if (path.isEmpty() || read.contains(path))
            continue;
        read.insert(path);
        d->readFolder(path, found);
    }
    d->modules = found.values();
}

PluginModules::~PluginModules() = default;

QStringList PluginModules::standardFolders()
{
    QStringList folders = qEnvironmentVariable("QF_PLUGIN_PATH").split(u':', Qt::SkipEmptyParts);
    folders.append(QDir::cleanPath(QCoreApplication::applicationDirPath() + u"/../lib/quillfern/plugins"_s));
    return folders;
}

const QList<PluginModuleInfo> &PluginModules::modules() const
{
    return d->modules;
}

const QList<PluginModuleRefusal> &PluginModules::refusals() const
{
    return d->refusals;
}

QFPluginClass *PluginModules::pluginClass(const QString &identifier, QString *error)
{
    QString sentence = d->refusedKinds.value(identifier);
    QPointer<QFPluginClass> result;
    const auto info = std::ranges::find(d->modules, identifier, &PluginModuleInfo::identifier);
    if (info == d->modules.cend()) {
        sentence = u"There is no plug-in \""_s + identifier +
                   u"\". Put its module into a folder that QF_PLUGIN_PATH names."_s;
    } else if (sentence.isNull()) {
        result = initialisedClasses().value(info->file);
        if (!result) {
            const QString fault = load(info->file, result);
            if (fault.isNull())
                initialisedClasses().insert(info->file, result);
            else
                sentence = d->refuse(*info, fault);
        }
    }
    if (error)
        *error = sentence;
    return sentence.isNull() ? result.data() : nullptr;
}
