#pragma once

#include "platform/QFExport.h"

#include <QString>
#include <QVariant>

class QObject;

/// Values by name, of maps and of objects. No function throws, whatever the objects do. Any thread.
namespace NSKeyValueCoding {

/// The value of the property, or else the answer of the public argument-less operation of that name that has
/// one; nil where there is neither. Properties that were made at run time do not count.
[[nodiscard]] QF_EXPORT QVariant valueForKey(QObject *receiver, const QString &key);
/// Of a map its entry, of an object as above; nil for every other receiver.
[[nodiscard]] QF_EXPORT QVariant valueForKey(const QVariant &receiver, const QString &key);
/// Follows keys between dots from value to value; nil as soon as one is.
[[nodiscard]] QF_EXPORT QVariant valueForKeyPath(const QVariant &receiver, const QString &keyPath);

/// Writes a declared property. False, with nothing changed, for an unknown key (none is ever made at run
/// time), a read-only one, a value that is none of the property's type, and nil where the property is a
/// number. False also when the setter throws. Nil empties a string, container or object property. `reason`,
/// where given, becomes a phrase that says why it is false; otherwise exceptions are put into the report.
QF_EXPORT bool setValueForKey(QObject *receiver, const QString &key, const QVariant &value,
                              QString *reason = nullptr);

} // namespace NSKeyValueCoding
