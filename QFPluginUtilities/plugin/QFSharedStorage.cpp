#include "plugin/QFSharedStorage.h"

#include <mutex>

struct QFSharedStorage::Private
{
    std::recursive_mutex lock; // guards `storage`, by its users' word
    QVariantMap storage;
};

QFSharedStorage::QFSharedStorage() : d(std::make_unique<Private>()) {}

QFSharedStorage::~QFSharedStorage() = default;

QVariantMap &QFSharedStorage::storage()
{
    return d->storage;
}

void QFSharedStorage::lock()
{
    d->lock.lock();
}

void QFSharedStorage::unlock()
{
    d->lock.unlock();
}
