#pragma once

#include "platform/QFExport.h"

#include <QMetaType>
#include <QObject>
#include <QString>
#include <QVariant>

#include <compare>

/// A pair of values that is never changed: a key of dictionaries, and sortable. Nil elements are values like
/// others. Any thread.
class QF_EXPORT QFTuple
{
    Q_GADGET
    Q_PROPERTY(QVariant element1 READ first CONSTANT)
    Q_PROPERTY(QVariant element2 READ second CONSTANT)

public:
    QFTuple() = default;
    QFTuple(QVariant firstElement, QVariant secondElement);
    [[nodiscard]] static QFTuple tupleWithFirstElement(const QVariant &first, const QVariant &secondElement);

    [[nodiscard]] const QVariant &first() const { return _element1; }
    [[nodiscard]] const QVariant &second() const { return _element2; }

    /// "(first, second)", nil as "(null)".
    [[nodiscard]] QString description() const;

    /// Whether the values that the other, be it a tuple or any object or dictionary, has under "element1" and
    /// "element2" equal the elements, by the rules of `sameValue`. False for what lacks one of them.
    [[nodiscard]] bool isEqual(const QVariant &other) const;
    /// The sum of the elements' hashes, so (a, b) and (b, a) have the same. Equal tuples hash alike, also
    /// where an integer in one is a float in the other.
    [[nodiscard]] size_t hash() const;
    /// By the first elements and, where these are the same, by the second: nil before all, then numbers by
    /// value, strings by their units, bytes, tuples, and the rest, whose order among itself is not defined.
    [[nodiscard]] std::weak_ordering compare(const QFTuple &other) const;

    friend QF_EXPORT bool operator==(const QFTuple &a, const QFTuple &b);
    friend std::weak_ordering operator<=>(const QFTuple &a, const QFTuple &b) { return a.compare(b); }
    friend size_t qHash(const QFTuple &tuple, size_t seed = 0) { return tuple.hash() ^ seed; }

private:
    QVariant _element1;
    QVariant _element2;
};

Q_DECLARE_METATYPE(QFTuple)
