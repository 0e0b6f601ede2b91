#include "platform/NSNotificationCenter.h"

#include "platform/QFReport.h"
#include "platform/Values.h"

#include <QList>
#include <QObject>
#include <QPointer>

#include <atomic>
#include <mutex>

using namespace Qt::StringLiterals;

namespace {

struct Registration
{
    QPointer<QObject> observer;
    const QObject *observerAddress; // to be told by, also when the observer is gone
    QString name;
    QVariant object;
    QPointer<QObject> objectGuard; // while `object` is an object, whether it still is
    NSNotificationCenter::Callback callback;
    std::atomic<bool> isRemoved = false;

    [[nodiscard]] bool isAlive() const
    {
        return !isRemoved && observer && (!objectValue(object) || objectGuard);
    }
    [[nodiscard]] bool listensTo(const NSNotification &notification) const
    {
        return (name.isNull() || name == notification.name) &&
               (isNil(object) || (isAlive() && sameValue(object, notification.object)));
    }
};

using RegistrationPtr = std::shared_ptr<Registration>;

} // namespace

struct NSNotificationCenter::Private
{
    std::mutex mutex; // guards `registrations`
    QList<RegistrationPtr> registrations;

    template <typename Predicate>
    void remove(Predicate predicate)
    {
        const std::lock_guard lock(mutex);
        registrations.removeIf([&](const RegistrationPtr &registration) {
            if (!predicate(*registration))
                return false;
            registration->isRemoved = true;
            return true;
        });
    }
};

NSNotificationCenter::NSNotificationCenter() : _private(std::make_shared<Private>()) {}

NSNotificationCenter::~NSNotificationCenter() = default;

NSNotificationCenter &NSNotificationCenter::defaultCenter()
{
    static NSNotificationCenter center;
    return center;
}

void NSNotificationCenter::addObserver(QObject *observer, const QString &name, const QVariant &object,
                                       Callback callback)
{
    if (!observer || !callback)
        return;
    QObject *const objectPointer = objectValue(object);
    const auto registration = std::make_shared<Registration>();
    registration->observer = observer;
    registration->observerAddress = observer;
    registration->name = name;
    registration->object = object;
    registration->objectGuard = objectPointer;
    registration->callback = std::move(callback);
    {
        const std::lock_guard lock(_private->mutex);
        _private->registrations.append(registration);
    }
    // Either end takes the registration with it.
    const auto forget = [center = std::weak_ptr(_private), gone = std::weak_ptr(registration)] {
        const auto owner = center.lock();
        const auto ended = gone.lock();
        if (owner && ended)
            owner->remove([&](const Registration &one) { return &one == ended.get(); });
    };
    QObject::connect(observer, &QObject::destroyed, forget);
    if (objectPointer && objectPointer != observer)
        QObject::connect(objectPointer, &QObject::destroyed, forget);
}

void NSNotificationCenter::removeObserver(const QObject *observer, const QString &name,
                                          const QVariant &object)
{
    _private->remove([&](const Registration &registration) {
        return registration.observerAddress == observer && (name.isNull() || registration.name == name) &&
               (isNil(object) || sameValue(registration.object, object));
    });
}

void NSNotificationCenter::postNotificationName(const QString &name, const QVariant &object,
                                                const QVariantMap &userInfo)
{
    QList<RegistrationPtr> snapshot;
    {
        const std::lock_guard lock(_private->mutex);
        snapshot = _private->registrations;
    }
    const NSNotification notification{name, object, userInfo};
    for (const RegistrationPtr &registration : std::as_const(snapshot)) {
        if (!registration->isAlive() || !registration->listensTo(notification))
            continue;
        try {
            registration->callback(notification);
        } catch (...) {
            reportLoss(u"exception"_s, u"An observer of '"_s + name + u"' threw an exception."_s);
        }
    }
}
