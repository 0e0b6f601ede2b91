#include "host/build/FileStamp.h"

#include <QFile>

#include <ctime>
#include <sys/stat.h>

namespace {

constexpr qint64 kNanoseconds = 1'000'000'000;

} // namespace

FileStamp FileStamp::ofFile(const QString &path)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return {};
    return {status.st_ino, status.st_size, status.st_mtim.tv_sec * kNanoseconds + status.st_mtim.tv_nsec,
            status.st_ctim.tv_sec * kNanoseconds + status.st_ctim.tv_nsec};
}

qint64 nowForStamps()
{
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * kNanoseconds + now.tv_nsec;
}
