#pragma once

#include "platform/NSPropertyList.h"

#include <QDateTime>

/// How a value is stored in a property list; None for nil and for what has no place there.
enum class NSPropertyListKind : quint8 {
    None,
    Bool,
    Integer,
    Unsigned, ///< beyond the range of signed 64 bits
    Real,
    String,
    Data,
    Date,
    UID,
    Array,
    Dictionary
};

[[nodiscard]] NSPropertyListKind propertyListKind(const QVariant &value);

/// The platform counts dates in seconds from the first moment of 2001, UTC.
[[nodiscard]] double secondsSinceReferenceDate(const QDateTime &date);
/// Invalid for what is no number or lies more than about 30,000 years away.
[[nodiscard]] QDateTime dateFromReferenceDate(double seconds);
