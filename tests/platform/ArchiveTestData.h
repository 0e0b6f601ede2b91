#pragma once

#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/NSPropertyList.h"

#include <QVariant>

using namespace Qt::StringLiterals;

/// Reference to the object at a place of a hand-made archive.
inline QVariant at(quint64 place)
{
    return QVariant::fromValue(NSPropertyListUID{place});
}

/// Class entry for objects of a hand-made archive.
inline QVariant classEntry(const QString &name, const QVariantMap &more = {})
{
    QVariantMap entry{{u"$classname"_s, name}, {u"$classes"_s, QVariantList{name, u"NSObject"_s}}};
    entry.insert(more);
    return entry;
}

/// An archive whose objects, from place 1 on, are these; the first is its root.
inline QByteArray archiveOf(QVariantList objects)
{
    objects.prepend(u"$null"_s);
    return NSPropertyList::dataFromPropertyList(QVariantMap{{u"$archiver"_s, u"NSKeyedArchiver"_s},
                                                            {u"$version"_s, 100'000},
                                                            {u"$objects"_s, objects},
                                                            {u"$top"_s, QVariantMap{{u"root"_s, at(1)}}}},
                                                NSPropertyListFormat::Binary);
}

/// What an archive of a value holds.
template <typename T>
T thereAndBack(const T &value)
{
    const QByteArray archive = NSKeyedArchiver::archivedDataWithRootObject(QVariant::fromValue(value));
    return NSKeyedUnarchiver::unarchiveObjectWithData(archive).value<T>();
}
