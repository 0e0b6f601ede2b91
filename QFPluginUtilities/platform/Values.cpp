#include "platform/Values.h"

#include <QObject>
#include <QVariantList>
#include <QVariantMap>

#include <cmath>
#include <compare>
#include <limits>

namespace {

constexpr int kMaximumNesting = 256;

enum class Family { Nil, Number, String, Bytes, Array, Dictionary, Object, Other };

Family familyOf(const QVariant &value)
{
    if (isNil(value))
        return Family::Nil;
    if (isNumber(value))
        return Family::Number;
    if (value.metaType().flags() & (QMetaType::PointerToQObject | QMetaType::TrackingPointerToQObject))
        return Family::Object;
    switch (value.typeId()) {
    case QMetaType::QString:
        return Family::String;
    case QMetaType::QByteArray:
        return Family::Bytes;
    case QMetaType::QVariantList:
        return Family::Array;
    case QMetaType::QVariantMap:
        return Family::Dictionary;
    default:
        return Family::Other;
    }
}

bool isFloating(const QVariant &value)
{
    return value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float;
}

bool isUnsigned64(const QVariant &value)
{
    return value.typeId() == QMetaType::ULongLong || value.typeId() == QMetaType::ULong;
}

/// Whether an integer beyond 2^53 equals a float exactly, which a conversion to double would blur.
bool sameIntegerAndFloat(const QVariant &integer, double number)
{
    if (std::isnan(number) || number != std::floor(number))
        return false;
    if (isUnsigned64(integer)) {
        return number >= 0 && number < 18446744073709551616.0 &&
               static_cast<quint64>(number) == integer.toULongLong();
    }
    return number >= -9223372036854775808.0 && number < 9223372036854775808.0 &&
           static_cast<qint64>(number) == integer.toLongLong();
}

bool sameNumber(const QVariant &a, const QVariant &b)
{
    if (isFloating(a) && isFloating(b)) {
        const double x = a.toDouble();
        const double y = b.toDouble();
        return x == y || (std::isnan(x) && std::isnan(y));
    }
    if (isFloating(a))
        return sameIntegerAndFloat(b, a.toDouble());
    if (isFloating(b))
        return sameIntegerAndFloat(a, b.toDouble());
    if (isUnsigned64(a) != isUnsigned64(b)) {
        const QVariant &wide = isUnsigned64(a) ? a : b;
        const QVariant &other = isUnsigned64(a) ? b : a;
        return other.toLongLong() >= 0 && wide.toULongLong() == static_cast<quint64>(other.toLongLong());
    }
    return isUnsigned64(a) ? a.toULongLong() == b.toULongLong() : a.toLongLong() == b.toLongLong();
}

bool sameAtDepth(const QVariant &a, const QVariant &b, int depth);

bool sameArray(const QVariantList &a, const QVariantList &b, int depth)
{
    return a.size() == b.size() &&
           std::equal(a.cbegin(), a.cend(), b.cbegin(),
                      [depth](const QVariant &x, const QVariant &y) { return sameAtDepth(x, y, depth); });
}

bool sameDictionary(const QVariantMap &a, const QVariantMap &b, int depth)
{
    if (a.size() != b.size())
        return false;
    for (auto x = a.cbegin(), y = b.cbegin(); x != a.cend(); ++x, ++y) {
        if (x.key() != y.key() || !sameAtDepth(*x, *y, depth))
            return false;
    }
    return true;
}

bool sameAtDepth(const QVariant &a, const QVariant &b, int depth)
{
    if (depth > kMaximumNesting)
        return false;
    // Fonts, styles, shared objects: one own equality, no other type can equal them.
    if (a.typeId() >= QMetaType::User && a.metaType() == b.metaType())
        return a == b;
    const Family family = familyOf(a);
    if (family != familyOf(b))
        return false;
    switch (family) {
    case Family::Nil:
        return true;
    case Family::Number:
        return sameNumber(a, b);
    case Family::String:
        return a.toString() == b.toString();
    case Family::Bytes:
        return a.toByteArray() == b.toByteArray();
    case Family::Array:
        return sameArray(a.toList(), b.toList(), depth + 1);
    case Family::Dictionary:
        return sameDictionary(a.toMap(), b.toMap(), depth + 1);
    case Family::Object:
        return objectValue(a) == objectValue(b);
    case Family::Other:
        break;
    }
    return a.metaType() == b.metaType() && a == b;
}

/// The leading decimal number of a string, as the platform reads one; 0 when there is none.
double leadingNumber(const QString &text, bool integerOnly)
{
    const QString trimmed = text.trimmed();
    qsizetype end = 0;
    const auto digits = [&] {
        const qsizetype from = end;
        while (end < trimmed.size() && trimmed[end] >= u'0' && trimmed[end] <= u'9')
            ++end;
        return end > from;
    };
    const auto sign = [&] {
        if (end < trimmed.size() && (trimmed[end] == u'-' || trimmed[end] == u'+'))
            ++end;
    };
    sign();
    digits();
    if (!integerOnly && end < trimmed.size() && trimmed[end] == u'.') {
        ++end;
        digits();
    }
    if (!integerOnly && end < trimmed.size() && (trimmed[end] == u'e' || trimmed[end] == u'E')) {
        const qsizetype mantissaEnd = end++;
        sign();
        if (!digits())
            end = mantissaEnd;
    }
    return QStringView(trimmed).left(end).toDouble();
}

bool stringTruth(const QString &text)
{
    qsizetype i = 0;
    while (i < text.size() && text[i].isSpace())
        ++i;
    if (i < text.size() && (text[i] == u'-' || text[i] == u'+'))
        ++i;
    while (i < text.size() && text[i] == u'0')
        ++i;
    return i < text.size() && QStringView(u"YyTt123456789").contains(text[i]);
}

qint64 truncated(double number)
{
    if (std::isnan(number))
        return 0;
    if (number >= 9223372036854775808.0)
        return std::numeric_limits<qint64>::max();
    if (number < -9223372036854775808.0)
        return std::numeric_limits<qint64>::min();
    return static_cast<qint64>(number);
}

qint64 integerOfString(const QString &text)
{
    bool isExact = false;
    const qint64 exact = text.trimmed().toLongLong(&isExact);
    return isExact ? exact : truncated(leadingNumber(text, true));
}

} // namespace

