#pragma once

#include "messaging/Selectors.h"
#include "messaging/TypedMessage.h"
#include "platform/QFExport.h"

#include <QByteArrayView>
#include <QVariant>

#include <memory>
#include <type_traits>

/// Keeps a message instead of sending it, so that it can be sent later: to each element of an array
/// (messaging/NSArray+HOM.h) or on another thread
/// (messaging/NSObject+PerformOnMainThreadHigherOrderMessaging.h).
///
///     CVMessage message;
///     HOM::collect(photos, message.capture("scaled", 100, true));
///
/// Capturing overwrites what was captured before and answers the recorder itself. One thread at a time
/// captures; what is captured does not change, so a message may be replayed on several threads at once.
/// Copies share it and are cheap.
class QF_EXPORT CVMessage
{
public:
    /// Bytes that the arguments of a message may take. A larger one is refused with a line in the log:
    /// nothing is captured.
    static constexpr qsizetype maximumFrameSize = 1024;

    /// By name, as receivers answer it through their meta-object: a public invokable, slot or readable
    /// property, of whatever class. Plain values answer what is registered for them
    /// (messaging/ValueOperations.h). The sizes of the arguments' types count, and where known classes take
    /// more under this name (messaging/Selectors.h), that.
    CVMessage &capture(QByteArrayView name, const QVariantList &arguments = {});

    /// The same, with one or several arguments in a row. A single QVariantList is taken for the list of them.
    template <typename... Arguments>
    requires(sizeof...(Arguments) > 1 ||
             (sizeof...(Arguments) == 1 && !(std::is_same_v<std::decay_t<Arguments>, QVariantList> &&
                                             ...))) CVMessage &capture(const char *name,
                                                                       Arguments &&...arguments)
    {
        return capture(QByteArrayView(name), QVariantList{asVariant(std::forward<Arguments>(arguments))...});
    }

    /// By a pointer to a member function, with the arguments converted to its parameters:
    /// `capture(&Photo::scaled, 100, true)`. The quickest to replay; objects of the class and its subclasses
    /// answer.
    template <typename Class, typename Result, typename... Parameters, typename... Arguments>
    requires(sizeof...(Parameters) ==
             sizeof...(Arguments)) CVMessage &capture(Result (Class::*member)(Parameters...),
                                                      Arguments &&...arguments)
    {
        return captureMember<Class, decltype(member), Result, Parameters...>(
            member, std::forward<Arguments>(arguments)...);
    }
    template <typename Class, typename Result, typename... Parameters, typename... Arguments>
    requires(sizeof...(Parameters) ==
             sizeof...(Arguments)) CVMessage &capture(Result (Class::*member)(Parameters...) const,
                                                      Arguments &&...arguments)
    {
        return captureMember<Class, decltype(member), Result, Parameters...>(
            member, std::forward<Arguments>(arguments)...);
    }

    /// True before anything was captured, and when the last message was refused.
    [[nodiscard]] bool isEmpty() const { return _captured == nullptr; }

    /// Sends the message. Nil when the receiver gives nothing, when it does not answer (with a line in the
    /// log) and when it throws (logged too); nullptr gives nil. The receiver may be gone afterwards.
    QVariant replay(QObject *receiver) const;
    /// To the object that the value points to, or else to the value itself, which may change in place.
    QVariant replay(QVariant &receiver) const;
    QVariant replay(QVariant &&receiver) const { return replay(receiver); }
    QVariant replay(const QVariant &receiver) const { return replay(QVariant(receiver)); }

    /// What is captured; nullptr for nothing.
    [[nodiscard]] std::shared_ptr<const CapturedMessage> captured() const { return _captured; }

private:
    template <typename Argument>
    static QVariant asVariant(Argument &&argument)
    {
        using Value = std::decay_t<Argument>;
        static_assert(!std::is_same_v<Value, const char *> && !std::is_same_v<Value, char *>,
                      "texts are captured as QString");
        if constexpr (std::is_same_v<Value, std::nullptr_t>)
            return {};
        else if constexpr (std::is_same_v<Value, QVariant>)
            return std::forward<Argument>(argument);
        else
            return QVariant::fromValue<Value>(std::forward<Argument>(argument));
    }

    template <typename Class, typename Member, typename Result, typename... Parameters, typename... Arguments>
    CVMessage &captureMember(Member member, Arguments &&...arguments)
    {
        static_assert(
            ((!std::is_reference_v<Parameters> || std::is_const_v<std::remove_reference_t<Parameters>>)&&...),
            "the arguments of a captured message are read only");
        static_assert((qsizetype(sizeof(std::decay_t<Parameters>)) + ... + 0) <= maximumFrameSize,
                      "the arguments are too large to be captured");
        if constexpr (std::is_base_of_v<QObject, Class>)
            Selectors::registerClass<Class>();
        _captured = std::make_shared<TypedMessage<Class, Member, Result, std::decay_t<Parameters>...>>(
            member, std::forward<Arguments>(arguments)...);
        return *this;
    }

    std::shared_ptr<const CapturedMessage> _captured;
};
