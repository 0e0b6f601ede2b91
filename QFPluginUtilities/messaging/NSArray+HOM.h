#pragma once

#include "messaging/CVMessage.h"
#include "platform/Conversions.h"
#include "platform/NSRange.h"
#include "platform/QFExport.h"
#include "platform/Values.h"

#include <QList>
#include <QObject>
#include <QVariantList>

#include <memory>
#include <optional>
#include <span>
#include <thread>
#include <type_traits>

/// A captured message to each element of an array, in order.
///
/// Elements are objects (guarded pointers, QPointer, where an element may destroy another), gadgets, or
/// values that have operations (messaging/ValueOperations.h). They are walked over as they were at the
/// beginning, whatever they do to the array meanwhile, and a value that a message changes is changed in the
/// copy only. Elements that do not answer, or throw, are logged and give nil.
namespace HOM {

/// The answers. Throws std::invalid_argument, which is all that it throws, when one of them is nil: no array
/// holds it.
[[nodiscard]] QF_EXPORT QVariantList collect(const QVariantList &array, const CVMessage &message);

/// The elements whose answer is true. Of a number the low byte is looked at, so 256 is false and -1 true;
/// other answers are true as boolValue reads them (platform/Values.h).
[[nodiscard]] QF_EXPORT QVariantList select(const QVariantList &array, const CVMessage &message);

/// Puts the answers of the elements in the range into the same places of the vector, nil too. Of a range that
/// goes beyond either, a line is logged and the rest is done.
QF_EXPORT void mutableReplacingCollect(const QVariantList &source, std::span<QVariant> newVector,
                                       NSRange range, const CVMessage &message);

/// As `collect`, with the array cut into as many pieces as there are processors and each done by a thread of
/// its own, one of them by the caller's. Answers, or throws, when all are done. Elements must stand being
/// sent messages on any thread; values of which other pieces hold copies do. On the main thread, work that is
/// handed to it is done meanwhile, so that messages may wait for it.
[[nodiscard]] QF_EXPORT QVariantList
parallelCollect(const QVariantList &array, const CVMessage &message,
                unsigned processors = std::thread::hardware_concurrency());

/// The pieces for `parallelCollect`. They are reckoned in single precision, so some may be empty, and the
/// last ones may go beyond the count; with 0 processors there is one, and it goes far beyond.
[[nodiscard]] QF_EXPORT QList<NSRange> parallelRanges(qsizetype count, unsigned processors);

/// What `select` takes for true.
[[nodiscard]] QF_EXPORT bool isTrue(const QVariant &answer);

namespace Implementation {

[[noreturn]] QF_EXPORT void throwNilAnswer();

template <typename Answer>
bool isNilAnswer([[maybe_unused]] const Answer &answer)
{
    if constexpr (std::is_same_v<Answer, QString>)
        return answer.isNull();
    else if constexpr (std::is_same_v<Answer, QVariant>)
        return isNil(answer);
    else if constexpr (std::is_pointer_v<Answer> || requires {
                           answer.operator->();
                           answer == nullptr;
                       })
        return answer == nullptr;
    else
        return false;
}

/// The answer of an object of the message's class; throws for nil.
template <typename Answer>
Answer answerOf(QObject &receiver, const ResultMessage<Answer> &message)
{
    try {
        if (Answer answer = message.answerOf(receiver); !isNilAnswer(answer))
            return answer;
    } catch (...) {
        message.noteException();
    }
    throwNilAnswer();
}

/// Throws when the answer is nil, or none of the type.
template <typename Answer>
Answer checked(const QVariant &answer)
{
    const std::optional<RankedValue> converted = convertedTo(answer, QMetaType::fromType<Answer>());
    if (isNil(answer) || !converted)
        throwNilAnswer();
    return converted->value.template value<Answer>();
}

} // namespace Implementation

/// Answers of a type that is known, of objects in a plain list. A member function whose class all objects of
/// the list are of is called without further ado. An answer that is not of the type counts as nil.
template <typename Answer, typename Receiver>
requires std::is_base_of_v<QObject, Receiver>
[[nodiscard]] QList<Answer> collect(const QList<Receiver *> &array, const CVMessage &message)
{
    const QList<Receiver *> receivers = array;
    const std::shared_ptr<const CapturedMessage> captured = message.captured();
    const auto *const typed = dynamic_cast<const ResultMessage<Answer> *>(captured.get());
    const bool isForAll =
        typed && typed->receiverClass() && Receiver::staticMetaObject.inherits(typed->receiverClass());
    QList<Answer> answers;
    answers.reserve(receivers.size());
    for (Receiver *const receiver : receivers) {
        if (isForAll && receiver) {
            answers.append(Implementation::answerOf(*receiver, *typed));
        } else {
            QVariant answer;
            if (captured)
                captured->replay(receiver, answer);
            answers.append(Implementation::checked<Answer>(answer));
        }
    }
    return answers;
}

/// The objects of a plain list whose answer is true.
template <typename Receiver>
requires std::is_base_of_v<QObject, Receiver>
[[nodiscard]] QList<Receiver *> select(const QList<Receiver *> &array, const CVMessage &message)
{
    const QList<Receiver *> receivers = array;
    const std::shared_ptr<const CapturedMessage> captured = message.captured();
    QList<Receiver *> selected;
    for (Receiver *const receiver : receivers) {
        QVariant answer;
        if (captured)
            captured->replay(receiver, answer);
        if (isTrue(answer))
            selected.append(receiver);
    }
    return selected;
}

} // namespace HOM
