#include "host/plugins/PluginLoading.h"

#include "plugin/QFAbstractPlugin.h"
#include "plugin/QFPluginClass.h"

#include <QPluginLoader>

#include <exception>

using namespace Qt::StringLiterals;

namespace {

/// Runs a piece of the module's code; nil, or what it threw.
template <typename Work>
QString thrownBy(const QString &doing, Work work)
{
    try {
        work();
        return {};
    } catch (const std::exception &exception) {
        return u"it threw an exception while "_s + doing + u" ("_s + QString::fromUtf8(exception.what()) +
               u')';
    } catch (...) {
        return u"it threw an exception while "_s + doing;
    }
}

} // namespace

QFPluginClass *loadPluginClass(const QString &file, QString &fault)
{
    QPluginLoader loader(file);
    // A symbol that is missing is told now, instead of ending the program when it is first needed.
    loader.setLoadHints(QLibrary::ResolveAllSymbolsHint | QLibrary::PreventUnloadHint);
    QObject *root = nullptr;
    fault = thrownBy(u"being loaded"_s, [&] { root = loader.instance(); });
    if (!fault.isNull())
        return nullptr;
    if (!root) {
        fault = u"it cannot be loaded ("_s + loader.errorString() + u')';
        return nullptr;
    }
    auto *pluginClass = qobject_cast<QFPluginClass *>(root);
    if (!pluginClass) {
        fault = u"its main object ("_s + QString::fromLatin1(root->metaObject()->className()) +
                u") is no QFPluginClass"_s;
        return nullptr;
    }
    bool canRun = false;
    fault = thrownBy(u"being initialised"_s, [&] { canRun = pluginClass->initializeClass(file); });
    if (fault.isNull() && !canRun)
        fault = u"it says that it cannot run here"_s;
    return fault.isNull() ? pluginClass : nullptr;
}

QString faultOfInstance(QFPluginClass &pluginClass)
{
    bool isThere = false;
    const QString thrown =
        thrownBy(u"making a page"_s, [&] { isThere = pluginClass.newPlugin() != nullptr; });
    return !thrown.isNull() || isThere ? thrown : u"it makes no pages"_s;
}
