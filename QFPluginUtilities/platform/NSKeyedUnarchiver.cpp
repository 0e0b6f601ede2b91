#include "platform/NSKeyedUnarchiver.h"

#include "platform/NSArchivableClasses.h"
#include "platform/NSKeyedArchiveLayout.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSPropertyListValue.h"
#include "platform/Values.h"
#include "platform/WithoutThrowing.h"

#include <QHash>

#include <cmath>
#include <optional>
#include <utility>
#include <vector>

namespace {

/// An archive may unfold to this many values, and make decoders take this many steps, plus so many for each
/// byte.
constexpr quint64 kFreeSteps = 1'000'000;
constexpr quint64 kStepsPerByte = 32;
/// Strings and data count for one value in so many units or bytes.
constexpr qsizetype kUnitsPerStep = 16;
/// Of a class entry at most so many superclasses are looked at, and no longer names.
constexpr qsizetype kMostSuperclasses = 32;
constexpr qsizetype kLongestClassName = 256;

/// The entries of the object that is being decoded, and what has come of them so far.
struct Frame
{
    const QVariantMap *entries = nullptr;
    int sequence = 0;
    quint64 unfolded = 1; // values in it when shared parts are counted each time
    int height = 0;       // levels of objects in it
};

/// One object of the archive, decoded once, whatever the number of references to it.
struct Slot
{
    enum class State : quint8 { Unread, Reading, Read };

    QVariant object;
    quint64 unfolded = 1;
    int height = 0;
    State state = State::Unread;
};

const QVariantMap *dictionaryIn(const QVariant &value)
{
    return value.typeId() == QMetaType::QVariantMap ? static_cast<const QVariantMap *>(value.constData())
                                                    : nullptr;
}

std::optional<quint64> referenceIn(const QVariant &value)
{
    if (value.metaType() != QMetaType::fromType<NSPropertyListUID>())
        return {};
    return static_cast<const NSPropertyListUID *>(value.constData())->value;
}

} // namespace

struct NSKeyedUnarchiver::Private
{
    QVariantList objects;
    QVariantMap topEntries;
    std::vector<Slot> slots;
    QHash<quint64, const NSArchivableClass *> classes; // by the place of the class entry
    QHash<QString, qint64> versions;                   // of the classes named so far
    Frame top;
    Frame *frame = &top;
    int depth = 0;
    quint64 stepsLeft = 0;
    quint64 mostUnfolded = 0;
    bool failed = false;
    NSKeyedUnarchiver *coder = nullptr;

    explicit Private(const QByteArray &archive)
    {
        top.entries = &topEntries;
        stepsLeft = mostUnfolded = kFreeSteps + kStepsPerByte * static_cast<quint64>(archive.size());
        const QVariant list = NSPropertyList::propertyListFromData(archive);
        const QVariantMap *entries = dictionaryIn(list);
        if (!entries ||
            stringValue(entries->value(NSKeyedArchiveLayout::archiverEntry.toString())) !=
                NSKeyedArchiveLayout::archiverName ||
            intValue(entries->value(NSKeyedArchiveLayout::versionEntry.toString())) !=
                NSKeyedArchiveLayout::layoutVersion)
            return;
        objects = entries->value(NSKeyedArchiveLayout::objectsEntry.toString()).toList();
        topEntries = entries->value(NSKeyedArchiveLayout::topEntry.toString()).toMap();
        slots.resize(static_cast<size_t>(objects.size()));
    }

    bool spend(quint64 steps)
    {
        failed = failed || steps > stepsLeft;
        stepsLeft -= failed ? 0 : steps;
        return !failed;
    }

    [[nodiscard]] const QVariant *find(QStringView key) const
    {
        return findStored(NSKeyedArchiveLayout::storedKey(key));
    }

    [[nodiscard]] const QVariant *findStored(const QString &key) const
    {
        const auto found = frame->entries->constFind(key);
        return found == frame->entries->constEnd() || failed ? nullptr : &*found;
    }

    /// The entry if it is a number, which a plain entry of an object or of the archive may be.
    [[nodiscard]] QVariant number(QStringView key) const
    {
        const QVariant *found = find(key);
        return found && isNumber(*found) ? *found : QVariant();
    }

    QVariant objectAt(const QVariant &entry)
    {
        // Some writers put strings and data into the entry itself.
        if (entry.typeId() == QMetaType::QString || entry.typeId() == QMetaType::QByteArray)
            return take(plainSlot(entry));
        const std::optional<quint64> uid = referenceIn(entry);
        if (!uid || *uid == 0 || *uid >= slots.size() || !spend(1))
            return {};
        Slot &slot = slots[*uid];
        if (slot.state == Slot::State::Reading)
            return {};
        if (slot.state == Slot::State::Unread)
            decode(*uid, slot);
        return take(slot);
    }

    /// Counts an object in as a part of the one that is being decoded.
    QVariant take(const Slot &slot)
    {
        // The same object further down may be nested too deeply there.
        if (depth + slot.height > NSKeyedArchiver::maximumDepth)
            return {};
        frame->height = std::max(frame->height, slot.height + 1);
        frame->unfolded += slot.unfolded; // no overflow: both are at most the limit
        failed = failed || frame->unfolded > mostUnfolded;
        return failed ? QVariant() : slot.object;
    }

