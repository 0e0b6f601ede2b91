#include "text/QFTuple.h"

#include "platform/DynamicMessages.h"
#include "platform/Formatting.h"
#include "platform/KeyValueCoding.h"
#include "platform/Values.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

const QFTuple *tupleIn(const QVariant &value)
{
    return value.metaType() == QMetaType::fromType<QFTuple>()
               ? static_cast<const QFTuple *>(value.constData())
               : nullptr;
}

bool sameElement(const QVariant &a, const QVariant &b)
{
    const QFTuple *tuple = tupleIn(a);
    const QFTuple *other = tupleIn(b); // only a tuple has a tuple's hash
    return tuple != nullptr && other != nullptr ? *tuple == *other : sameValue(a, b);
}

size_t hashOf(const QVariant &value)
{
    if (isNil(value))
        return 0;
    if (isNumber(value)) { // equal numbers of different types must hash alike
        const double number = doubleValue(value);
        return std::isnan(number) ? 1 : qHash(number);
    }
    if (const QFTuple *tuple = tupleIn(value))
        return tuple->hash();
    switch (value.typeId()) {
    case QMetaType::QString:
        return qHash(value.toString());
    case QMetaType::QByteArray:
        return qHash(value.toByteArray());
    default: // equal ones hash alike, others may
        return size_t(2);
    }
}

/// Where values of a family stand among those of other families.
int rankOf(const QVariant &value)
{
    if (isNil(value))
        return 0;
    if (isNumber(value))
        return 1;
    if (value.typeId() == QMetaType::QString)
        return 2;
    if (value.typeId() == QMetaType::QByteArray)
        return 3;
    return tupleIn(value) != nullptr ? 4 : 5;
}

template <typename Value>
std::weak_ordering ordered(const Value &a, const Value &b)
{
    return a < b   ? std::weak_ordering::less
           : b < a ? std::weak_ordering::greater
                   : std::weak_ordering::equivalent;
}

/// NaN comes before all others.
std::weak_ordering compareNumbers(const QVariant &a, const QVariant &b)
{
    const double x = doubleValue(a);
    const double y = doubleValue(b);
    if (std::isnan(x) || std::isnan(y))
        return ordered(!std::isnan(x), !std::isnan(y));
    const std::weak_ordering order = ordered(x, y);
    // Large integers may differ where the floats next to them do not.
    return std::is_neq(order) || sameValue(a, b) ? order : ordered(intValue(a), intValue(b));
}

std::weak_ordering compareElements(const QVariant &a, const QVariant &b)
{
    const int rank = rankOf(a);
    if (rank != rankOf(b))
        return ordered(rank, rankOf(b));
    switch (rank) {
    case 1:
        return compareNumbers(a, b);
    case 2:
        return ordered(a.toString(), b.toString());
    case 3:
        return ordered(a.toByteArray(), b.toByteArray());
    case 4:
        return tupleIn(a)->compare(*tupleIn(b));
    default:
        return std::weak_ordering::equivalent;
    }
}

bool hasKey(const QVariant &receiver, const QString &key)
{
    const QObject *object = objectValue(receiver);
    if (object == nullptr)
        return receiver.toMap().contains(key);
    const QByteArray name = key.toLatin1();
    return object->metaObject()->indexOfProperty(name) >= 0 || respondsTo(object, name, 0);
}

/// Like `%@`.
QString descriptionOf(const QVariant &value)
{
    if (const QFTuple *tuple = tupleIn(value))
        return tuple->description();
    return isNil(value) ? QString() : value.toString();
}

} // namespace

QFTuple::QFTuple(QVariant firstElement, QVariant secondElement)
    : _element1(std::move(firstElement)), _element2(std::move(secondElement))
{
}

QFTuple QFTuple::tupleWithFirstElement(const QVariant &first, const QVariant &secondElement)
{
    return {first, secondElement};
}

QString QFTuple::description() const
{
    return formatted(u"(%@, %@)", {descriptionOf(_element1), descriptionOf(_element2)});
}

bool QFTuple::isEqual(const QVariant &other) const
{
    if (const QFTuple *tuple = tupleIn(other))
        return *this == *tuple;
    return hasKey(other, u"element1"_s) && hasKey(other, u"element2"_s) &&
           sameElement(_element1, NSKeyValueCoding::valueForKey(other, u"element1"_s)) &&
           sameElement(_element2, NSKeyValueCoding::valueForKey(other, u"element2"_s));
}

size_t QFTuple::hash() const
{
    return hashOf(_element1) + hashOf(_element2);
}

std::weak_ordering QFTuple::compare(const QFTuple &other) const
{
    const std::weak_ordering first = compareElements(_element1, other._element1);
    return std::is_neq(first) ? first : compareElements(_element2, other._element2);
}

bool operator==(const QFTuple &a, const QFTuple &b)
{
    return sameElement(a._element1, b._element1) && sameElement(a._element2, b._element2);
}
