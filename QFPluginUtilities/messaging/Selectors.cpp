#include "messaging/Selectors.h"

#include "platform/Conversions.h"

#include <QHash>
#include <QMetaMethod>

#include <algorithm>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

namespace {

struct Method
{
    QByteArray name;
    qsizetype size;
    QList<int> parameters; ///< of built-in types; UnknownType for others, which may go with their module
};

struct Selector
{
    qsizetype size = 0;
    /// By the number of parameters; UnknownType where methods differ.
    QHash<qsizetype, QList<int>> parameters;
};

/// Never destroyed: threads may still capture while the process ends.
struct Table
{
    std::mutex lock; ///< guards all
    std::set<std::pair<const QMetaObject *, QByteArray>> knownClasses;
    std::vector<Method> methods; ///< of all known classes
    QHash<QByteArray, Selector> allSelectorsToArgumentSizeMap;
    size_t previousNumberOfClasses = 0;
    QHash<QByteArray, qsizetype> mostRecentlyUsedSelectorToArgumentSizeMap;
};

Table &table()
{
    static auto *const theTable = new Table;
    return *theTable;
}

Method methodFrom(const QMetaMethod &method)
{
    Method copy{method.name(), 0, {}};
    for (int i = 0; i < method.parameterCount(); ++i) {
        const QMetaType type = method.parameterMetaType(i);
        copy.size += type.isValid() ? type.sizeOf() : 0;
        copy.parameters.append(type.id() < QMetaType::User ? type.id() : QMetaType::UnknownType);
    }
    return copy;
}

void addMethod(Selector &selector, const Method &method)
{
    selector.size = std::max(selector.size, method.size);
    const auto known = selector.parameters.find(method.parameters.size());
    if (known == selector.parameters.end()) {
        selector.parameters.insert(method.parameters.size(), method.parameters);
        return;
    }
    for (qsizetype i = 0; i < method.parameters.size(); ++i)
        if (known->at(i) != method.parameters[i])
            (*known)[i] = QMetaType::UnknownType;
}

/// With the lock held.
void cacheAllSelectors(Table &all)
{
    if (all.previousNumberOfClasses == all.knownClasses.size())
        return;
    all.allSelectorsToArgumentSizeMap.clear();
    for (const Method &method : all.methods)
        addMethod(all.allSelectorsToArgumentSizeMap[method.name], method);
    all.previousNumberOfClasses = all.knownClasses.size();
}

/// The number in the wider type, or as it is.
QVariant widened(const QVariant &argument, int type)
{
    if (type == QMetaType::UnknownType || argument.typeId() == type)
        return argument;
    const std::optional<RankedValue> wider = convertedTo(argument, QMetaType(type));
    return wider && wider->rank == ConversionRank::Widening ? wider->value : argument;
}

} // namespace

void CacheAllSelectors()
{
    const std::lock_guard guard(table().lock);
    cacheAllSelectors(table());
}

qsizetype MaximumArgumentSizeForSelector(QByteArrayView name)
{
    Table &all = table();
    const QByteArray key = name.toByteArray();
    const std::lock_guard guard(all.lock);
    cacheAllSelectors(all);
    // Meant so: sizes in here are not brought up to date.
    auto &recent = all.mostRecentlyUsedSelectorToArgumentSizeMap;
    if (const auto known = recent.constFind(key); known != recent.constEnd())
        return *known;
    const auto found = all.allSelectorsToArgumentSizeMap.constFind(key);
    if (found == all.allSelectorsToArgumentSizeMap.constEnd())
        return 0;
    return *recent.insert(key, found->size);
}

void Selectors::registerClass(const QMetaObject &meta)
{
    Table &all = table();
    const std::lock_guard guard(all.lock);
    for (const QMetaObject *known = &meta; known; known = known->superClass()) {
        if (!all.knownClasses.emplace(known, known->className()).second)
            continue;
        for (int i = known->methodOffset(); i < known->methodCount(); ++i)
            all.methods.push_back(methodFrom(known->method(i)));
    }
}

QVariantList Selectors::widened(QByteArrayView name, const QVariantList &arguments)
{
    QList<int> parameters;
    {
        Table &all = table();
        const std::lock_guard guard(all.lock);
        cacheAllSelectors(all);
        const auto found = all.allSelectorsToArgumentSizeMap.constFind(name.toByteArray());
        if (found != all.allSelectorsToArgumentSizeMap.constEnd())
            parameters = found->parameters.value(arguments.size());
    }
    QVariantList result = arguments;
    for (qsizetype i = 0; i < parameters.size(); ++i)
        result[i] = ::widened(arguments[i], parameters[i]);
    return result;
}
