#include "platform/NSPropertyList.h"

#include "platform/NSBinaryPropertyList.h"
#include "platform/NSPropertyListValue.h"
#include "platform/NSXMLPropertyList.h"
#include "platform/WithoutThrowing.h"

#include <QTimeZone>

#include <cmath>

namespace {

constexpr qint64 kReferenceDateInUnixSeconds = 978'307'200; // 2001-01-01T00:00:00Z
constexpr double kFarthestDate = 1e12;

} // namespace

NSPropertyListKind propertyListKind(const QVariant &value)
{
    using Kind = NSPropertyListKind;
    switch (value.typeId()) {
    case QMetaType::Bool:
        return Kind::Bool;
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong:
        return Kind::Integer;
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return value.toULongLong() >> 63 ? Kind::Unsigned : Kind::Integer;
    case QMetaType::Float:
    case QMetaType::Double:
        return Kind::Real;
    case QMetaType::QString:
        return static_cast<const QString *>(value.constData())->isNull() ? Kind::None : Kind::String;
    case QMetaType::QByteArray:
        return Kind::Data;
    case QMetaType::QDateTime:
        return value.toDateTime().isValid() ? Kind::Date : Kind::None;
    case QMetaType::QVariantList:
    case QMetaType::QStringList:
        return Kind::Array;
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
        return Kind::Dictionary;
    default:
        return value.metaType() == QMetaType::fromType<NSPropertyListUID>() ? Kind::UID : Kind::None;
    }
}

double secondsSinceReferenceDate(const QDateTime &date)
{
    return static_cast<double>(date.toMSecsSinceEpoch() - kReferenceDateInUnixSeconds * 1000) / 1000;
}

QDateTime dateFromReferenceDate(double seconds)
{
    if (!(std::abs(seconds) < kFarthestDate))
        return {};
    const auto milliseconds = static_cast<qint64>(std::llround(seconds * 1000));
    return QDateTime::fromMSecsSinceEpoch(milliseconds + kReferenceDateInUnixSeconds * 1000, Qt::UTC);
}

QVariant NSPropertyList::propertyListFromData(const QByteArray &data, NSPropertyListFormat *format)
{
    const bool binary = data.startsWith("bplist0");
    if (format)
        *format = binary ? NSPropertyListFormat::Binary : NSPropertyListFormat::XML;
    return withoutThrowing([&] { return binary ? propertyListFromBinary(data) : propertyListFromXML(data); });
}

QByteArray NSPropertyList::dataFromPropertyList(const QVariant &value, NSPropertyListFormat format)
{
    return withoutThrowing([&] {
        return format == NSPropertyListFormat::Binary ? binaryFromPropertyList(value)
                                                      : xmlFromPropertyList(value);
    });
}
