#include "plugin/QFAbstractPlugin.h"

#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/NSNotificationCenter.h"
#include "platform/NSStringPathExtensions.h"
#include "platform/QFHost.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "platform/WithoutThrowing.h"
#include "plugin/QFAbstractPluginPrivate.h"
#include "plugin/QFPluginClass.h"
#include "plugin/QFPluginNotifications.h"
#include "plugin/QFSharedStorage.h"

#include <QFile>

#include <dirent.h>
#include <map>
#include <mutex>

using namespace Qt::StringLiterals;

namespace {

/// Observers are told one after the other, and one of them may destroy the object.
QVariant weakly(QObject *object)
{
    return object ? QVariant::fromValue(QPointer<QObject>(object)) : QVariant();
}

void post(QStringView name, const QVariant &object)
{
    NSNotificationCenter::defaultCenter().postNotificationName(name.toString(), object);
}

struct SharedStorages
{
    std::recursive_mutex lock; // guards `byName`; held while a plug-in is asked for its name
    std::map<QString, QFSharedStorage> byName;
};

SharedStorages &sharedStorages()
{
    // Never freed: threads of plug-ins may outlive the destruction of globals.
    static auto *const storages = new SharedStorages;
    return *storages;
}

struct FolderCloser
{
    void operator()(DIR *folder) const { ::closedir(folder); }
};

/// The entry as a string; nil, with a log line, where a string could not lead back to the file.
QString decodedName(const QByteArray &entry, const QString &folder)
{
    const QString name = QFile::decodeName(entry);
    if (QFile::encodeName(name) == entry)
        return name;
    logFailure(qfPluginLog(), u"file-name"_s,
               formatted(u"Skipped a file whose name is in another encoding: %@", {name}), folder);
    return {};
}

} // namespace

QFAbstractPlugin::QFAbstractPlugin(QObject *parent) : QObject(parent), d(std::make_unique<Private>())
{
    makeThemeSpecificOptions();
}

QFAbstractPlugin::QFAbstractPlugin(NSKeyedUnarchiver & /*coder*/) : d(std::make_unique<Private>()) {}

QFAbstractPlugin::~QFAbstractPlugin()
{
    qCDebug(qfPluginLog, "QFAbstractPlugin dealloc");
}

void QFAbstractPlugin::encodeWithCoder(NSKeyedArchiver & /*coder*/) const {}

QFPluginClass *QFAbstractPlugin::pluginClass() const
{
    static QFPluginClass plainKind;
    return &plainKind;
}

QObject *QFAbstractPlugin::documentWindow() const
{
    return d->documentWindow;
}

void QFAbstractPlugin::setDocumentWindow(QObject *window)
{
    if (window)
        d->documentWindow = window;
}

QString QFAbstractPlugin::uniqueID() const
{
    return d->uniqueID;
}

void QFAbstractPlugin::setUniqueID(const QString &uniqueID)
{
    d->uniqueID = uniqueID;
}

QObject *QFAbstractPlugin::document() const
{
    return d->document;
}

void QFAbstractPlugin::setDocument(QObject *document)
{
    d->document = document;
}

QString QFAbstractPlugin::documentPath() const
{
    return QFHost::fileNameOrSaveToFileName(d->document);
}

QObject *QFAbstractPlugin::userInteractionAndEditingView()
{
    return nullptr;
}

QObject *QFAbstractPlugin::optionsAndConfigurationView()
{
    return nullptr;
}

void QFAbstractPlugin::makeThemeSpecificOptions()
{
    if (!d->themeSpecificOptions)
        d->themeSpecificOptions.emplace();
}

QVariant QFAbstractPlugin::valueForThemeSpecificOptionKey(const QString &key) const
{
    return d->themeSpecificOptions ? d->themeSpecificOptions->value(key) : QVariant();
}

void QFAbstractPlugin::setValueForThemeSpecificOptionKey(const QVariant &value, const QString &key)
{
    if (!d->themeSpecificOptions || key.isNull())
        return;
    if (isNil(value))
        d->themeSpecificOptions->remove(key);
    else
        d->themeSpecificOptions->insert(key, value);
}

QVariant QFAbstractPlugin::extraFilesNeededInExportFolder(const QVariantMap & /*params*/)
{
    return {};
}

QVariant QFAbstractPlugin::contentHTML(const QVariantMap & /*params*/)
{
    return {};
}

QVariant QFAbstractPlugin::sidebarHTML(const QVariantMap & /*params*/)
{
    return {};
}

QVariant QFAbstractPlugin::pageContentHeaders(const QVariantMap & /*params*/)
{
    return {};
}

void QFAbstractPlugin::broadcastPluginChanged()
{
    post(kQFPluginChangedNotification, weakly(this));
}

void QFAbstractPlugin::broadcastPluginChangedInvert()
{
    post(kQFPluginChangedInvertNotification, weakly(this));
}

void QFAbstractPlugin::broadcastPluginExportStatus(const QString &message, float progress)
{
    QVariantMap status{{kQFExportStatusPluginKey.toString(), weakly(this)}};
    if (!message.isNull()) { // a nil ends the list, so that the progress is left out too
        status.insert(kQFExportStatusMessageKey.toString(), message);
        status.insert(kQFExportStatusProgressKey.toString(), progress);
    }
    post(kQFPluginExportStatusNotification, status);
}

void QFAbstractPlugin::broadcastMediaChanged()
{
    post(kQFMediaChangedNotification, weakly(d->document));
}

void QFAbstractPlugin::broadcastPluginSettingsRequest()
{
    post(kQFPluginSettingsRequestNotification, weakly(this));
}

QStringList QFAbstractPlugin::directoryContents(const QString &folder) const
{
    QStringList paths;
    if (folder.contains(QChar::Null))
        return paths;
    const std::unique_ptr<DIR, FolderCloser> listing(::opendir(QFile::encodeName(folder).constData()));
    if (!listing)
        return paths;
    // The class that lists folders elsewhere leaves out names that it cannot decode, without a word.
    while (const dirent *entry = ::readdir(listing.get())) { // NOLINT(concurrency-mt-unsafe): own listing
        const QByteArray bytes(entry->d_name);
        if (bytes == "." || bytes == "..")
            continue;
        const QString name = decodedName(bytes, folder);
        if (!name.isNull())
            paths.append(NSStringPathExtensions::stringByAppendingPathComponent(folder, name));
    }
    return paths;
}

QString QFAbstractPlugin::tempFilesDirectory(const QString &name) const
{
    return withoutThrowing([&] {
        QFPluginClass *const kind = pluginClass();
        return kind ? kind->tempFilesDirectoryForPlugin(name, this) : QString();
    });
}

QFSharedStorage *QFAbstractPlugin::sharedPluginStorage() const
{
    SharedStorages &storages = sharedStorages();
    const std::scoped_lock guard(storages.lock);
    const QFPluginClass *const kind = pluginClass();
    const QString name = kind ? kind->pluginName() : QString(); // what this throws is the caller's
    if (name.isNull()) {
        logFailure(qfPluginLog(), u"plug-in"_s, u"A plug-in without a name has no shared storage"_s);
        return nullptr;
    }
    return &storages.byName[name];
}
