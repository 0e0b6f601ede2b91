#pragma once

#include <QString>

/// The platform's public layout of keyed archives. An archive is a property list with the four entries below.
/// An object is a dictionary of its keys, or a plain string, number or data; objects refer to one another by
/// their place among the objects, where the first is the null object.
namespace NSKeyedArchiveLayout {

inline constexpr QStringView archiverEntry = u"$archiver";
inline constexpr QStringView versionEntry = u"$version";
inline constexpr QStringView objectsEntry = u"$objects";
inline constexpr QStringView topEntry = u"$top";

inline constexpr QStringView archiverName = u"NSKeyedArchiver";
inline constexpr int layoutVersion = 100'000;
inline constexpr QStringView null = u"$null";
inline constexpr QStringView rootKey = u"root";

/// In an object, the reference to its class entry; in a class entry, the class's name, and its name with
/// those of all its superclasses.
inline constexpr QStringView classKey = u"$class";
inline constexpr QStringView classNameKey = u"$classname";
inline constexpr QStringView classesKey = u"$classes";
inline constexpr QStringView rootClass = u"NSObject";
/// In a class entry, the class's version unless it is 0. The platform's layout has no place for it; its own
/// readers pass over keys that they do not know.
inline constexpr QStringView versionKey = u"QFClassVersion";

/// In an array, the references to its elements.
inline constexpr QStringView elementsKey = u"NS.objects";

/// A key as it is stored: one that starts with a dollar sign gets another, to stay apart from the keys above.
[[nodiscard]] inline QString storedKey(QStringView key)
{
    return key.startsWith(u'$') ? u'$' + key.toString() : key.toString();
}

/// Where the n-th object of a sequence without keys is stored.
[[nodiscard]] inline QString sequenceKey(int n)
{
    return u'$' + QString::number(n);
}

} // namespace NSKeyedArchiveLayout
