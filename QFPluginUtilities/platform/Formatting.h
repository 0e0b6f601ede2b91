#pragma once

#include "platform/QFExport.h"

#include <QString>

#include <concepts>
#include <initializer_list>
#include <variant>

/// One argument of `formatted`.
class FormatArgument
{
public:
    FormatArgument(const QString &text) : _value(text) {}
    template <std::integral T>
    FormatArgument(T number) : _value(static_cast<qint64>(number))
    {
    }
    template <std::floating_point T>
    FormatArgument(T number) : _value(static_cast<double>(number))
    {
    }

    [[nodiscard]] const std::variant<QString, qint64, double> &value() const { return _value; }

private:
    std::variant<QString, qint64, double> _value;
};

/// The platform's formatting: `%@` a string ("(null)" for nil), `%s` the same, `%d` `%i` `%u` an integer,
/// `%x` `%X` hexadecimal, with zero padding as in `%02x`, `%f` six decimals, `%%` a percent sign; a length
/// letter (`h`, `l`, `q`) is passed over. Nothing depends on the locale, and arguments are never read as
/// formats themselves
/// (`QString::arg` does so). A placeholder without an argument prints "(null)", an integer one prints 0.
[[nodiscard]] QF_EXPORT QString formatted(QStringView format,
                                          std::initializer_list<FormatArgument> arguments);

/// "(null)" for nil, else the string.
[[nodiscard]] QF_EXPORT QString printed(const QString &text);

/// `%f`: six decimals, locale-free; "nan" and "inf" as the C library prints them.
[[nodiscard]] QF_EXPORT QString formattedFloat(double number);
