#pragma once

#include "platform/NSAttributedString.h"

#include <QImage>
#include <QList>
#include <QPointer>
#include <QString>
#include <QVariant>

#include <memory>

struct NSMenu;

/// One entry of a menu, as data: a window shows it and sends `action` to `target`, or without one to whoever
/// answers it.
struct NSMenuItem
{
    QString title;
    QString action;           ///< name of the operation, colon included; nil for none
    QPointer<QObject> target; ///< not owned
    QString keyEquivalent;    ///< empty for none
    QImage image;             ///< null for none
    QVariant representedObject;
    NSAttributedString attributedTitle; ///< empty unless the title is drawn in fonts of its own
    std::shared_ptr<NSMenu> submenu;    ///< nullptr for none
    bool isSeparatorItem = false;

    [[nodiscard]] static NSMenuItem separatorItem()
    {
        NSMenuItem item;
        item.isSeparatorItem = true;
        return item;
    }
};

struct NSMenu
{
    QString title;
    QList<NSMenuItem> items;
};
