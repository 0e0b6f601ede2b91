#include "platform/DynamicMessages.h"

#include "platform/QFReport.h"

#include <QByteArray>
#include <QHash>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QObject>

#include <algorithm>
#include <mutex>
#include <shared_mutex>

using namespace Qt::StringLiterals;

namespace {

struct MessageKey
{
    const QMetaObject *metaObject;
    QByteArray name;
    qsizetype argumentCount;

    friend bool operator==(const MessageKey &, const MessageKey &) = default;
    friend size_t qHash(const MessageKey &key, size_t seed = 0)
    {
        return qHashMulti(seed, key.metaObject, key.name, key.argumentCount);
    }
};

// What tells a class from another one that has come to lie at the same address: a plug-in was unloaded and
// another loaded, or the class is made at run time.
struct ClassMark
{
    const void *strings;
    const void *data;
    const QMetaObject *superClass;
    int methodCount;
    int propertyCount;
    QByteArray className;

    explicit ClassMark(const QMetaObject &meta)
        : strings(meta.d.stringdata), data(meta.d.data), superClass(meta.superClass()),
          methodCount(meta.methodCount()), propertyCount(meta.propertyCount()), className(meta.className())
    {
    }

    [[nodiscard]] bool fits(const QMetaObject &meta) const
    {
        return strings == meta.d.stringdata && data == meta.d.data && superClass == meta.superClass() &&
               methodCount == meta.methodCount() && propertyCount == meta.propertyCount() &&
               className == meta.className();
    }
};

struct CacheEntry
{
    ClassMark mark;
    MessageAnswers answers;
};

// Classes made at run time would make it grow without end.
constexpr qsizetype maximumCacheEntries = 4096;

struct Cache
{
    std::shared_mutex mutex; // guards `entries`
    QHash<MessageKey, CacheEntry> entries;
};

Cache &cache()
{
    static auto *const shared = new Cache; // never destroyed: threads may still send while the process ends
    return *shared;
}

bool answersMethod(const QMetaMethod &method, QByteArrayView name, qsizetype argumentCount)
{
    return method.access() == QMetaMethod::Public && method.methodType() != QMetaMethod::Signal &&
           method.parameterCount() == argumentCount && method.name() == name;
}

bool answersProperty(const QMetaProperty &property, QByteArrayView name)
{
    return property.isValid() && property.isReadable() && QByteArrayView(property.name()) == name;
}

bool stillAnswers(const MessageAnswers &answers, const QMetaObject &meta, QByteArrayView name,
                  qsizetype argumentCount)
{
    return std::ranges::all_of(
               answers.methods,
               [&](int index) { return answersMethod(meta.method(index), name, argumentCount); }) &&
           (answers.property < 0 || answersProperty(meta.property(answers.property), name));
}

MessageAnswers findAnswers(const QMetaObject &meta, QByteArrayView name, qsizetype argumentCount)
{
    MessageAnswers answers;
    for (int index = meta.methodCount() - 1; index >= 0; --index)
        if (answersMethod(meta.method(index), name, argumentCount))
            answers.methods.append(index);
    if (!answers.methods.isEmpty() || argumentCount != 0)
        return answers;
    for (int index = meta.propertyCount() - 1; index >= 0 && answers.property < 0; --index)
        if (answersProperty(meta.property(index), name))
            answers.property = index;
    return answers;
}

} // namespace

MessageAnswers messageAnswers(const QMetaObject &meta, QByteArrayView name, qsizetype argumentCount)
{
    if (name.isEmpty() || argumentCount > maximumMessageArguments)
        return {};
    Cache &shared = cache();
    {
        const std::shared_lock lock(shared.mutex);
        const auto borrowed = QByteArray::fromRawData(name.data(), name.size());
        const auto found = shared.entries.constFind({&meta, borrowed, argumentCount});
        if (found != shared.entries.constEnd() && found->mark.fits(meta) &&
            stillAnswers(found->answers, meta, name, argumentCount))
            return found->answers;
    }
    MessageAnswers answers = findAnswers(meta, name, argumentCount);
    const std::unique_lock lock(shared.mutex);
    if (shared.entries.size() >= maximumCacheEntries)
        shared.entries.clear();
    shared.entries.insert({&meta, name.toByteArray(), argumentCount}, {ClassMark(meta), answers});
    return answers;
}

bool respondsTo(const QObject *object, QByteArrayView name, qsizetype argumentCount)
{
    return object && !messageAnswers(*object->metaObject(), name, argumentCount).isEmpty();
}

QVariant send(QObject *object, QByteArrayView name, const QVariantList &arguments)
{
    if (!object)
        return {};
    try {
        const QMetaObject &meta = *object->metaObject();
        const PreparedMessage message(meta, messageAnswers(meta, name, arguments.size()), arguments);
        QVariant answer;
        if (message.isAnswered())
            message.send(object, answer);
        return answer;
    } catch (...) {
        reportLoss(u"exception"_s,
                   u"The answer to '"_s + QString::fromUtf8(name) + u"' threw an exception."_s);
        return {};
    }
}

void forgetMessageTables()
{
    Cache &shared = cache();
    const std::unique_lock lock(shared.mutex);
    shared.entries.clear();
    PreparedMessage::forgetAll();
}
