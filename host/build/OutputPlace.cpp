#include "host/build/OutputPlace.h"

#include "host/build/OutputFolder.h"
#include "host/site/Site.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

/// The path without links, as far as it exists.
QString realPath(const QString &path)
{
    const QFileInfo info(QDir::cleanPath(QFileInfo(path).absoluteFilePath()));
    const QString real = info.canonicalFilePath();
    if (!real.isEmpty() || info.isRoot())
        return real;
    return QDir(realPath(info.path())).filePath(info.fileName());
}

bool liesIn(const QString &path, const QString &folder)
{
    return path == folder || path.startsWith(folder.endsWith(u'/') ? folder : folder + u'/');
}

/// A folder that a build has made before, or an empty one.
bool isOurs(const QString &output)
{
    return QFileInfo::exists(output + u'/' + kBuilderFolder) ||
           QDir(output).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

} // namespace

OutputPlace::OutputPlace(const QString &folder, const QString &siteFolder, QString &error)
{
    const QString path = realPath(folder);
    if (folder.isEmpty() || folder.contains(QChar(0)))
        error = u"an output folder is needed"_s;
    else if (liesIn(path, siteFolder))
        error = folder + u": the output folder must not lie in the site's folder"_s;
    else if (liesIn(siteFolder, path))
        error = folder + u": the site's folder must not lie in the output folder"_s;
    else if (!QDir().mkpath(path) || !QFileInfo(path).isWritable())
        error = folder + u": the folder cannot be made or written"_s;
    else if (!isOurs(path))
        error = folder + u": holds files that no build has put there; choose an empty folder"_s;
    else if (const QString own = path + u'/' + kBuilderFolder;
             QFileInfo(own).isSymLink() || !QDir().mkpath(own))
        error = folder + u": the builder's folder in it cannot be made"_s;
    if (!error.isNull())
        return;
    _lock = std::make_unique<QLockFile>(path + u'/' + kBuilderFolder + u"/lock"_s);
    _lock->setStaleLockTime(0); // a long build is still a build
    if (!_lock->tryLock(0))
        error = folder + u": another build is running there"_s;
    else if (!OutputFolder(path).clearStaging())
        error = folder + u": the builder's folder in it cannot be used"_s;
    else
        _path = path;
}

OutputPlace::~OutputPlace()
{
    if (!_path.isEmpty())
        OutputFolder(_path).removeStaging();
}
