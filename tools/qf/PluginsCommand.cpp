#include "tools/qf/Command.h"

#include "host/plugins/PluginModules.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace {

constexpr const char *kHelp =
    R"(Usage: qf plugins [options]

Lists the page plug-ins that can be used, and on standard error the modules that cannot, with the reason. Each
module is loaded, after it was tried out in a process of its own.

  --json      print both lists as JSON on standard output
  --strict    exit with 1 when there is a module that cannot be used

Modules are looked for in the folders that the environment variable QF_PLUGIN_PATH names, with colons between
them, then in lib/quillfern/plugins beside the folder of qf. QF_PLUGIN_TIMEOUT is the time in milliseconds
after which one that does not come back is given up (5000).

Exit codes: 0 done; 1 failed, or refused modules with --strict; 2 wrong usage.
)";

QByteArray asJson(const QList<PluginModuleInfo> &usable, const QList<PluginModuleRefusal> &refusals)
{
    QJsonArray plugins;
    for (const PluginModuleInfo &info : usable) {
        plugins.append(QJsonObject{{u"identifier"_s, info.identifier},
                                   {u"version"_s, info.version},
                                   {u"name"_s, info.name},
                                   {u"author"_s, info.author},
                                   {u"description"_s, info.description},
                                   {u"apiLevel"_s, info.apiLevel},
                                   {u"oldestApiLevel"_s, info.oldestApiLevel},
                                   {u"file"_s, info.file}});
    }
    QJsonArray refused;
    for (const PluginModuleRefusal &refusal : refusals)
        refused.append(QJsonObject{{u"file"_s, refusal.file}, {u"sentence"_s, refusal.sentence}});
    return QJsonDocument(QJsonObject{{u"plugins"_s, plugins}, {u"refused"_s, refused}}).toJson();
}

QByteArray asText(const QList<PluginModuleInfo> &usable)
{
    QString text;
    for (const PluginModuleInfo &info : usable) {
        text += info.identifier + u"\n    "_s + info.name + u' ' + info.version + u", by "_s + info.author +
                u"\n    "_s + info.description + u"\n    "_s + info.file + u'\n';
    }
    return text.toUtf8();
}

} // namespace

int runPlugins(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addOptions({{u"json"_s, {}}, {u"strict"_s, {}}});
    if (const auto code = parsed(parser, arguments, kHelp))
        return *code;
    if (!parser.positionalArguments().isEmpty())
        return wrongUsage(u"qf plugins takes no file; see qf plugins --help"_s);
    PluginModules modules;
    QList<PluginModuleInfo> usable;
    for (const PluginModuleInfo &info : modules.modules()) {
        if (modules.pluginClass(info.identifier))
            usable.append(info);
    }
    const bool isJson = parser.isSet(u"json"_s);
    const int code = writeOutput(isJson ? asJson(usable, modules.refusals()) : asText(usable), {});
    if (!isJson) {
        for (const PluginModuleRefusal &refusal : modules.refusals())
            complain(refusal.file + u": "_s + refusal.sentence);
        if (usable.isEmpty())
            complain(u"there are no plug-ins in "_s + PluginModules::standardFolders().join(u", "_s));
    }
    return code == Done && parser.isSet(u"strict"_s) && !modules.refusals().isEmpty() ? Failed : code;
}
