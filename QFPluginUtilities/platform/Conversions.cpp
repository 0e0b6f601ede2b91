#include "platform/Conversions.h"

#include "platform/Values.h"

#include <QObject>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr auto numberTypes = std::to_array<int>(
    {QMetaType::Bool, QMetaType::Int, QMetaType::UInt, QMetaType::LongLong, QMetaType::ULongLong,
     QMetaType::Double, QMetaType::Long, QMetaType::ULong, QMetaType::Short, QMetaType::UShort,
     QMetaType::Char, QMetaType::SChar, QMetaType::UChar, QMetaType::Float});

bool isEnumeration(QMetaType type)
{
    return type.flags().testFlag(QMetaType::IsEnumeration);
}

bool isNumberType(QMetaType type)
{
    return isEnumeration(type) || std::ranges::find(numberTypes, type.id()) != numberTypes.end();
}

bool isFloatType(QMetaType type)
{
    return type.id() == QMetaType::Double || type.id() == QMetaType::Float;
}

bool isSigned(QMetaType type)
{
    const bool isPlainUnsigned = type.flags().testFlag(QMetaType::IsUnsignedEnumeration) ||
                                 type.id() == QMetaType::UInt || type.id() == QMetaType::ULongLong ||
                                 type.id() == QMetaType::ULong || type.id() == QMetaType::UShort ||
                                 type.id() == QMetaType::UChar;
    return !isPlainUnsigned;
}

// Writes an integer into a value of `type`, if it fits.
std::optional<QVariant> integerAs(QMetaType type, qint64 number)
{
    const auto bits = static_cast<int>(type.sizeOf() * 8);
    if (isSigned(type) && bits < 64) {
        const qint64 limit = qint64(1) << (bits - 1);
        if (number < -limit || number >= limit)
            return std::nullopt;
    } else if (!isSigned(type) && (number < 0 || (bits < 64 && number >= qint64(1) << bits))) {
        return std::nullopt;
    }
    // All integers and enumerations are two's complement in the machine's order, of which the low bytes
    // count.
    const auto all = static_cast<quint64>(number);
    switch (type.sizeOf()) {
    case 1:
        return QVariant(type, std::array{static_cast<quint8>(all)}.data());
    case 2:
        return QVariant(type, std::array{static_cast<quint16>(all)}.data());
    case 4:
        return QVariant(type, std::array{static_cast<quint32>(all)}.data());
    case 8:
        return QVariant(type, &all);
    default:
        return std::nullopt;
    }
}

std::optional<QVariant> numberAs(QMetaType type, const QVariant &value)
{
    if (type.id() == QMetaType::Bool)
        return QVariant(boolValue(value));
    if (type.id() == QMetaType::Double)
        return QVariant(doubleValue(value));
    if (type.id() == QMetaType::Float)
        return QVariant(floatValue(value));
    // What 64 signed bits cannot hold.
    const int typeId = value.typeId();
    if ((typeId == QMetaType::ULongLong || typeId == QMetaType::ULong) &&
        value.toULongLong() > quint64(INT64_MAX)) {
        const quint64 number = value.toULongLong();
        return type.sizeOf() == 8 && !isSigned(type) ? std::optional(QVariant(type, &number)) : std::nullopt;
    }
    if (isFloatType(value.metaType()) && !(std::abs(value.toDouble()) < 9.2e18))
        return std::nullopt;
    return integerAs(type, intValue(value));
}

ConversionRank rankOfNumber(QMetaType from, QMetaType to)
{
    if (from.id() == QMetaType::Bool || to.id() == QMetaType::Bool || isEnumeration(to))
        return ConversionRank::Lossy;
    if (isFloatType(to) && !isFloatType(from))
        return ConversionRank::Floating;
    const bool isSameKind = isFloatType(to) == isFloatType(from) && isSigned(to) == isSigned(from);
    return isSameKind && to.sizeOf() >= from.sizeOf() ? ConversionRank::Widening : ConversionRank::Lossy;
}

std::optional<RankedValue> ranked(std::optional<QVariant> value, ConversionRank rank)
{
    if (!value)
        return std::nullopt;
    return RankedValue{std::move(*value), rank};
}

std::optional<RankedValue> objectAs(QMetaType type, QObject *object)
{
    const QMetaObject *wanted = type.metaObject();
    if (!object || !wanted || !object->metaObject()->inherits(wanted))
        return std::nullopt;
    return RankedValue{QVariant(type, static_cast<const void *>(&object)), ConversionRank::Generic};
}

bool isContainer(QMetaType type)
{
    return type.id() == QMetaType::QVariantList || type.id() == QMetaType::QStringList ||
           type.id() == QMetaType::QVariantMap || type.id() == QMetaType::QVariantHash;
}

} // namespace

std::optional<RankedValue> convertedTo(const QVariant &value, QMetaType type)
{
    if (!type.isValid())
        return std::nullopt;
    if (type == QMetaType::fromType<QVariant>())
        return RankedValue{value, ConversionRank::Generic};
    if (value.metaType() == type)
        return RankedValue{value, ConversionRank::Exact};
    if (isNil(value)) {
        QVariant empty(type);
        return isNumberType(type) || !empty.isValid()
                   ? std::nullopt
                   : std::optional(RankedValue{std::move(empty), ConversionRank::Lossy});
    }
    if (type.flags().testFlag(QMetaType::PointerToQObject))
        return objectAs(type, objectValue(value));
    if (isNumberType(type) && (isNumber(value) || isEnumeration(value.metaType())))
        return ranked(numberAs(type, isNumber(value) ? value : QVariant(value.toLongLong())),
                      rankOfNumber(value.metaType(), type));
    QVariant copy = value;
    if (isContainer(type) && isContainer(value.metaType()) && copy.convert(type))
        return RankedValue{std::move(copy), ConversionRank::Lossy};
    return std::nullopt;
}
