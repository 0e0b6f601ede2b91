#include "platform/PreparedMessage.h"

#include "platform/Conversions.h"

#include <QMetaProperty>

#include <algorithm>
#include <memory>
#include <optional>
#include <tuple>

namespace {

struct RankedArguments
{
    QVariantList values;
    ConversionRank worst = ConversionRank::Exact;
    int sum = 0;

    [[nodiscard]] bool isNearerThan(const RankedArguments &other) const
    {
        return std::tie(worst, sum) < std::tie(other.worst, other.sum);
    }
};

std::optional<RankedArguments> argumentsFor(const QMetaMethod &method, const QVariantList &arguments)
{
    RankedArguments ranked;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        std::optional<RankedValue> argument =
            convertedTo(arguments[i], method.parameterMetaType(static_cast<int>(i)));
        if (!argument)
            return std::nullopt;
        ranked.worst = std::max(ranked.worst, argument->rank);
        ranked.sum += static_cast<int>(argument->rank);
        ranked.values.append(std::move(argument->value));
    }
    return ranked;
}

bool isAnyValue(QMetaType type)
{
    return type == QMetaType::fromType<QVariant>();
}

/// A guarded pointer as the plain one, so that callers know one form of objects only.
void unguard(QVariant &answer)
{
    if (answer.metaType().flags().testFlag(QMetaType::TrackingPointerToQObject))
        answer = QVariant::fromValue(answer.value<QObject *>());
}

} // namespace

std::atomic<quint32> PreparedMessage::theAge = 0;

PreparedMessage::PreparedMessage(const QMetaObject &meta, const MessageAnswers &answers,
                                 const QVariantList &arguments)
    : _meta(&meta), _mark(meta.d), _property(answers.property)
{
    choose(answers, arguments);
    if (!_method.isValid())
        return;
    const QMetaObject &own = *_method.enclosingMetaObject();
    _methodIndex = _method.methodIndex() - own.methodOffset();
    _call = own.d.static_metacall;
    if (_method.returnType() != QMetaType::Void)
        _answerType = _method.returnMetaType();
    _answerKind = kindOfAnswer();
    _mayAnswerGuarded = _answerKind == AnswerKind::AnyValue ||
                        _answerType.flags().testFlag(QMetaType::TrackingPointerToQObject);
    layOutFrame();
}

void PreparedMessage::choose(const MessageAnswers &answers, const QVariantList &arguments)
{
    std::optional<RankedArguments> nearest;
    for (const int index : answers.methods) {
        const QMetaMethod method = _meta->method(index);
        std::optional<RankedArguments> ranked = argumentsFor(method, arguments);
        if (!ranked || (nearest && !ranked->isNearerThan(*nearest)))
            continue;
        nearest = std::move(ranked);
        _method = method;
    }
    if (nearest)
        _arguments = std::move(nearest->values);
}

/// The places of the arguments; where any value is taken, that of the variant itself.
void PreparedMessage::layOutFrame()
{
    for (qsizetype i = 0; i < _arguments.size(); ++i) {
        QVariant &argument = _arguments[i];
        _frame[size_t(i) + 1] =
            isAnyValue(_method.parameterMetaType(static_cast<int>(i))) ? &argument : argument.data();
    }
}

PreparedMessage::AnswerKind PreparedMessage::kindOfAnswer() const
{
    if (!_answerType.isValid())
        return AnswerKind::Nothing;
    if (isAnyValue(_answerType))
        return AnswerKind::AnyValue;
    return QVariant(_answerType).isValid() ? AnswerKind::Value : AnswerKind::Impossible;
}

void PreparedMessage::call(QObject *receiver, QVariant &answer) const
{
    std::array<void *, size_t(maximumMessageArguments) + 1> frame; // NOLINT: filled as far as it is read
    std::copy_n(_frame.begin(), _arguments.size() + 1, frame.begin());
    switch (_answerKind) {
    case AnswerKind::Nothing:
        break;
    case AnswerKind::Value:
        std::construct_at(&answer,
                          _answerType); // it is nil, so nothing is lost; assigning takes twice as long
        frame[0] = const_cast<void *>(answer.constData()); // NOLINT: nobody else has it
        break;
    case AnswerKind::AnyValue:
        frame[0] = &answer;
        break;
    case AnswerKind::Impossible:
        return;
    }
    if (_call)
        _call(receiver, QMetaObject::InvokeMetaMethod, _methodIndex, frame.data());
    else
        QMetaObject::metacall(receiver, QMetaObject::InvokeMetaMethod, _method.methodIndex(), frame.data());
    if (_mayAnswerGuarded)
        unguard(answer);
}

void PreparedMessage::send(QObject *object, QVariant &answer) const
{
    if (_method.isValid()) {
        call(object, answer);
    } else {
        answer = _meta->property(_property).read(object);
        unguard(answer);
    }
}

void PreparedMessage::sendToGadget(void *gadget, QVariant &answer) const
{
    if (_method.isValid())
        call(static_cast<QObject *>(gadget), answer); // as generated code wants it: it knows what lies there
    else
        answer = _meta->property(_property).readOnGadget(gadget);
}

void PreparedMessage::forgetAll()
{
    ++theAge;
}
