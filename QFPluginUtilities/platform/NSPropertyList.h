#pragma once

#include "platform/QFExport.h"

#include <QByteArray>
#include <QVariant>

/// Reference from one object of a keyed archive to another, by its place in the archive.
struct NSPropertyListUID
{
    quint64 value = 0;

    friend bool operator==(const NSPropertyListUID &, const NSPropertyListUID &) = default;
};

Q_DECLARE_METATYPE(NSPropertyListUID)

enum class NSPropertyListFormat : quint8 { XML, Binary };

/// Property lists in the platform's two file formats. Values are QVariantMap, QVariantList, QString,
/// QByteArray, bool, qint64 (quint64 beyond its range), double, QDateTime in UTC and NSPropertyListUID; a nil
/// is never part of a list. Any thread.
///
/// Strings keep every UTF-16 unit in the binary format, lone surrogates and NUL included. XML cannot carry
/// those.
namespace NSPropertyList {

/// Levels of arrays and dictionaries inside one another, in both directions.
inline constexpr int maximumDepth = 200;

/// Reads either format. Nil for anything that is not whole and well-formed, for values nested deeper than
/// `maximumDepth`, and for binary lists whose shared parts would unfold to more than a million values plus
/// one for each byte. Takes time and memory linear in the size of the data, whatever they hold. In XML no
/// entities can be declared; dates there have whole seconds.
[[nodiscard]] QF_EXPORT QVariant propertyListFromData(const QByteArray &data,
                                                      NSPropertyListFormat *format = nullptr);

/// Writes a value; linear. Numbers of all widths, QStringList and QVariantHash are taken too; nil entries are
/// left out. Nil when the value is nil or holds anything else, or is nested too deeply, and in XML when a
/// string holds lone surrogates, noncharacters or control characters other than tab, newline and carriage
/// return.
[[nodiscard]] QF_EXPORT QByteArray dataFromPropertyList(const QVariant &value, NSPropertyListFormat format);

} // namespace NSPropertyList
