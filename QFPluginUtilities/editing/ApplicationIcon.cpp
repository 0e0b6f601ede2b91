#include "editing/ApplicationIcon.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QIcon>
#include <QPainter>
#include <QStandardPaths>
#include <QStringBuilder>

using namespace Qt::StringLiterals;

namespace {

/// Folders of "hicolor", the one that is best for small icons first.
constexpr QStringView kSizes[] = {u"16x16", u"scalable", u"32x32",   u"24x24",
                                  u"48x48", u"64x64",    u"128x128", u"256x256"};

QString firstExisting(const QString &stem)
{
    for (const QStringView extension : {u".png", u".svg", u".xpm"}) {
        const QString path = stem % extension;
        if (QFileInfo(path).isFile())
            return path;
    }
    return {};
}

/// The picture that programs install for themes that have none; nil for none.
QString fallbackPicture(const QString &name)
{
    for (const QString &data : QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation)) {
        for (const QStringView size : kSizes) {
            const QString picture = firstExisting(data % u"/icons/hicolor/" % size % u"/apps/" % name);
            if (!picture.isNull())
                return picture;
        }
        const QString picture = firstExisting(data % u"/pixmaps/" % name);
        if (!picture.isNull())
            return picture;
    }
    return {};
}

QIcon iconNamed(const QString &name)
{
    if (name.startsWith(u'/'))
        return QIcon(name);
    const QIcon themed = QIcon::fromTheme(name);
    return themed.isNull() && !name.contains(u'/') ? QIcon(fallbackPicture(name)) : themed;
}

} // namespace

QImage applicationIcon(const InstalledApplication &application, int points)
{
    const auto *gui = qobject_cast<QGuiApplication *>(QCoreApplication::instance());
    if (!gui)
        return {};
    const qreal ratio = gui->devicePixelRatio();
    const QSize pixels = QSize(points, points) * ratio;
    for (const QString &name : application.iconNames) {
        // Icons are never made larger than they are, and need not be square.
        const QImage icon = iconNamed(name).pixmap(pixels, 1).toImage();
        if (icon.isNull())
            continue;
        const QImage scaled = icon.scaled(pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        QImage square(pixels, QImage::Format_ARGB32_Premultiplied);
        square.fill(Qt::transparent);
        QPainter painter(&square);
        painter.drawImage((square.width() - scaled.width()) / 2, (square.height() - scaled.height()) / 2,
                          scaled);
        painter.end();
        square.setDevicePixelRatio(ratio);
        return square;
    }
    return {};
}
