#pragma once

#include <QString>
#include <QStringView>

/// How list items are marked, by the marker formats of styled text ("{disc}", "{decimal}", …).
namespace ListMarkers {

/// The format for a `type` attribute or `list-style-type` value; nil when it names none.
[[nodiscard]] QString formatForType(QStringView type);
/// The format of a list without a type, `depth` lists deep (from 1).
[[nodiscard]] QString standardFormat(bool ordered, qsizetype depth);
/// What stands before the n-th item: a bullet, or the number or letters with a full stop.
[[nodiscard]] QString markerText(QStringView format, qint64 number);

} // namespace ListMarkers
