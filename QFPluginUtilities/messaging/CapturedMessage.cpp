#include "messaging/CapturedMessage.h"

#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/QFReport.h"
#include "platform/Values.h"

#include <QObject>

using namespace Qt::StringLiterals;

CapturedMessage::~CapturedMessage() = default;

void CapturedMessage::replay(QObject *receiver, QVariant &answer) const
{
    if (!receiver)
        return;
    try {
        if (!replayOnObject(*receiver, answer)) [[unlikely]]
            noteMissingAnswer(receiver->metaObject()->className());
    } catch (...) {
        answer = QVariant();
        noteException();
    }
}

void CapturedMessage::replay(QVariant &receiver, QVariant &answer) const
{
    if (QObject *object = objectValue(receiver)) {
        replay(object, answer);
        return;
    }
    if (isNil(receiver))
        return;
    try {
        if (!replayOnValue(receiver, answer))
            noteMissingAnswer(receiver.typeName());
    } catch (...) {
        answer = QVariant();
        noteException();
    }
}

void CapturedMessage::noteException() const
{
    logFailure(qfMessagingLog(), u"message"_s,
               formatted(u"The answer to '%@' threw an exception", {QString::fromUtf8(description())}));
}

void CapturedMessage::noteMissingAnswer(const char *receiver) const
{
    logFailure(qfMessagingLog(), u"message"_s,
               formatted(u"%@ does not answer '%@'",
                         {QString::fromUtf8(receiver), QString::fromUtf8(description())}));
}
