#include "platform/NSArchivableClasses.h"

#include "platform/NSArchivedAttachments.h"
#include "platform/NSArchivedText.h"
#include "platform/NSArchivedValues.h"
#include "platform/NSPropertyListValue.h"

#include <QHash>
#include <QReadWriteLock>

#include <deque>

using namespace Qt::StringLiterals;

namespace {

class Registry
{
public:
    Registry()
    {
        for (const NSArchivableClass &one :
             archivableValueClasses() + archivableTextClasses() + archivableAttachmentClasses())
            add(one);
    }

    void add(const NSArchivableClass &archivableClass)
    {
        const QWriteLocker locker(&_lock);
        if (_byName.contains(archivableClass.name))
            return;
        const NSArchivableClass *kept = &_classes.emplace_back(archivableClass);
        _byName.insert(kept->name, kept);
        if (!kept->encode)
            return;
        // Of several classes of one type the one that can tell them apart stands for the type.
        if (const NSArchivableClass *&forType = _byType[kept->type.id()]; !forType || kept->className)
            forType = kept;
    }

    const NSArchivableClass *named(const QString &name)
    {
        const QReadLocker locker(&_lock);
        return _byName.value(name);
    }

    const NSArchivableClass *ofType(QMetaType type)
    {
        const QReadLocker locker(&_lock);
        return _byType.value(type.id());
    }

private:
    QReadWriteLock _lock;
    std::deque<NSArchivableClass> _classes; // addresses stay
    QHash<QString, const NSArchivableClass *> _byName;
    QHash<int, const NSArchivableClass *> _byType;
};

Registry &registry()
{
    static Registry theRegistry;
    return theRegistry;
}

} // namespace

void NSArchivableClasses::add(const NSArchivableClass &archivableClass)
{
    registry().add(archivableClass);
}

const NSArchivableClass *NSArchivableClasses::classNamed(const QString &name)
{
    return registry().named(name);
}

const NSArchivableClass *NSArchivableClasses::classOfValue(const QVariant &value)
{
    // Two more types of Qt's for the same thing.
    const QMetaType type = value.typeId() == QMetaType::QStringList    ? QMetaType(QMetaType::QVariantList)
                           : value.typeId() == QMetaType::QVariantHash ? QMetaType(QMetaType::QVariantMap)
                                                                       : value.metaType();
    const NSArchivableClass *found = registry().ofType(type);
    if (!found || (found->identity && !found->identity(value)))
        return nullptr;
    if (!found->className)
        return found;
    const NSArchivableClass *exact = registry().named(found->className(value));
    return exact ? exact : found;
}

QString NSArchivableClasses::classNameOfValue(const QVariant &value)
{
    using Kind = NSPropertyListKind;
    switch (propertyListKind(value)) {
    case Kind::Bool:
    case Kind::Integer:
    case Kind::Unsigned:
    case Kind::Real:
        return u"NSNumber"_s;
    case Kind::String:
        return u"NSString"_s;
    case Kind::Data:
        return u"NSData"_s;
    default:
        const NSArchivableClass *found = classOfValue(value);
        return found ? found->name : QString();
    }
}
