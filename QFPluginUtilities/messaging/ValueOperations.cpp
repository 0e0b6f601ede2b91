#include "messaging/ValueOperations.h"

#include <QHash>

#include <mutex>
#include <shared_mutex>

namespace {

struct Key
{
    int type;
    QByteArray name;
    qsizetype argumentCount;

    friend bool operator==(const Key &, const Key &) = default;
    friend size_t qHash(const Key &key, size_t seed = 0)
    {
        return qHashMulti(seed, key.type, key.name, key.argumentCount);
    }
};

struct Table
{
    std::shared_mutex lock; ///< guards `operations`
    QHash<Key, std::shared_ptr<const ValueOperations::Operation>> operations;
};

Table &table()
{
    static auto *const theTable =
        new Table; // never destroyed: threads may still replay while the process ends
    return *theTable;
}

} // namespace

void ValueOperations::add(QMetaType receiver, QByteArrayView name, qsizetype argumentCount,
                          Operation operation)
{
    const Key key{receiver.id(), name.toByteArray(), argumentCount};
    const std::unique_lock guard(table().lock);
    if (operation)
        table().operations.insert(key, std::make_shared<const Operation>(std::move(operation)));
    else
        table().operations.remove(key);
}

std::shared_ptr<const ValueOperations::Operation>
ValueOperations::find(QMetaType receiver, const QByteArray &name, qsizetype argumentCount)
{
    const std::shared_lock guard(table().lock);
    return table().operations.value({receiver.id(), name, argumentCount});
}
