#include "platform/KeyValueCoding.h"

#include "platform/Conversions.h"
#include "platform/DynamicMessages.h"
#include "platform/QFReport.h"
#include "platform/Values.h"

#include <QHash>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QObject>

using namespace Qt::StringLiterals;

namespace {

void reportException(const QString &key)
{
    reportLoss(u"exception"_s, u"The property '"_s + key + u"' threw an exception."_s);
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
        const QMetaProperty property = meta.property(meta.indexOfProperty(name.constData()));
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

bool NSKeyValueCoding::setValueForKey(QObject *receiver, const QString &key, const QVariant &value)
{
    if (!receiver)
        return false;
    const QMetaObject &meta = *receiver->metaObject();
    const QMetaProperty property = meta.property(meta.indexOfProperty(key.toUtf8().constData()));
    if (!property.isValid() || !property.isWritable())
        return false;
    try {
        const std::optional<RankedValue> converted = convertedTo(value, property.metaType());
        return converted && property.write(receiver, converted->value);
    } catch (...) {
        reportException(key);
        return false;
    }
}
