#pragma once

#include "platform/Conversions.h"
#include "platform/QFExport.h"

#include <QByteArrayView>
#include <QVariant>

#include <functional>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

/// What values that have no meta-object answer to messages by name: strings, lists, dates, one's own structs.
///
///     ValueOperations::add("left", [](const QString &text, int units) { return text.left(units); });
///     HOM::collect({u"ab"_s, u"cd"_s}, message.capture("left", 1));   // "a", "c"
///
/// They go before what a gadget answers itself. Any thread.
namespace ValueOperations {

/// Puts what it gives into `answer`, nil for nothing; false when it cannot take the arguments.
using Operation = std::function<bool(QVariant &receiver, const QVariantList &arguments, QVariant &answer)>;

/// One operation for each type, name and number of arguments; the last one counts. An empty one takes it
/// away, as before the code that it lies in is unloaded.
QF_EXPORT void add(QMetaType receiver, QByteArrayView name, qsizetype argumentCount, Operation operation);
[[nodiscard]] std::shared_ptr<const Operation> find(QMetaType receiver, const QByteArray &name,
                                                    qsizetype argumentCount);

namespace Implementation {

template <typename Function>
struct Signature : Signature<decltype(&Function::operator())>
{
};

template <typename Closure, typename Result, typename Receiver, typename... Parameters>
struct Signature<Result (Closure::*)(Receiver, Parameters...) const>
{
    using Value = std::decay_t<Receiver>;
    using Arguments = std::tuple<std::decay_t<Parameters>...>;
    static constexpr bool changesReceiver =
        std::is_lvalue_reference_v<Receiver> && !std::is_const_v<std::remove_reference_t<Receiver>>;
};

template <typename Value>
bool take(const QVariant &argument, Value &value)
{
    const std::optional<RankedValue> converted = convertedTo(argument, QMetaType::fromType<Value>());
    if (converted)
        value = converted->value.template value<Value>();
    return converted.has_value();
}

template <typename Function, size_t... I>
bool call(const Function &function, QVariant &receiver, [[maybe_unused]] const QVariantList &arguments,
          QVariant &answer, std::index_sequence<I...> /*numbers*/)
{
    using Traits = Signature<Function>;
    typename Traits::Arguments values;
    if (!(take(arguments[qsizetype(I)], std::get<I>(values)) && ...))
        return false;
    const auto result = [&]() -> decltype(auto) {
        using Value = typename Traits::Value;
        if constexpr (Traits::changesReceiver)
            return function(*static_cast<Value *>(receiver.data()), std::get<I>(values)...);
        else
            return function(*static_cast<const Value *>(receiver.constData()), std::get<I>(values)...);
    };
    using Result = std::decay_t<decltype(result())>;
    if constexpr (std::is_void_v<Result>)
        result();
    else if constexpr (std::is_same_v<Result, QVariant>)
        answer = result();
    else
        answer = QVariant::fromValue<Result>(result());
    return true;
}

} // namespace Implementation

/// A function of the receiver and the arguments; a receiver taken by reference may be changed. Arguments are
/// converted as for member functions.
template <typename Function>
void add(QByteArrayView name, Function function)
{
    using Traits = Implementation::Signature<Function>;
    constexpr size_t count = std::tuple_size_v<typename Traits::Arguments>;
    add(QMetaType::fromType<typename Traits::Value>(), name, qsizetype(count),
        [function](QVariant &receiver, const QVariantList &arguments, QVariant &answer) {
            return Implementation::call(function, receiver, arguments, answer,
                                        std::make_index_sequence<count>());
        });
}

} // namespace ValueOperations
