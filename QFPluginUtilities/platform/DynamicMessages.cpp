#include "platform/DynamicMessages.h"

#include "platform/Conversions.h"
#include "platform/QFReport.h"

#include <QByteArray>
#include <QHash>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QObject>
#include <QVarLengthArray>

#include <algorithm>
#include <array>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <tuple>

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

struct Answers
{
    QVarLengthArray<int, 4> methods; // subclass first
    int property = -1;               // only when there is no method

    [[nodiscard]] bool isEmpty() const { return methods.isEmpty() && property < 0; }
};

struct CacheEntry
{
    ClassMark mark;
    Answers answers;
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
    static Cache shared;
    return shared;
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

bool stillAnswers(const Answers &answers, const QMetaObject &meta, QByteArrayView name,
                  qsizetype argumentCount)
{
    return std::ranges::all_of(
               answers.methods,
               [&](int index) { return answersMethod(meta.method(index), name, argumentCount); }) &&
           (answers.property < 0 || answersProperty(meta.property(answers.property), name));
}

Answers findAnswers(const QMetaObject &meta, QByteArrayView name, qsizetype argumentCount)
{
    Answers answers;
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

Answers answersOf(const QMetaObject &meta, QByteArrayView name, qsizetype argumentCount)
{
    Cache &shared = cache();
    {
        const std::shared_lock lock(shared.mutex);
        const auto borrowed = QByteArray::fromRawData(name.data(), name.size());
        const auto found = shared.entries.constFind({&meta, borrowed, argumentCount});
        if (found != shared.entries.constEnd() && found->mark.fits(meta) &&
            stillAnswers(found->answers, meta, name, argumentCount))
            return found->answers;
    }
    Answers answers = findAnswers(meta, name, argumentCount);
    const std::unique_lock lock(shared.mutex);
    if (shared.entries.size() >= maximumCacheEntries)
        shared.entries.clear();
    shared.entries.insert({&meta, name.toByteArray(), argumentCount}, {ClassMark(meta), answers});
    return answers;
}

// A method with its arguments as its parameters want them.
struct Call
{
    QMetaMethod method;
    QVariantList arguments;
    ConversionRank worst = ConversionRank::Exact;
    int sum = 0;

    [[nodiscard]] bool isNearerThan(const Call &other) const
    {
        return std::tie(worst, sum) < std::tie(other.worst, other.sum);
    }
};

std::optional<Call> prepared(const QMetaMethod &method, const QVariantList &arguments)
{
    Call call{method, {}, ConversionRank::Exact, 0};
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        std::optional<RankedValue> argument =
            convertedTo(arguments[i], method.parameterMetaType(static_cast<int>(i)));
        if (!argument)
            return std::nullopt;
        call.worst = std::max(call.worst, argument->rank);
        call.sum += static_cast<int>(argument->rank);
        call.arguments.append(std::move(argument->value));
    }
    return call;
}

std::optional<Call> nearestCall(const QMetaObject &meta, const Answers &answers,
                                const QVariantList &arguments)
{
    std::optional<Call> nearest;
    for (const int index : answers.methods) {
        std::optional<Call> call = prepared(meta.method(index), arguments);
        if (call && (!nearest || call->isNearerThan(*nearest)))
            nearest = std::move(call);
    }
    return nearest;
}

// Where the callee finds a value of `type`: a QVariant that is asked for is handed over itself.
void *storage(QVariant &value, QMetaType type)
{
    return type == QMetaType::fromType<QVariant>() ? &value : value.data();
}

// A guarded pointer as the plain one, so that callers know one form of objects only.
QVariant unguarded(QVariant answer)
{
    if (answer.metaType().flags().testFlag(QMetaType::TrackingPointerToQObject))
        return QVariant::fromValue(answer.value<QObject *>());
    return answer;
}

QVariant perform(QObject *object, Call &call)
{
    const QMetaType answerType = call.method.returnMetaType();
    const bool hasAnswer = answerType.isValid() && answerType.id() != QMetaType::Void;
    QVariant answer;
    if (hasAnswer && answerType != QMetaType::fromType<QVariant>())
        answer = QVariant(answerType);
    if (hasAnswer && answerType != QMetaType::fromType<QVariant>() && !answer.isValid())
        return {}; // an answer of a type that cannot be made beforehand
    std::array<void *, maximumMessageArguments + 1> frame{};
    frame[0] = hasAnswer ? storage(answer, answerType) : nullptr;
    for (qsizetype i = 0; i < call.arguments.size(); ++i)
        frame[static_cast<size_t>(i) + 1] =
            storage(call.arguments[i], call.method.parameterMetaType(static_cast<int>(i)));
    QMetaObject::metacall(object, QMetaObject::InvokeMetaMethod, call.method.methodIndex(), frame.data());
    return unguarded(std::move(answer));
}

} // namespace

bool respondsTo(const QObject *object, QByteArrayView name, qsizetype argumentCount)
{
    return object && !name.isEmpty() && argumentCount <= maximumMessageArguments &&
           !answersOf(*object->metaObject(), name, argumentCount).isEmpty();
}

QVariant send(QObject *object, QByteArrayView name, const QVariantList &arguments)
{
    if (!object || name.isEmpty() || arguments.size() > maximumMessageArguments)
        return {};
    try {
        const QMetaObject &meta = *object->metaObject();
        const Answers answers = answersOf(meta, name, arguments.size());
        if (answers.property >= 0)
            return unguarded(meta.property(answers.property).read(object));
        std::optional<Call> call = nearestCall(meta, answers, arguments);
        return call ? perform(object, *call) : QVariant();
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
}
