#pragma once

#include "platform/QFExport.h"

#include <QByteArrayView>
#include <QMetaObject>
#include <QVariantList>

/// The table of all selectors, that is names of messages, that known classes have methods for, with the sizes
/// of their arguments. Any thread.

/// Makes the table anew when the number of known classes has changed.
QF_EXPORT void CacheAllSelectors();

/// Bytes that the arguments of the message take: the sum of the sizes of a method's parameters, in that known
/// class that wants most. 0 when no known class has such a method. A size that was once asked for stays, also
/// when a class that wants more becomes known later.
[[nodiscard]] QF_EXPORT qsizetype MaximumArgumentSizeForSelector(QByteArrayView name);

namespace Selectors {

/// Makes a class and its base classes known. What matters of them is copied, so their module may be unloaded.
QF_EXPORT void registerClass(const QMetaObject &meta);

/// The same, at little cost for each further call. Capturing a member function does it.
template <typename Class>
void registerClass()
{
    [[maybe_unused]] static const bool once = (registerClass(Class::staticMetaObject), true);
}

/// The arguments, with numbers as all known methods of that name and number of arguments want them, where
/// that loses nothing: what is converted here need not be converted for each class.
[[nodiscard]] QF_EXPORT QVariantList widened(QByteArrayView name, const QVariantList &arguments);

} // namespace Selectors
