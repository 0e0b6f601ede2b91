#pragma once

#include "platform/QFExport.h"

#include <QVariantMap>

#include <mutex>

/// What all instances of a plug-in kind share, as they like it. Nothing is locked by itself: whoever uses
/// `storage` takes the lock around it, as with `std::scoped_lock guard(*plugin->sharedPluginStorage());`.
class QF_EXPORT QFSharedStorage
{
public:
    QFSharedStorage() = default;
    QFSharedStorage(const QFSharedStorage &) = delete;
    QFSharedStorage &operator=(const QFSharedStorage &) = delete;

    [[nodiscard]] QVariantMap &storage() { return _storage; }
    /// Recursive. Any thread.
    void lock() { _lock.lock(); }
    void unlock() { _lock.unlock(); }

private:
    std::recursive_mutex _lock; ///< guards `_storage`, by its users' word
    QVariantMap _storage;
};
