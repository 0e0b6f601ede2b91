#pragma once

#include "messaging/CapturedMessage.h"

#include <QObject>

#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

/// A member function with its arguments, which are converted to its parameters when it is captured. Made by
/// `CVMessage::capture`.
///
/// Receivers are objects of the class or of subclasses; where the class is no QObject, values of the class
/// and shared pointers to such.
template <typename Class, typename Member, typename Result, typename... Arguments>
class TypedMessage final : public ResultMessage<std::decay_t<Result>>
{
    using Answer = std::decay_t<Result>;
    static constexpr bool isForObjects = std::is_base_of_v<QObject, Class>;
    static constexpr bool isForConstants = std::is_invocable_v<Member, const Class &, const Arguments &...>;

public:
    template <typename... Given>
    explicit TypedMessage(Member member, Given &&...given)
        : _member(member), _arguments(std::forward<Given>(given)...)
    {
    }

    [[nodiscard]] QByteArray description() const override
    {
        if constexpr (isForObjects)
            return QByteArray("a member function of ") + Class::staticMetaObject.className();
        else
            return QByteArray("a member function of ") + QMetaType::fromType<Class>().name();
    }

    [[nodiscard]] bool replayOnObject(QObject &receiver, QVariant &answer) const override
    {
        if constexpr (isForObjects) {
            auto *const object = qobject_cast<Class *>(&receiver);
            if (object)
                take(*object, answer);
            return object != nullptr;
        } else {
            return false;
        }
    }

    [[nodiscard]] bool replayOnValue(QVariant &receiver, QVariant &answer) const override
    {
        if constexpr (!isForObjects) {
            if (receiver.metaType() == QMetaType::fromType<std::shared_ptr<Class>>()) {
                const auto shared = *static_cast<const std::shared_ptr<Class> *>(receiver.constData());
                if (shared)
                    take(*shared, answer);
                return true;
            }
            if (receiver.metaType() != QMetaType::fromType<Class>())
                return false;
            if constexpr (isForConstants)
                take(*static_cast<const Class *>(receiver.constData()), answer);
            else
                take(*static_cast<Class *>(receiver.data()), answer);
            return true;
        } else {
            return false;
        }
    }

    [[nodiscard]] const QMetaObject *receiverClass() const override
    {
        if constexpr (isForObjects)
            return &Class::staticMetaObject;
        else
            return nullptr;
    }

    [[nodiscard]] Answer answerOf(QObject &receiver) const override
    {
        if constexpr (isForObjects)
            return call(static_cast<Class &>(receiver));
        else
            Q_UNREACHABLE();
    }

private:
    template <typename Receiver>
    decltype(auto) call(Receiver &receiver) const
    {
        return callWith(receiver, std::index_sequence_for<Arguments...>());
    }

    template <typename Receiver, size_t... I>
    decltype(auto) callWith(Receiver &receiver, std::index_sequence<I...> /*numbers*/) const
    {
        return (receiver.*_member)(std::get<I>(_arguments)...);
    }

    template <typename Receiver>
    void take(Receiver &receiver, QVariant &answer) const
    {
        if constexpr (std::is_void_v<Answer>) {
            call(receiver);
        } else if constexpr (std::is_same_v<Answer, QVariant>) {
            answer = call(receiver);
        } else {
            answer = QVariant::fromValue<Answer>(call(receiver));
        }
    }

    Member _member;
    std::tuple<Arguments...> _arguments;
};
