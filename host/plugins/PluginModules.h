#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

class QFPluginClass;

/// What a module's metadata says of itself.
struct PluginModuleInfo
{
    QString file; ///< absolute path of the module
    QString identifier;
    QString version;
    QString name;
    QString author;
    QString description;
    int apiLevel = 0;       ///< that the module was built against
    int oldestApiLevel = 0; ///< that it can run with
};

/// A file that looks like a module and cannot be used, with a sentence that tells people what to do about it.
struct PluginModuleRefusal
{
    QString file;
    QString sentence;
};

/// The page plug-ins that there are. A module's metadata is read without loading it; it is loaded when its
/// kind is first asked for, and stays loaded. Whatever a module is or does, short of crashing after it has
/// been tried out, ends as a refusal. Main thread.
class PluginModules
{
public:
    /// Looks into the folders in order. Of modules with one identifier the first folder's counts, and within
    /// a folder the highest version.
    explicit PluginModules(const QStringList &folders = standardFolders());
    ~PluginModules();
    PluginModules(const PluginModules &) = delete;
    PluginModules &operator=(const PluginModules &) = delete;

    /// The folders in QF_PLUGIN_PATH (between colons), then the one that belongs to the program.
    [[nodiscard]] static QStringList standardFolders();

    /// Modules that can be loaded as far as their metadata says, by identifier. One that turns out not to be
    /// stays here.
    [[nodiscard]] const QList<PluginModuleInfo> &modules() const;
    [[nodiscard]] const QList<PluginModuleRefusal> &refusals() const;

    /// The kind with that identifier, loaded and initialised; owned by its module. nullptr when there is none
    /// or it was refused: then `error`, if given, is the sentence that says why, which `refusals` has from
    /// then on. A module's first loading is tried out in a copy of this process, a few milliseconds; that is
    /// left out where other threads run beside this one, so ask before any are started.
    [[nodiscard]] QFPluginClass *pluginClass(const QString &identifier, QString *error = nullptr);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
