#pragma once

#include "platform/NSMenu.h"
#include "platform/QFExport.h"

#include <QUrl>
#include <QVariantMap>

#include <memory>
#include <optional>

/// A dictionary that several hold, and see each other's changes of.
using NSMutableDictionaryPtr = std::shared_ptr<QVariantMap>;

Q_DECLARE_METATYPE(NSMutableDictionaryPtr)

/// The menu of programs in which a page's HTML can be opened: those that the desktop offers, those that the
/// user added, and "Other..." to add more. A process has one such menu. It is data; a window shows it and
/// sends an item's action.
///
/// The represented object of an item is an `NSMutableDictionaryPtr`: under "handler" the URL of the program's
/// desktop file (or of the program itself, among those that the user added), under "page" the page, weakly
/// (read it with `objectValue`). Separators have none.
///
/// Only on the main thread.
class QF_EXPORT QFHTMLHandleMenu
{
public:
    static constexpr QStringView handlerKey = u"handler";
    static constexpr QStringView pageKey = u"page";

    /// The menu, which the first call makes: its programs, target and actions stay. Later calls only put
    /// their page, unless it is nullptr, into all items. `otherSelector` is the action of "Other...", which
    /// is sent to `classObject` and not to the target; nil leaves that item out. Programs that the user added
    /// and that are gone are left out. Making it takes some ten milliseconds.
    [[nodiscard]] static std::shared_ptr<NSMenu> htmlHandlersMenu(QObject *page, QObject *target,
                                                                  const QString &previewSelector,
                                                                  const QString &otherSelector);
    /// Forgets the menu, so that the next call makes it anew, as after programs have been added.
    static void discardMenu();

    /// File URLs of the desktop files of the programs for HTML, in the desktop's order. Empty also when the
    /// probe file "/tmp/qftmp.html", which is there for as long as this takes, cannot be made; what others
    /// have put there is left alone.
    [[nodiscard]] static QList<QUrl> installedHTMLHandlers();

    /// Appends an item to the menu, if it has been made, whether or not there is one of that title. Nothing
    /// for a URL without a path.
    static void addHandlerMenuItem(const QUrl &handler, QObject *target, QObject *page,
                                   const QString &previewSelector);

    /// Paths of the programs that the user added, elements that are no strings among them as they were found;
    /// nothing when there is no such list.
    [[nodiscard]] static std::optional<QVariantList> othersArray();
    static void setOthersArray(const std::optional<QVariantList> &others);
    /// Reads the list from the preference "OtherHTMLHandlers"; what is no list is none.
    static void loadOthersArray();
    /// Writes the list there, or removes the preference when there is no list.
    static void saveOthersArray();

    /// Stands for this class as the target of "Other...". It answers no messages: whoever sends an action to
    /// it lets the user choose a program, and adds that to the list.
    [[nodiscard]] static QObject *classObject();
};
