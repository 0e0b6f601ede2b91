#pragma once

#include <QStringView>

// What plug-ins post to `NSNotificationCenter::defaultCenter()`. The object is the plug-in where nothing else
// is said; nothing has user info. Read objects with `objectValue`: they are held weakly.

inline constexpr QStringView kQFPluginChangedNotification = u"com.corvale.quillfern.plugin.changed";
inline constexpr QStringView kQFPluginChangedInvertNotification =
    u"com.corvale.quillfern.plugin.changed.invert";
/// The object is a dictionary: see the keys below.
inline constexpr QStringView kQFPluginExportStatusNotification = u"com.corvale.quillfern.plugin.exportstatus";
/// The object is the plug-in's document, or nil.
inline constexpr QStringView kQFMediaChangedNotification = u"com.corvale.quillfern.media.changed";
inline constexpr QStringView kQFPluginSettingsRequestNotification =
    u"com.corvale.quillfern.plugin.pagesettingsrequest";

// Keys of the export status

inline constexpr QStringView kQFExportStatusPluginKey = u"plugin";
inline constexpr QStringView kQFExportStatusMessageKey = u"message";
inline constexpr QStringView kQFExportStatusProgressKey = u"progress"; ///< float, from 0 to 1
