#pragma once

#include <QByteArray>
#include <QVariant>

// The binary format of property lists: objects one after another, a table of where each starts, and a trailer
// that says how wide references and table entries are. All numbers are big-endian. NSPropertyList says what
// is taken.

[[nodiscard]] QVariant propertyListFromBinary(const QByteArray &data);
[[nodiscard]] QByteArray binaryFromPropertyList(const QVariant &value);