    void decode(quint64 uid, Slot &slot)
    {
        const QVariant &stored = std::as_const(objects)[static_cast<qsizetype>(uid)];
        const QVariantMap *entries = dictionaryIn(stored);
        if (!entries) {
            slot = plainSlot(stored);
            return;
        }
        const NSArchivableClass *archivableClass =
            classAt(entries->value(NSKeyedArchiveLayout::classKey.toString()));
        if (!archivableClass || depth >= NSKeyedArchiver::maximumDepth)
            return; // not read: nearer to the top it may be
        Frame contents{entries};
        Frame *outer = std::exchange(frame, &contents);
        slot.state = Slot::State::Reading;
        ++depth;
        const QVariant object = withoutThrowing([&] { return archivableClass->decode(*coder); });
        --depth;
        slot = {failed || isNil(object) ? QVariant() : object, contents.unfolded, contents.height,
                Slot::State::Read};
        frame = outer;
    }

    static Slot plainSlot(const QVariant &stored)
    {
        Slot slot;
        slot.state = Slot::State::Read;
        if (isNumber(stored))
            slot.object = stored;
        if (stored.typeId() == QMetaType::QString || stored.typeId() == QMetaType::QByteArray) {
            const qsizetype size = stored.typeId() == QMetaType::QString ? stored.toString().size()
                                                                         : stored.toByteArray().size();
            slot.object = stored;
            slot.unfolded += static_cast<quint64>(size / kUnitsPerStep);
        }
        return slot;
    }

    const NSArchivableClass *classAt(const QVariant &reference)
    {
        const std::optional<quint64> uid = referenceIn(reference);
        if (!uid || *uid >= slots.size())
            return nullptr;
        if (const auto found = classes.constFind(*uid); found != classes.cend())
            return *found;
        const QVariantMap *entry = dictionaryIn(std::as_const(objects)[static_cast<qsizetype>(*uid)]);
        return *classes.insert(*uid, entry ? classOfEntry(*entry) : nullptr);
    }

    /// The class that an entry names, else the nearest of its superclasses that is known.
    const NSArchivableClass *classOfEntry(const QVariantMap &entry)
    {
        const QString name = stringValue(entry.value(NSKeyedArchiveLayout::classNameKey.toString()));
        const NSArchivableClass *found = classNamed(name);
        if (found && !versions.contains(name))
            versions.insert(name, intValue(entry.value(NSKeyedArchiveLayout::versionKey.toString())));
        const QVariantList names = entry.value(NSKeyedArchiveLayout::classesKey.toString()).toList();
        for (qsizetype i = 0; !found && i < std::min(names.size(), kMostSuperclasses); ++i)
            found = classNamed(stringValue(names[i]));
        return found;
    }

    static const NSArchivableClass *classNamed(const QString &name)
    {
        return name.size() <= kLongestClassName ? NSArchivableClasses::classNamed(name) : nullptr;
    }
};

NSKeyedUnarchiver::NSKeyedUnarchiver(const QByteArray &archive) : d(std::make_unique<Private>(archive))
{
    d->coder = this;
}

NSKeyedUnarchiver::~NSKeyedUnarchiver() = default;

QVariant NSKeyedUnarchiver::unarchiveObjectWithData(const QByteArray &archive)
{
    return withoutThrowing([&] {
        NSKeyedUnarchiver unarchiver(archive);
        const QVariant root = unarchiver.decodeObject(NSKeyedArchiveLayout::rootKey);
        return unarchiver.d->failed ? QVariant() : root;
    });
}

bool NSKeyedUnarchiver::containsValueForKey(QStringView key) const
{
    return d->find(key) != nullptr;
}

QVariant NSKeyedUnarchiver::decodeObject(QStringView key)
{
    const QVariant *found = d->find(key);
    return found ? d->objectAt(*found) : QVariant();
}

bool NSKeyedUnarchiver::decodeBool(QStringView key) const
{
    return boolValue(d->number(key));
}

qint64 NSKeyedUnarchiver::decodeInt(QStringView key, qint64 absent) const
{
    const QVariant number = d->number(key);
    return number.isValid() ? intValue(number) : absent;
}

double NSKeyedUnarchiver::decodeDouble(QStringView key, double absent) const
{
    const QVariant number = d->number(key);
    return number.isValid() && std::isfinite(doubleValue(number)) ? doubleValue(number) : absent;
}

QVariantList NSKeyedUnarchiver::decodeObjects(QStringView key)
{
    const QVariant *found = d->find(key);
    if (!found || found->typeId() != QMetaType::QVariantList)
        return {};
    const QVariantList references = found->toList();
    if (!spend(references.size()))
        return {};
    QVariantList result;
    result.reserve(references.size());
    for (const QVariant &reference : references)
        result.append(d->objectAt(reference));
    return result;
}

QVariant NSKeyedUnarchiver::decodeObject()
{
    const QVariant *found = d->findStored(NSKeyedArchiveLayout::sequenceKey(d->frame->sequence++));
    return found ? d->objectAt(*found) : QVariant();
}

qint64 NSKeyedUnarchiver::versionForClassName(const QString &name) const
{
    return d->versions.value(name, -1);
}

bool NSKeyedUnarchiver::spend(qsizetype steps)
{
    return d->spend(static_cast<quint64>(steps));
}
