#include "export/CVHTMLFileWrapper.h"

#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

namespace {

/// A link's name with a slash behind it would mean the link's target.
QByteArray ownName(const QString &path)
{
    QByteArray name = QFile::encodeName(path);
    while (name.size() > 1 && name.endsWith('/'))
        name.chop(1);
    return name;
}

} // namespace

bool CVHTMLFileWrapper::writeToFile(const NSFileWrapper &wrapper, const QString &path)
{
    const QByteArray target = ownName(path);
    struct stat status = {};
    if (!target.contains('\0') && ::lstat(target.constData(), &status) == 0) {
        const bool isReplaceable = S_ISREG(status.st_mode) || S_ISLNK(status.st_mode);
        if (!isReplaceable || ::unlink(target.constData()) != 0)
            return false;
    }
    return wrapper.writeToPath(path, false);
}

void CVHTMLFileWrapper::removeLink(const QString &path)
{
    const QByteArray target = ownName(path);
    struct stat status = {};
    if (!target.contains('\0') && ::lstat(target.constData(), &status) == 0 && S_ISLNK(status.st_mode))
        ::unlink(target.constData());
}
