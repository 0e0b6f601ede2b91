#pragma once

#include "platform/NSColor.h"
#include "platform/NSFont.h"
#include "platform/NSTextTable.h"
#include "plugin/QFLink.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QVariant>
#include <QVariantMap>

#include <optional>

/// Single values of the styled-text JSON form, each way. Readers answer nothing for a value of a wrong type;
/// single fields of a wrong type are passed over.
namespace StyledTextJSONValues {

[[nodiscard]] std::optional<qint64> integerFrom(const QJsonValue &json);
/// nil for null and for everything that is no string; "" is kept apart from nil.
[[nodiscard]] QString stringFrom(const QJsonValue &json);

[[nodiscard]] std::optional<NSFont> fontFrom(const QJsonValue &json);
[[nodiscard]] QJsonValue jsonOf(const NSFont &font);

[[nodiscard]] std::optional<NSColor> colorFrom(const QJsonValue &json);
[[nodiscard]] QJsonValue jsonOf(const NSColor &color);

[[nodiscard]] QFLinkPtr linkFrom(const QJsonObject &json);
[[nodiscard]] QJsonObject jsonOf(const QFLink &link);

[[nodiscard]] NSTextTablePtr tableFrom(const QJsonObject &json);
[[nodiscard]] QJsonObject jsonOf(const NSTextTable &table);

/// All but the table, which is known by its ID.
[[nodiscard]] NSTextTableBlockPtr cellFrom(const QJsonObject &json);
[[nodiscard]] QJsonObject jsonOf(const NSTextTableBlock &cell);

/// Colours stand under the known colour keys only; elsewhere an array stays an array.
[[nodiscard]] QVariantMap mediaAttributesFrom(const QJsonObject &json);

/// Any JSON value; nulls in dictionaries and arrays go.
[[nodiscard]] QVariant variantFrom(const QJsonValue &json);
/// Numbers, strings, colours, arrays and dictionaries of these; undefined for anything else and for nesting
/// beyond 256 levels.
[[nodiscard]] QJsonValue jsonOfVariant(const QVariant &value, int depth = 0);

} // namespace StyledTextJSONValues
