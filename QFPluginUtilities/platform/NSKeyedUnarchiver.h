#pragma once

#include "platform/QFExport.h"

#include <QByteArray>
#include <QStringView>
#include <QVariant>

#include <memory>

/// Reads what NSKeyedArchiver writes, from bytes that may come from anywhere. Only the classes of
/// NSArchivableClasses are made; an object of another class is read as the nearest superclass among them,
/// else as nil. References in circles, references to nowhere and values of wrong kinds read as nil. Each
/// object is decoded once. Time and memory are linear in the size of the archive: one that would unfold to
/// much more than it holds reads as nil altogether. One unarchiver is used by one thread.
class QF_EXPORT NSKeyedUnarchiver
{
public:
    explicit NSKeyedUnarchiver(const QByteArray &archive);
    ~NSKeyedUnarchiver();
    NSKeyedUnarchiver(const NSKeyedUnarchiver &) = delete;
    NSKeyedUnarchiver &operator=(const NSKeyedUnarchiver &) = delete;

    /// The "root" of an archive, or nil.
    [[nodiscard]] static QVariant unarchiveObjectWithData(const QByteArray &archive);

    /// What stands under a key of the object that is being decoded, or of the archive itself. Nil, false or
    /// `absent` where there is nothing or a value of another kind; numbers are read as one another. Strings
    /// and data may stand in the entry itself.
    [[nodiscard]] bool containsValueForKey(QStringView key) const;
    [[nodiscard]] QVariant decodeObject(QStringView key);
    [[nodiscard]] bool decodeBool(QStringView key) const;
    [[nodiscard]] qint64 decodeInt(QStringView key, qint64 absent = 0) const;
    /// Never NaN or infinite: those count as absent.
    [[nodiscard]] double decodeDouble(QStringView key, double absent = 0) const;
    /// A row of objects that is part of this one; elements that cannot be read are nil.
    [[nodiscard]] QVariantList decodeObjects(QStringView key);
    /// The next object of a sequence without keys.
    [[nodiscard]] QVariant decodeObject();

    /// An object if it is exactly a T, else a T of its own default.
    template <typename T>
    [[nodiscard]] T decode(QStringView key)
    {
        const QVariant object = decodeObject(key);
        return object.metaType() == QMetaType::fromType<T>() ? object.value<T>() : T();
    }

    /// The version that the archive states for a class of an object decoded so far, or being decoded: 0 where
    /// it names the class without a version, -1 where it does not name it.
    [[nodiscard]] qint64 versionForClassName(const QString &name) const;

    /// Decoders whose work is not bounded by the size of the object's own entries call this with the steps
    /// they are about to take. False when the archive has used up its share; the whole archive then reads as
    /// nil.
    [[nodiscard]] bool spend(qsizetype steps);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
