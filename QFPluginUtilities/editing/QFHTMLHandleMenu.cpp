#include "editing/QFHTMLHandleMenu.h"

#include "editing/ApplicationIcon.h"
#include "editing/InstalledApplications.h"
#include "platform/NSUserDefaults.h"
#include "platform/QFReport.h"
#include "platform/Values.h"

#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kIconPoints = 16;

struct Shared
{
    std::shared_ptr<NSMenu> menu;
    std::optional<QVariantList> others;
};

Shared &shared()
{
    static Shared shared;
    return shared;
}

QString othersPreference()
{
    return u"OtherHTMLHandlers"_s;
}

/// The empty file for which programs are asked. Everybody can write in its folder, so one that stands there
/// already, be it a link, is only taken when it can be what another process of this user made for the same
/// purpose: an empty file of the user's own with no other name. It is only removed while it is the one that
/// was opened.
class ProbeFile
{
public:
    ProbeFile()
        : _fd(::open(path, O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR))
    {
        struct stat opened = {};
        _isOurs = _fd >= 0 && ::fstat(_fd, &opened) == 0 && S_ISREG(opened.st_mode) && opened.st_size == 0 &&
                  opened.st_uid == ::geteuid() && opened.st_nlink == 1;
    }
    ~ProbeFile()
    {
        struct stat made = {};
        struct stat there = {};
        if (_isOurs && ::fstat(_fd, &made) == 0 && ::lstat(path, &there) == 0 &&
            made.st_dev == there.st_dev && made.st_ino == there.st_ino)
            ::unlink(path);
        if (_fd >= 0)
            ::close(_fd);
    }
    ProbeFile(const ProbeFile &) = delete;
    ProbeFile &operator=(const ProbeFile &) = delete;

    [[nodiscard]] bool isMade() const { return _isOurs; }

    static constexpr const char *path = "/tmp/qftmp.html";

private:
    int _fd;
    bool _isOurs = false;
};

NSMutableDictionaryPtr dictionaryOf(const NSMenuItem &item)
{
    return item.representedObject.value<NSMutableDictionaryPtr>();
}

void setPage(QVariantMap &dictionary, QObject *page)
{
    if (page)
        dictionary.insert(QFHTMLHandleMenu::pageKey.toString(), QVariant::fromValue(QPointer<QObject>(page)));
}

void addInstalled(QObject *page, QObject *target, const QString &action)
{
    const QList<QUrl> handlers = QFHTMLHandleMenu::installedHTMLHandlers();
    for (const QUrl &handler : handlers)
        QFHTMLHandleMenu::addHandlerMenuItem(handler, target, page, action);
    // It stays also when nothing follows.
    if (!handlers.isEmpty())
        shared().menu->items.append(NSMenuItem::separatorItem());
}

/// How many programs that the user added are there.
qsizetype addOthers(QObject *page, QObject *target, const QString &action)
{
    QFHTMLHandleMenu::loadOthersArray();
    qsizetype count = 0;
    for (const QString &path : stringsIn(shared().others.value_or(QVariantList()))) {
        if (!path.startsWith(u'/') || !QFileInfo::exists(path))
            continue;
        QFHTMLHandleMenu::addHandlerMenuItem(QUrl::fromLocalFile(path), target, page, action);
        ++count;
    }
    return count;
}

void addOtherItem(QObject *page, const QString &action)
{
    const auto dictionary = std::make_shared<QVariantMap>();
    setPage(*dictionary, page);
    NSMenuItem item;
    item.title = u"Other..."_s;
    item.action = action;
    item.target = QFHTMLHandleMenu::classObject();
    item.representedObject = QVariant::fromValue(dictionary);
    shared().menu->items.append(item);
}

} // namespace

std::shared_ptr<NSMenu> QFHTMLHandleMenu::htmlHandlersMenu(QObject *page, QObject *target,
                                                           const QString &previewSelector,
                                                           const QString &otherSelector)
{
    if (const std::shared_ptr<NSMenu> menu = shared().menu) {
        for (const NSMenuItem &item : std::as_const(menu->items)) {
            if (const NSMutableDictionaryPtr dictionary = dictionaryOf(item))
                setPage(*dictionary, page);
        }
        return menu;
    }
    shared().menu = std::make_shared<NSMenu>();
    addInstalled(page, target, previewSelector);
    const qsizetype others = addOthers(page, target, previewSelector);
    if (!otherSelector.isNull()) {
        if (others > 0)
            shared().menu->items.append(NSMenuItem::separatorItem());
        addOtherItem(page, otherSelector);
    }
    return shared().menu;
}

void QFHTMLHandleMenu::discardMenu()
{
    shared().menu.reset();
}

QList<QUrl> QFHTMLHandleMenu::installedHTMLHandlers()
{
    const ProbeFile probe;
    if (!probe.isMade()) {
        reportLoss(u"html-handlers"_s, u"No programs for HTML are offered, since the probe file is in use."_s,
                   QString::fromLatin1(ProbeFile::path));
        return {};
    }
    QList<QUrl> handlers;
    for (const InstalledApplication &application : InstalledApplications::forContentType(u"text/html"_s)) {
        // Those on other volumes come and go.
        if (!application.path.isEmpty() && !application.path.startsWith(u"/Volumes/"))
            handlers.append(QUrl::fromLocalFile(application.path));
    }
    return handlers;
}

void QFHTMLHandleMenu::addHandlerMenuItem(const QUrl &handler, QObject *target, QObject *page,
                                          const QString &previewSelector)
{
    const QString path = handler.toLocalFile();
    if (!shared().menu || path.isEmpty())
        return;
    const InstalledApplication application = InstalledApplications::atPath(path);
    if (application.displayName.isEmpty())
        return;
    const auto dictionary = std::make_shared<QVariantMap>();
    dictionary->insert(handlerKey.toString(), handler);
    setPage(*dictionary, page);
    NSMenuItem item;
    item.title = application.displayName;
    item.action = previewSelector;
    item.target = target;
    item.image = applicationIcon(application, kIconPoints);
    item.representedObject = QVariant::fromValue(dictionary);
    shared().menu->items.append(item);
}

std::optional<QVariantList> QFHTMLHandleMenu::othersArray()
{
    return shared().others;
}

void QFHTMLHandleMenu::setOthersArray(const std::optional<QVariantList> &others)
{
    shared().others = others;
}

void QFHTMLHandleMenu::loadOthersArray()
{
    const QVariant list = NSUserDefaults::standardUserDefaults().objectForKey(othersPreference());
    shared().others.reset();
    if (list.typeId() == QMetaType::QVariantList || list.typeId() == QMetaType::QStringList)
        shared().others = list.toList();
}

void QFHTMLHandleMenu::saveOthersArray()
{
    NSUserDefaults &preferences = NSUserDefaults::standardUserDefaults();
    preferences.setObject(shared().others ? QVariant(*shared().others) : QVariant(), othersPreference());
    preferences.synchronize();
}

QObject *QFHTMLHandleMenu::classObject()
{
    static QObject object;
    return &object;
}
