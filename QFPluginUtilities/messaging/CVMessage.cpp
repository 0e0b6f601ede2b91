#include "messaging/CVMessage.h"

#include "messaging/NamedMessage.h"
#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/QFReport.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

qsizetype sizeOf(const QVariantList &arguments)
{
    qsizetype size = 0;
    for (const QVariant &argument : arguments)
        size += argument.isValid() ? argument.metaType().sizeOf() : 0;
    return size;
}

} // namespace

CVMessage &CVMessage::capture(QByteArrayView name, const QVariantList &arguments)
{
    _captured.reset();
    const qsizetype size = std::max(sizeOf(arguments), MaximumArgumentSizeForSelector(name));
    if (size > maximumFrameSize)
        logFailure(qfMessagingLog(), u"message"_s,
                   formatted(u"The message '%@' takes %d bytes of arguments and cannot be captured",
                             {QString::fromUtf8(name), size}));
    else if (!name.isEmpty())
        _captured = std::make_shared<NamedMessage>(name.toByteArray(), Selectors::widened(name, arguments));
    return *this;
}

QVariant CVMessage::replay(QObject *receiver) const
{
    // The receiver may capture another message with this recorder.
    const std::shared_ptr<const CapturedMessage> message = _captured;
    QVariant answer;
    if (message)
        message->replay(receiver, answer);
    return answer;
}

QVariant CVMessage::replay(QVariant &receiver) const
{
    const std::shared_ptr<const CapturedMessage> message = _captured;
    QVariant answer;
    if (message)
        message->replay(receiver, answer);
    return answer;
}
