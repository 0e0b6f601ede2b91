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
    answer = QVariant();
    if (!receiver)
        return;
    const char *const className = receiver->metaObject()->className(); // it may be gone afterwards
    try {
        if (!replayOnObject(*receiver, answer)) [[unlikely]]
            complain("is not answered by", className);
    } catch (...) {
        answer = QVariant();
        noteException(className);
    }
}

void CapturedMessage::replay(QVariant &receiver, QVariant &answer) const
{
    if (QObject *object = objectValue(receiver)) {
        replay(object, answer);
        return;
    }
    answer = QVariant();
    if (isNil(receiver))
        return;
    try {
        if (!replayOnValue(receiver, answer))
            complain("is not answered by", receiver.typeName());
    } catch (...) {
        answer = QVariant();
        noteException(receiver.typeName());
    }
}

void CapturedMessage::noteException(const char *receiver) const
{
    complain("threw an exception in", receiver);
}

void CapturedMessage::complain(const char *what, const char *receiver) const
{
    logFailure(qfMessagingLog(), u"message"_s,
               formatted(u"The message '%@' %@ %@", {QString::fromUtf8(description()),
                                                     QString::fromUtf8(what), QString::fromUtf8(receiver)}));
}
