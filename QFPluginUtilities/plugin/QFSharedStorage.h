#pragma once

#include "platform/QFExport.h"

#include <QVariantMap>

#include <memory>

/// What all instances of a plug-in kind share, as they like it. Nothing is locked by itself: whoever uses
/// `storage` takes the lock around it, as with `std::scoped_lock guard(*plugin->sharedPluginStorage());`.
class QF_EXPORT QFSharedStorage
{
public:
    QFSharedStorage();
    ~QFSharedStorage();
    QFSharedStorage(const QFSharedStorage &) = delete;
    QFSharedStorage &operator=(const QFSharedStorage &) = delete;

    [[nodiscard]] QVariantMap &storage();
    /// Recursive. Any thread.
    void lock();
    void unlock();

private:
    struct Private;
    std::unique_ptr<Private> d;
};
