#pragma once

#include "platform/QFExport.h"

#include <QMetaType>
#include <QVariant>

#include <optional>

/// How far a value is from the type that is asked for; the nearer one wins when a name has several overloads.
enum class ConversionRank : int {
    Exact = 0,    ///< of that very type
    Generic = 1,  ///< any value is taken, or an object by one of its base classes
    Widening = 2, ///< a number of a type that holds every one of its own type
    Floating = 3, ///< an integer as a floating-point number
    Lossy = 4,    ///< another number, a container of another kind, or nil
};

struct RankedValue
{
    QVariant value; ///< of the type asked for (a QVariant itself when any value is taken)
    ConversionRank rank = ConversionRank::Exact;
};

/// The value as one of `type`, for handing it to a property or an operation. Stays within a family: a string
/// is never read as a number nor a number printed, and a URL is no string. Numbers are truncated toward zero
/// and refused when out of range. Nil becomes an empty pointer, string or container, and is refused where a
/// number is asked for. nullopt for what is refused.
[[nodiscard]] QF_EXPORT std::optional<RankedValue> convertedTo(const QVariant &value, QMetaType type);