bool isNil(const QVariant &value)
{
    if (!value.isValid() || value.typeId() == QMetaType::Nullptr)
        return true;
    if (value.typeId() == QMetaType::QString)
        return static_cast<const QString *>(value.constData())->isNull();
    const auto flags = value.metaType().flags();
    if (flags & QMetaType::PointerToQObject)
        return *static_cast<QObject *const *>(value.constData()) == nullptr;
    if (flags & QMetaType::TrackingPointerToQObject)
        return objectValue(value) == nullptr;
    // A null shared pointer equals a fresh one of its type.
    if (value.typeId() >= QMetaType::User && qstrncmp(value.metaType().name(), "std::shared_ptr<", 16) == 0)
        return value == QVariant(value.metaType());
    return false;
}

bool sameString(const QString &a, const QString &b)
{
    return !a.isNull() && !b.isNull() && a == b;
}

bool sameValue(const QVariant &a, const QVariant &b)
{
    return sameAtDepth(a, b, 0);
}

bool isNumber(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

bool boolValue(const QVariant &value)
{
    if (isNumber(value))
        return isFloating(value) ? value.toDouble() != 0 : value.toULongLong() != 0;
    return value.typeId() == QMetaType::QString && stringTruth(value.toString());
}

qint64 intValue(const QVariant &value)
{
    if (isNumber(value)) {
        if (isFloating(value))
            return truncated(value.toDouble());
        if (isUnsigned64(value))
            return static_cast<qint64>(
                std::min<quint64>(value.toULongLong(), std::numeric_limits<qint64>::max()));
        return value.toLongLong();
    }
    return value.typeId() == QMetaType::QString ? integerOfString(value.toString()) : 0;
}

double doubleValue(const QVariant &value)
{
    if (isNumber(value))
        return value.toDouble();
    return value.typeId() == QMetaType::QString ? leadingNumber(value.toString(), false) : 0;
}

float floatValue(const QVariant &value)
{
    return static_cast<float>(doubleValue(value));
}

QString stringValue(const QVariant &value)
{
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

QStringList stringsIn(const QVariant &value)
{
    if (value.typeId() == QMetaType::QStringList)
        return value.toStringList();
    QStringList strings;
    if (value.typeId() != QMetaType::QVariantList)
        return strings;
    for (const QVariant &element : value.toList()) {
        const QString string = stringValue(element);
        if (!string.isNull())
            strings.append(string);
    }
    return strings;
}

QObject *objectValue(const QVariant &value)
{
    if (value.metaType().flags() & QMetaType::PointerToQObject)
        return *static_cast<QObject *const *>(value.constData());
    if (value.metaType().flags() & QMetaType::TrackingPointerToQObject)
        return value.value<QObject *>();
    return nullptr;
}
