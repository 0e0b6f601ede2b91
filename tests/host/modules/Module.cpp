#include "plugin/QFAbstractPlugin.h"
#include "plugin/QFPluginClass.h"

#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include <unistd.h>

// A page plug-in that does one thing wrong: MODULE_FAULT says which.

enum Fault {
    Nothing,
    AbortsAtLoad,
    EndsTheProgram,
    ThrowsInConstructor,
    ThrowsInInitialise,
    Declines,
    Hangs,
    MakesNothing,
    CrashesInInstance,
    MissesASymbol,
    HasAnotherRoot,
};

void nobodyDefinesThis();

namespace {

constexpr Fault kFault = MODULE_FAULT;

[[maybe_unused]] const bool atLoad = [] {
    if constexpr (kFault == AbortsAtLoad)
        std::abort();
    if constexpr (kFault == EndsTheProgram)
        ::_exit(0);
    return true;
}();

class Page final : public QFAbstractPlugin
{
public:
    Page()
    {
        if constexpr (kFault == CrashesInInstance)
            std::raise(SIGSEGV);
    }
};

} // namespace

#if MODULE_ROOT_IS_FOREIGN
using Root = QObject;
#else
using Root = QFPluginClass;
#endif

class ModuleClass final : public Root
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID MODULE_IID FILE "QFPagePlugin.json")

public:
    ModuleClass()
    {
        if constexpr (kFault == ThrowsInConstructor)
            throw 42;
        if constexpr (kFault == MissesASymbol)
            nobodyDefinesThis();
    }

#if !MODULE_ROOT_IS_FOREIGN
    bool initializeClass(const QVariant &) override
    {
        ++_count;
        if constexpr (kFault == ThrowsInInitialise)
            throw std::runtime_error("out of ink");
        while (kFault == Hangs)
            ::pause();
        return kFault != Declines && _count == 1;
    }

    std::unique_ptr<QFAbstractPlugin> newPlugin() override
    {
        return kFault == MakesNothing ? nullptr : std::make_unique<Page>();
    }
#endif

private:
    [[maybe_unused]] int _count = 0;
};

#include "Module.moc"
