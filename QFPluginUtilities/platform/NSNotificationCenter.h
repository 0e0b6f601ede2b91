#pragma once

#include "platform/QFExport.h"

#include <QString>
#include <QVariant>

#include <functional>
#include <memory>

class QObject;

struct NSNotification
{
    QString name;
    QVariant object; ///< who speaks, or what is spoken of; nil for none
    QVariantMap userInfo;
};

/// Tells observers by name and object, at once and on the thread that posts. Registrations are kept under a
/// lock, so that all functions may be called on any thread, from callbacks too; an observer itself must not
/// be destroyed on one thread while another one posts to it.
class QF_EXPORT NSNotificationCenter
{
public:
    using Callback = std::function<void(const NSNotification &)>;

    NSNotificationCenter();
    ~NSNotificationCenter();
    NSNotificationCenter(const NSNotificationCenter &) = delete;
    NSNotificationCenter &operator=(const NSNotificationCenter &) = delete;

    [[nodiscard]] static NSNotificationCenter &defaultCenter();

    /// Calls back for notifications of that name (nil: of any) that speak of that object (nil: of any;
    /// `sameValue` decides). The observer is held weakly, and so is an object that is a QObject; both take
    /// the registration with them. A nullptr observer registers nothing. Registered twice means called twice.
    void addObserver(QObject *observer, const QString &name, const QVariant &object, Callback callback);
    /// Undoes all registrations of the observer, or only those made with that name or object.
    void removeObserver(const QObject *observer, const QString &name = {}, const QVariant &object = {});

    /// Calls, in the order of registration, those who are registered when this begins and still are when
    /// their turn comes. What a callback throws is caught.
    void postNotificationName(const QString &name, const QVariant &object = {},
                              const QVariantMap &userInfo = {});

private:
    struct Private;
    std::shared_ptr<Private> _private;
};
