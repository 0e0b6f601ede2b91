#include "messaging/NamedMessage.h"

#include "messaging/ValueOperations.h"
#include "platform/DynamicMessages.h"

#include <memory>
#include <utility>

namespace {

/// The gadget that the value is or points to; nullptr when there is none.
void *gadgetIn(QVariant &value, bool mayChange)
{
    if (value.metaType().flags().testFlag(QMetaType::PointerToGadget))
        return *static_cast<void *const *>(value.constData());
    return mayChange ? value.data() : const_cast<void *>(value.constData()); // NOLINT: only read
}

} // namespace

NamedMessage::NamedMessage(QByteArray name, QVariantList arguments)
    : _name(std::move(name)), _arguments(std::move(arguments))
{
}

NamedMessage::~NamedMessage()
{
    for (const auto &place : _kept)
        delete place.load(std::memory_order_relaxed);
}

/// False when the class does not answer.
template <typename Send>
bool NamedMessage::sendPrepared(const QMetaObject &meta, Send send) const
{
    const PreparedMessage *prepared = kept(meta);
    if (!prepared) [[unlikely]]
        prepared = keep(meta);
    if (prepared) {
        if (prepared->isAnswered())
            send(*prepared);
        return prepared->isAnswered();
    }
    const PreparedMessage onlyNow(meta, messageAnswers(meta, _name, _arguments.size()), _arguments);
    if (onlyNow.isAnswered())
        send(onlyNow);
    return onlyNow.isAnswered();
}

const PreparedMessage *NamedMessage::kept(const QMetaObject &meta) const
{
    for (const auto &place : _kept) {
        const PreparedMessage *const there = place.load(std::memory_order_acquire);
        if (!there || there->fits(meta))
            return there;
    }
    return nullptr;
}

/// nullptr when there is no room, or the class does not last.
const PreparedMessage *NamedMessage::keep(const QMetaObject &meta) const
{
    if (!PreparedMessage::isLasting(meta) || _kept.back().load(std::memory_order_relaxed))
        return nullptr;
    auto prepared = std::make_unique<const PreparedMessage>(
        meta, messageAnswers(meta, _name, _arguments.size()), _arguments);
    for (auto &place : _kept) {
        const PreparedMessage *there = nullptr;
        if (place.compare_exchange_strong(there, prepared.get(), std::memory_order_acq_rel))
            return prepared.release();
        if (there->fits(meta)) // another thread was quicker
            return there;
    }
    return nullptr;
}

bool NamedMessage::replayOnObject(QObject &receiver, QVariant &answer) const
{
    return sendPrepared(*receiver.metaObject(),
                        [&](const PreparedMessage &message) { message.send(&receiver, answer); });
}

bool NamedMessage::replayOnValue(QVariant &receiver, QVariant &answer) const
{
    if (const auto operation = ValueOperations::find(receiver.metaType(), _name, _arguments.size()))
        return (*operation)(receiver, _arguments, answer);
    const QMetaObject *const meta = receiver.metaType().metaObject();
    const auto gadgetFlags = QMetaType::IsGadget | QMetaType::PointerToGadget;
    if (!meta || !(receiver.metaType().flags() & gadgetFlags))
        return false;
    return sendPrepared(*meta, [&](const PreparedMessage &message) {
        if (void *gadget = gadgetIn(receiver, message.mayChangeReceiver()))
            message.sendToGadget(gadget, answer);
    });
}
