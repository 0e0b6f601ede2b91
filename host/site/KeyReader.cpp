#include "host/site/KeyReader.h"

#include "platform/QFReport.h"

#include <QFileInfo>

#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// What is shown of a key that somebody else chose.
QString shown(const QString &key)
{
    constexpr qsizetype kMaximumLength = 60;
    return key.size() > kMaximumLength ? key.left(kMaximumLength) + u'…' : key;
}

} // namespace

KeyReader::KeyReader(const QJsonObject &object, QString file, QString place)
    : _object(object), _file(std::move(file)), _place(std::move(place))
{
}

QString KeyReader::placeOf(const QString &key) const
{
    return _place.isEmpty() ? shown(key) : _place + u'.' + shown(key);
}

void KeyReader::complain(const QString &key, const QString &problem) const
{
    reportLoss(u"site"_s, QFileInfo(_file).fileName() + u": "_s + placeOf(key) + u' ' + problem, _file);
}

void KeyReader::complainOfUnknownKeys() const
{
    const QStringList keys = _object.keys();
    for (const QString &key : keys) {
        if (!_asked.contains(key))
            complain(key, u"is no key that means anything here"_s);
    }
}

QJsonValue KeyReader::value(const QString &key, QJsonValue::Type type, const char *expected)
{
    _asked.insert(key);
    const auto found = _object.constFind(key);
    if (found == _object.constEnd() || found->isNull())
        return QJsonValue(QJsonValue::Undefined);
    if (found->type() == type)
        return *found;
    complain(key, u"should be "_s + QString::fromLatin1(expected));
    return QJsonValue(QJsonValue::Undefined);
}

QString KeyReader::string(const QString &key, const QString &fallback)
{
    const QJsonValue found = value(key, QJsonValue::String, "a string");
    return found.isUndefined() ? fallback : found.toString();
}

bool KeyReader::boolean(const QString &key, bool fallback)
{
    return value(key, QJsonValue::Bool, "true or false").toBool(fallback);
}

qint64 KeyReader::number(const QString &key, qint64 fallback)
{
    const QJsonValue found = value(key, QJsonValue::Double, "a number");
    const double number = found.toDouble();
    if (found.isUndefined())
        return fallback;
    if (std::abs(number) < 1e9)
        return static_cast<qint64>(number);
    complain(key, u"is too large"_s);
    return fallback;
}

QStringList KeyReader::strings(const QString &key)
{
    QStringList strings;
    const QJsonArray array = this->array(key);
    for (const auto &element : array) {
        if (element.isString())
            strings.append(element.toString());
        else
            complain(key, u"should hold strings only"_s);
    }
    return strings;
}

QJsonObject KeyReader::object(const QString &key)
{
    return value(key, QJsonValue::Object, "an object").toObject();
}

QJsonArray KeyReader::array(const QString &key)
{
    return value(key, QJsonValue::Array, "a list").toArray();
}
