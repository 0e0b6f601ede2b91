#pragma once

#include <QByteArray>
#include <QVariant>

// The XML format of property lists. NSPropertyList says what is taken.

[[nodiscard]] QVariant propertyListFromXML(const QByteArray &data);
[[nodiscard]] QByteArray xmlFromPropertyList(const QVariant &value);
