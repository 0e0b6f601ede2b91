#pragma once

#include "platform/QFExport.h"

#include <QByteArray>
#include <QVariant>

class QObject;

/// What a CVMessage keeps: whom it can be sent to and how. It does not change, so any number of threads may
/// replay it at once.
class QF_EXPORT CapturedMessage
{
public:
    CapturedMessage() = default;
    CapturedMessage(const CapturedMessage &) = delete;
    CapturedMessage &operator=(const CapturedMessage &) = delete;
    virtual ~CapturedMessage();

    /// Sends the message and puts what it gives into `answer`: nil for nothing, and for what is logged: a
    /// receiver that does not answer or that throws. nullptr gives nil.
    void replay(QObject *receiver, QVariant &answer) const;
    /// To the object that the value points to, or else to the value itself, which may change in place.
    void replay(QVariant &receiver, QVariant &answer) const;

    /// For people: the name, or the class that the member function is of.
    [[nodiscard]] virtual QByteArray description() const = 0;

    /// Logs that a receiver threw.
    void noteException() const;

protected:
    /// False when the receiver does not answer the message. What it throws comes out.
    [[nodiscard]] virtual bool replayOnObject(QObject &receiver, QVariant &answer) const = 0;
    [[nodiscard]] virtual bool replayOnValue(QVariant &receiver, QVariant &answer) const = 0;

private:
    void noteMissingAnswer(const char *receiver) const;
};

/// One whose answers have a type that is known. Meant for lists of receivers of one class: what is asked of
/// the class once need not be asked of each.
template <typename Answer>
class ResultMessage : public CapturedMessage
{
public:
    /// The class that receivers must be of; nullptr where they are no objects.
    [[nodiscard]] virtual const QMetaObject *receiverClass() const = 0;
    /// Only for objects of that class. What the receiver throws comes out.
    [[nodiscard]] virtual Answer answerOf(QObject &receiver) const = 0;
};
