#include "plugin/QFPluginClass.h"

#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/QFReport.h"
#include "platform/WithoutThrowing.h"
#include "plugin/QFAbstractPlugin.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLongestTemporaryPath = 127; // bytes
constexpr int kFolderNotFound = -43;
constexpr int kPathTooLong = -2110;

void logStatus(QStringView format, int status)
{
    logFailure(qfPluginLog(), u"temporary-folder"_s, formatted(format, {status}));
}

void logNotCreated(const QString &path)
{
    logFailure(
        qfPluginLog(), u"temporary-folder"_s,
        formatted(u"-[QFAbstractPlugin _createFolder]: Failed to create directory %@", {printed(path)}),
        path);
}

/// The name for system calls; empty, which none accepts, when they would see only its beginning.
QByteArray systemPath(const QString &path)
{
    return path.contains(QChar::Null) ? QByteArray() : QFile::encodeName(path);
}

/// Makes one level with the usual permissions.
bool makeFolder(const QByteArray &path)
{
    constexpr mode_t everybody = 0777; // as far as the process's mask allows
    return ::mkdir(path.constData(), everybody) == 0;
}

/// A link that points nowhere counts as nothing, so that making the folder fails and is logged.
bool isAnythingAt(const QByteArray &path)
{
    struct stat found;
    return ::stat(path.constData(), &found) == 0;
}

/// In a folder that everybody may write to, another user could plant a link in the place of ours.
bool isForeignLink(const QByteArray &path)
{
    struct stat found;
    return ::lstat(path.constData(), &found) == 0 && S_ISLNK(found.st_mode) && found.st_uid != ::geteuid();
}

/// The system's folder for temporary files, made when it is missing; empty when that fails.
QString systemTempFolder()
{
    const QString folder = QDir::tempPath(); // empty where $TMPDIR does not exist
    if (!folder.isEmpty())
        return folder;
    return makeFolder(qgetenv("TMPDIR")) ? QDir::tempPath() : QString();
}

/// Plain text: neither part is cleaned, and nil is "(null)".
QString joined(const QString &folder, const QString &name)
{
    return formatted(u"%@/%@", {folder, name});
}

} // namespace

QString QFPluginClass::qfTempFilesDirectory()
{
    const QString folder = systemTempFolder();
    if (folder.isEmpty()) {
        logStatus(u"FSFindFolder returned %d", kFolderNotFound);
        return {};
    }
    if (folder.toUtf8().size() > kLongestTemporaryPath) {
        logStatus(u"FSRefMakePath returned %d", kPathTooLong);
        return {};
    }
    _createFolder(folder);
    const QString hostFolder = folder + u"/Quillfern"_s;
    if (isForeignLink(systemPath(hostFolder))) {
        logNotCreated(hostFolder);
        return {};
    }
    _createFolder(hostFolder);
    return hostFolder;
}

QString QFPluginClass::appTempFilesDirectory()
{
    const QString hostFolder = qfTempFilesDirectory();
    if (hostFolder.isNull())
        return {};
    const QString folder = formatted(u"%@/%d", {hostFolder, QCoreApplication::applicationPid()});
    _createFolder(folder);
    return folder;
}

QString QFPluginClass::tempFilesDirectoryForPlugin(const QString &name, const QFAbstractPlugin *plugin)
{
    const QObject *window = withoutThrowing([&] { return plugin ? plugin->documentWindow() : nullptr; });
    const QString uniqueID = withoutThrowing([&] { return plugin ? plugin->uniqueID() : QString(); });

    // The process's folder may be nil: then nothing below it can be made, and each level says so.
    const QString documentName = formatted(u"document-%d", {reinterpret_cast<qintptr>(window)});
    const QString documentFolder = joined(appTempFilesDirectory(), documentName);
    _createFolder(documentFolder);
    const QString instanceFolder = joined(documentFolder, uniqueID);
    _createFolder(instanceFolder);
    const QString folder = joined(instanceFolder, name);
    _createFolder(folder);
    return folder;
}

QString QFPluginClass::tempFilesDirectoryForUniqueID(const QString &name, const QString &uniqueID)
{
    const QString instanceFolder = joined(appTempFilesDirectory(), uniqueID);
    _createFolder(instanceFolder);
    const QString folder = joined(instanceFolder, name);
    _createFolder(folder);
    return folder;
}

void QFPluginClass::_createFolder(const QString &path)
{
    const QByteArray name = systemPath(path);
    // Looked at again, since another process may just have made it.
    if (!isAnythingAt(name) && !makeFolder(name) && !isAnythingAt(name))
        logNotCreated(path);
}
