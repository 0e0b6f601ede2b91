#include "platform/KeyValueCoding.h"

#include "platform/Conversions.h"
#include "platform/DynamicMessages.h"
#include "platform/QFReport.h"
#include "platform/Values.h"

#include <QHash>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QObject>

#include <exception>

using namespace Qt::StringLiterals;

namespace {

void reportException(const QString &key)
{
    reportLoss(u"exception"_s, u"The property '"_s + key + u"' threw an exception."_s);
}

/// -1 for none; a name's beginning before a NUL is not the name.
int indexOfProperty(const QMetaObject &meta, const QString &key)
{
    return key.contains(QChar::Null) ? -1 : meta.indexOfProperty(key.toUtf8().constData());
}

// Reading a value must not do something: an operation without an answer, such as deleteLater, is no value.
bool hasAnswer(const QObject *receiver, const QByteArray &name)
{
    const QMetaObject &meta = *receiver->metaObject();
    const int index = meta.indexOfMethod(name + "()");
    return index >= 0 && meta.method(index).returnMetaType() != QMetaType::fromType<void>();
}

} // namespace

QVariant NSKeyValueCoding::valueForKey(QObject *receiver, const QString &key)
{
    if (!receiver)
        return {};
    const QByteArray name = key.toUtf8();
    const QMetaObject &meta = *receiver->metaObject();
    try {
        const QMetaProperty property = meta.property(indexOfProperty(meta, key));
        if (property.isValid() && property.isReadable())
            return property.read(receiver);
    } catch (...) {
        reportException(key);
        return {};
    }
    return hasAnswer(receiver, name) ? send(receiver, name) : QVariant();
}

QVariant NSKeyValueCoding::valueForKey(const QVariant &receiver, const QString &key)
{
    switch (receiver.typeId()) {
    case QMetaType::QVariantMap:
        return static_cast<const QVariantMap *>(receiver.constData())->value(key);
    case QMetaType::QVariantHash:
        return static_cast<const QVariantHash *>(receiver.constData())->value(key);
    default:
        return valueForKey(objectValue(receiver), key);
    }
}

QVariant NSKeyValueCoding::valueForKeyPath(const QVariant &receiver, const QString &keyPath)
{
    QVariant value = receiver;
    for (const QStringView key : QStringView(keyPath).tokenize(u'.')) {
        value = valueForKey(value, key.toString());
        if (isNil(value))
            return {};
    }
    return value;
}

bool NSKeyValueCoding::setValueForKey(QObject *receiver, const QString &key, const QVariant &value,
                                      QString *reason)
{
    const auto refused = [&](const QString &why) {
        if (reason)
            *reason = why;
        return false;
    };
    if (!receiver)
        return refused(u"there is no object"_s);
    const QMetaObject &meta = *receiver->metaObject();
    const QMetaProperty property = meta.property(indexOfProperty(meta, key));
    if (!property.isValid())
        return refused(u"there is no property '"_s + key + u'\'');
    if (!property.isWritable())
        return refused(u"the property '"_s + key + u"' cannot be changed"_s);
    try {
        const std::optional<RankedValue> converted = convertedTo(value, property.metaType());
        return (converted && property.write(receiver, converted->value)) ||
               refused(u"the property '"_s + key + u"' takes no such value"_s);
    } catch (const std::exception &error) {
        if (!reason)
            reportException(key);
        return refused(u"the property '"_s + key + u"' threw: "_s + QString::fromUtf8(error.what()));
    } catch (...) {
        if (!reason)
            reportException(key);
        return refused(u"the property '"_s + key + u"' threw an exception"_s);
    }
}
