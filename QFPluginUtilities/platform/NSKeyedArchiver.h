#pragma once

#include "platform/QFExport.h"

#include <QByteArray>
#include <QList>
#include <QStringView>
#include <QVariant>

#include <memory>

/// Writes values and objects into a keyed archive: the platform's layout in a binary property list. Strings,
/// numbers, data, dates, arrays, dictionaries and URLs are taken, and the objects of NSArchivableClasses.
///
/// An object held by a shared pointer is archived once and read back as one object; two objects that are
/// merely equal stay two. Plain values that are equal are stored once. Cycles are allowed. A value that no
/// archive holds, and what is nested deeper than `maximumDepth`, is left out and makes a report record.
///
/// Cost: linear in what is written. One archiver is used by one thread, and once.
class QF_EXPORT NSKeyedArchiver
{
public:
    /// Levels of objects inside one another, for the unarchiver too.
    static constexpr int maximumDepth = 100;

    NSKeyedArchiver();
    ~NSKeyedArchiver();
    NSKeyedArchiver(const NSKeyedArchiver &) = delete;
    NSKeyedArchiver &operator=(const NSKeyedArchiver &) = delete;

    /// An archive whose "root" is this value.
    [[nodiscard]] static QByteArray archivedDataWithRootObject(const QVariant &root);

    /// Writes under a key of the object that is being encoded, or of the archive itself. Nil is written as
    /// the archive's null. Of several values for one key the last is read back.
    void encodeObject(const QVariant &object, QStringView key);
    void encodeBool(bool value, QStringView key);
    void encodeInt(qint64 value, QStringView key);
    void encodeDouble(double value, QStringView key);
    void encodeBytes(const QByteArray &bytes, QStringView key);
    /// A row of objects as part of this one, where `encodeObject` of a list makes the list an object of its
    /// own. Nils and what cannot be archived are left out.
    void encodeObjects(const QVariantList &objects, QStringView key);
    /// Writes the next object of a sequence without keys, under "$0", "$1" and so on.
    void encodeObject(const QVariant &object);

    /// Archives a value, unless it is there already, and answers its place: the same for the same object and
    /// for equal plain values, 0 for nil and for what cannot be archived.
    quint64 referenceTo(const QVariant &object);
    /// Writes an array of what `referenceTo` answered.
    void encodeArrayOfReferences(const QList<quint64> &references, QStringView key);

    /// True when `encodeObject` will write something for this value itself. Otherwise, unless it is nil,
    /// makes the report record.
    [[nodiscard]] static bool canEncode(const QVariant &value);

    /// Ends the archive and answers it.
    [[nodiscard]] QByteArray encodedData();

private:
    struct Private;
    std::unique_ptr<Private> d;
};
