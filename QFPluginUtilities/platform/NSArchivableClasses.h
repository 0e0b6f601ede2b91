#pragma once

#include "platform/QFExport.h"

#include <QStringList>
#include <QVariant>

class NSKeyedArchiver;
class NSKeyedUnarchiver;

/// A class that keyed archives hold, and how its objects are written and read.
struct NSArchivableClass
{
    QString name;
    QStringList superclasses; ///< the nearest first
    qint64 version = 0;       ///< stored with the class; readers ask `versionForClassName` for it
    QMetaType type;           ///< what a QVariant with such an object holds

    void (*encode)(const QVariant &object, NSKeyedArchiver &coder) = nullptr;
    /// Answers nil for what cannot be such an object.
    QVariant (*decode)(NSKeyedUnarchiver &coder) = nullptr;
    /// For objects that are equal by identity: what is the same for the same object only. None for plain
    /// values, of which equal ones are archived once.
    const void *(*identity)(const QVariant &object) = nullptr;
    /// For a type that stands for several classes: the name of this object's.
    QString (*className)(const QVariant &object) = nullptr;
};

/// The classes that archives can hold. Nothing else is ever made from an archive's bytes. Any thread.
namespace NSArchivableClasses {

/// Adds a class for the life of the process; a second one of the same name is not taken.
QF_EXPORT void add(const NSArchivableClass &archivableClass);

/// nullptr when there is none. The pointer stays good.
[[nodiscard]] const NSArchivableClass *classNamed(const QString &name);
/// The class that archives this value; nullptr when there is none, and for strings, numbers and data, which
/// need none.
[[nodiscard]] const NSArchivableClass *classOfValue(const QVariant &value);
/// The platform's name of the value's class; nil for nil and for values that no archive holds.
[[nodiscard]] QF_EXPORT QString classNameOfValue(const QVariant &value);

/// `identity` of a class whose objects are held by a `Pointer`, a shared one.
template <typename Pointer>
[[nodiscard]] const void *identityOf(const QVariant &object)
{
    return static_cast<const Pointer *>(object.constData())->get();
}

/// Adds a class while the library is loaded: `static const NSArchivableClasses::Registration
/// kLinkClass({...});`
struct Registration
{
    explicit Registration(const NSArchivableClass &archivableClass) { add(archivableClass); }
};

} // namespace NSArchivableClasses
