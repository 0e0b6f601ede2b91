#include "editing/InstalledApplications.h"

#include "platform/NSStringPathExtensions.h"

#include <QFile>

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#include <memory>

namespace {

struct Unreference
{
    void operator()(gpointer object) const { g_object_unref(object); }
};

using DesktopFile = std::unique_ptr<GDesktopAppInfo, Unreference>;

QStringList iconNamesOf(GAppInfo *application)
{
    GIcon *icon = g_app_info_get_icon(application); // not ours
    QStringList names;
    if (G_IS_FILE_ICON(icon)) {
        const std::unique_ptr<char, decltype(&g_free)> path(
            g_file_get_path(g_file_icon_get_file(G_FILE_ICON(icon))), g_free);
        if (path)
            names.append(QFile::decodeName(path.get()));
    }
    if (G_IS_THEMED_ICON(icon)) {
        for (const char *const *name = g_themed_icon_get_names(G_THEMED_ICON(icon)); *name; ++name)
            names.append(QString::fromUtf8(*name));
    }
    return names;
}

InstalledApplication described(GDesktopAppInfo *desktopFile)
{
    GAppInfo *application = G_APP_INFO(desktopFile);
    return {QFile::decodeName(g_desktop_app_info_get_filename(desktopFile)),
            QString::fromUtf8(g_app_info_get_display_name(application)), iconNamesOf(application)};
}

} // namespace

QList<InstalledApplication> InstalledApplications::forContentType(const QString &contentType)
{
    QList<InstalledApplication> found;
    GList *all = g_app_info_get_all_for_type(contentType.toUtf8().constData());
    for (const GList *one = all; one; one = one->next) {
        auto *application = static_cast<GAppInfo *>(one->data);
        if (G_IS_DESKTOP_APP_INFO(application) && g_app_info_should_show(application))
            found.append(described(G_DESKTOP_APP_INFO(application)));
    }
    g_list_free_full(all, g_object_unref);
    return found;
}

InstalledApplication InstalledApplications::atPath(const QString &path)
{
    const DesktopFile desktopFile(g_desktop_app_info_new_from_filename(QFile::encodeName(path).constData()));
    if (desktopFile && g_app_info_get_display_name(G_APP_INFO(desktopFile.get())))
        return described(desktopFile.get());
    return {path, NSStringPathExtensions::lastPathComponent(path), {}};
}
