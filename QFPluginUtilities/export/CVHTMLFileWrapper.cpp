#include "export/CVHTMLFileWrapper.h"

#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

bool CVHTMLFileWrapper::writeToFile(const NSFileWrapper &wrapper, const QString &path)
{
    QByteArray target = QFile::encodeName(path);
    while (target.size() > 1 && target.endsWith('/'))
        target.chop(1); // a link's name with a slash behind it would mean the link's target
    struct stat status = {};
    if (!target.contains('\0') && ::lstat(target.constData(), &status) == 0) {
        const bool isReplaceable = S_ISREG(status.st_mode) || S_ISLNK(status.st_mode);
        if (!isReplaceable || ::unlink(target.constData()) != 0)
            return false;
    }
    return wrapper.writeToPath(path, false);
}
