#pragma once

#include "messaging/CapturedMessage.h"
#include "platform/PreparedMessage.h"

#include <array>
#include <atomic>

/// A message by name. It is looked up once for each class of receivers that it meets.
class NamedMessage final : public CapturedMessage
{
public:
    NamedMessage(QByteArray name, QVariantList arguments);
    ~NamedMessage() override;

    [[nodiscard]] QByteArray description() const override { return _name; }

protected:
    [[nodiscard]] bool replayOnObject(QObject &receiver, QVariant &answer) const override;
    [[nodiscard]] bool replayOnValue(QVariant &receiver, QVariant &answer) const override;

private:
    template <typename Send>
    bool sendPrepared(const QMetaObject &meta, Send send) const;
    [[nodiscard]] const PreparedMessage *kept(const QMetaObject &meta) const;
    [[nodiscard]] const PreparedMessage *keep(const QMetaObject &meta) const;

    const QByteArray _name;
    const QVariantList _arguments;
    /// Filled from the front during replays, never emptied. What is in it does not change, so reading needs
    /// no lock.
    mutable std::array<std::atomic<const PreparedMessage *>, 16> _kept{};
};
