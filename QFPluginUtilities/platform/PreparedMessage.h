#pragma once

#include <QMetaMethod>
#include <QMetaObject>
#include <QVarLengthArray>
#include <QVariant>

#include <array>
#include <atomic>

inline constexpr qsizetype maximumMessageArguments = 26;

/// What of a class answers a message: its methods, those of subclasses first, or else a property.
struct MessageAnswers
{
    QVarLengthArray<int, 4> methods;
    int property = -1; ///< only when there is no method

    [[nodiscard]] bool isEmpty() const { return methods.isEmpty() && property < 0; }
};

/// A message made ready for the objects of one class: the overload is chosen and the arguments are converted
/// once. It does not change afterwards, so any number of threads may send it at once.
class PreparedMessage
{
public:
    /// Of several methods the one whose worst parameter is nearest to its argument is called, the earlier of
    /// equal ones. Nothing is answered when none can take the arguments.
    PreparedMessage(const QMetaObject &meta, const MessageAnswers &answers, const QVariantList &arguments);
    PreparedMessage(const PreparedMessage &) = delete;
    PreparedMessage &operator=(const PreparedMessage &) = delete;

    [[nodiscard]] bool isAnswered() const { return _method.isValid() || _property >= 0; }
    /// False when sending leaves a gadget as it is.
    [[nodiscard]] bool mayChangeReceiver() const { return _property < 0 && !_method.isConst(); }

    /// Whether it is good for objects of this class, of which another one may have come to lie at the
    /// address. Never for classes made at run time, which have too little to tell them apart.
    [[nodiscard]] bool fits(const QMetaObject &meta) const
    {
        return &meta == _meta && meta.d.data == _mark.data && meta.d.stringdata == _mark.stringdata &&
               meta.superClass() == _mark.superdata && meta.d.static_metacall == _mark.static_metacall &&
               isLasting(meta) && _age == theAge.load(std::memory_order_relaxed);
    }
    [[nodiscard]] static bool isLasting(const QMetaObject &meta) { return meta.d.static_metacall != nullptr; }

    /// Calls the method, or reads the property, and puts what it gives into `answer`, which is nil before and
    /// stays so for nothing. Only when it is answered. What the receiver throws comes out.
    void send(QObject *object, QVariant &answer) const;
    void sendToGadget(void *gadget, QVariant &answer) const;

    /// From now on, none of those that there are fits.
    static void forgetAll();

private:
    enum class AnswerKind : quint8 {
        Nothing,
        Value,
        AnyValue,   ///< a QVariant
        Impossible, ///< of a type that cannot be made beforehand
    };

    void choose(const MessageAnswers &answers, const QVariantList &arguments);
    void layOutFrame();
    [[nodiscard]] AnswerKind kindOfAnswer() const;
    void call(QObject *receiver, QVariant &answer) const;

    static std::atomic<quint32> theAge;

    const QMetaObject *_meta;
    QMetaObject::Data _mark;
    quint32 _age = theAge.load(std::memory_order_relaxed);

    int _property;
    QMetaMethod _method;
    int _methodIndex = -1; ///< counted in the method's own class
    QMetaObject::Data::StaticMetacallFunction _call = nullptr;
    QMetaType _answerType;
    AnswerKind _answerKind = AnswerKind::Nothing;
    bool _mayAnswerGuarded = false;                                   ///< a QPointer
    QVariantList _arguments;                                          ///< as the parameters want them
    std::array<void *, size_t(maximumMessageArguments) + 1> _frame{}; ///< 0 is for the answer
};
