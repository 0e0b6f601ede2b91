#include "platform/Formatting.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

QString argumentAsString(const FormatArgument &argument)
{
    if (const auto *text = std::get_if<QString>(&argument.value()))
        return printed(*text);
    if (const auto *integer = std::get_if<qint64>(&argument.value()))
        return QString::number(*integer);
    return formattedFloat(std::get<double>(argument.value()));
}

qint64 argumentAsInteger(const FormatArgument &argument)
{
    if (const auto *integer = std::get_if<qint64>(&argument.value()))
        return *integer;
    if (const auto *number = std::get_if<double>(&argument.value()))
        return std::abs(*number) < 9.2e18 ? static_cast<qint64>(*number) : 0;
    return 0;
}

double argumentAsFloat(const FormatArgument &argument)
{
    if (const auto *number = std::get_if<double>(&argument.value()))
        return *number;
    return static_cast<double>(argumentAsInteger(argument));
}

/// One placeholder, read from behind its percent sign.
struct Placeholder
{
    int width = 0;
    char16_t conversion = u'%';
    qsizetype end = 0;
};

Placeholder placeholderAt(QStringView format, qsizetype position)
{
    Placeholder placeholder;
    qsizetype i = position;
    while (i < format.size() && format[i] >= u'0' && format[i] <= u'9' && placeholder.width < 1000)
        placeholder.width = placeholder.width * 10 + (format[i++].unicode() - u'0');
    while (i < format.size() && QStringView(u"-hlqz").contains(format[i]))
        ++i;
    if (i < format.size())
        placeholder.conversion = format[i++].unicode();
    placeholder.end = i;
    return placeholder;
}

QString converted(const Placeholder &placeholder, const FormatArgument &argument)
{
    QString text;
    switch (placeholder.conversion) {
    case u'd':
    case u'i':
    case u'u':
        text = QString::number(argumentAsInteger(argument));
        break;
    case u'x':
        text = QString::number(static_cast<quint64>(argumentAsInteger(argument)), 16);
        break;
    case u'X':
        text = QString::number(static_cast<quint64>(argumentAsInteger(argument)), 16).toUpper();
        break;
    case u'f':
        return formattedFloat(argumentAsFloat(argument));
    default:
        return argumentAsString(argument);
    }
    return text.rightJustified(placeholder.width, u'0');
}

} // namespace

QString formatted(QStringView format, std::initializer_list<FormatArgument> arguments)
{
    QString result;
    const FormatArgument *next = arguments.begin();
    for (qsizetype i = 0; i < format.size();) {
        if (format[i] != u'%') {
            result += format[i++];
            continue;
        }
        const Placeholder placeholder = placeholderAt(format, i + 1);
        i = placeholder.end;
        if (placeholder.conversion == u'%')
            result += u'%';
        else
            result += converted(placeholder, next != arguments.end() ? *next++ : FormatArgument(QString()));
    }
    return result;
}

QString printed(const QString &text)
{
    return text.isNull() ? u"(null)"_s : text;
}

QString formattedFloat(double number)
{
    return QString::number(number, 'f', 6);
}
