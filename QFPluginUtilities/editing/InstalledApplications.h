#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/// A program that the desktop knows.
struct InstalledApplication
{
    QString path;          ///< of its desktop file
    QString displayName;   ///< in the user's language
    QStringList iconNames; ///< in the icon theme, the best first; or the path of one picture
};

/// What the desktop says about programs. Only on the main thread.
namespace InstalledApplications {

/// The programs for files of a content type such as "text/html", in the desktop's order: those that the user
/// added to the type come first. Without those that are not for the menus of this desktop.
[[nodiscard]] QList<InstalledApplication> forContentType(const QString &contentType);

/// The program at a path: what its desktop file says; of any other file, and of a desktop file whose program
/// is not there, the name alone.
[[nodiscard]] InstalledApplication atPath(const QString &path);

} // namespace InstalledApplications
