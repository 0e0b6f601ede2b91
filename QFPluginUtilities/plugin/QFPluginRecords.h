#pragma once

#include <QStringView>

// Keys of the dictionaries that plug-ins and the host hand each other, beside the export parameters.

// Settings of a plug-in, on their way to another one

inline constexpr QStringView kQFPluginSettingsUniqueIDKey = u"uniqueID"; ///< of the plug-in they are from
inline constexpr QStringView kQFPluginSettingsNameKey = u"name";         ///< of its kind
inline constexpr QStringView kQFPluginSettingsSettingsKey = u"settings"; ///< entries by property

inline constexpr QStringView kQFPluginSettingValueKey = u"value";
inline constexpr QStringView kQFPluginSettingDisplayKey = u"display"; ///< the value for people
inline constexpr QStringView kQFPluginSettingEnabledKey = u"enabled"; ///< whether it is to be taken over

// A further file of a page

inline constexpr QStringView kQFSubpageNameKey = u"name";
inline constexpr QStringView kQFSubpageSubstitutionsKey = u"substitutions"; ///< {"content": HTML}
inline constexpr QStringView kQFSubpageContentKey = u"content";
inline constexpr QStringView kQFSubpageEntireHTMLKey = u"entirehtml";
inline constexpr QStringView kQFSubpageContentDataKey = u"contentdata"; ///< bytes
inline constexpr QStringView kQFSubpageDestinationKey = u"destination"; ///< path for the bytes
