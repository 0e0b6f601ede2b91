#include "movies/MovieFlattening.h"

#include "movies/MovieFile.h"
#include "platform/Formatting.h"
#include "platform/NSStringPathExtensions.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr mode_t kPermissions = 0666;

/// A new file in the target's folder, which becomes the target when it is finished and vanishes otherwise.
class Draft
{
public:
    explicit Draft(const QByteArray &target) : _target(target), _name(target + ".XXXXXX")
    {
        _file = ::mkostemp(_name.data(), O_CLOEXEC);
    }
    ~Draft()
    {
        if (_file >= 0)
            ::close(_file);
        if (_file >= 0 && !_isFinished)
            ::unlink(_name.constData());
    }
    Draft(const Draft &) = delete;
    Draft &operator=(const Draft &) = delete;

    [[nodiscard]] int file() const { return _file; }

    /// Gives it the target's name and permissions.
    [[nodiscard]] bool finish(mode_t permissions)
    {
        _isFinished =
            ::fchmod(_file, permissions) == 0 && std::rename(_name.constData(), _target.constData()) == 0;
        return _isFinished;
    }

private:
    QByteArray _target;
    QByteArray _name;
    int _file = -1;
    bool _isFinished = false;
};

/// Creates the target empty if there is nothing. 0, or the system's error number. Links are not followed.
int prepareTarget(const QByteArray &target, mode_t &permissions)
{
    const int created = ::open(target.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kPermissions);
    if (created < 0 && errno != EEXIST)
        return errno;
    if (created >= 0)
        ::close(created);
    struct stat status = {};
    if (::lstat(target.constData(), &status) != 0)
        return errno;
    permissions = S_ISREG(status.st_mode) ? status.st_mode & 0777 : 0644;
    return S_ISDIR(status.st_mode) ? EISDIR : 0;
}

} // namespace

MovieFlattening::Result MovieFlattening::flatten(const QString &path, const QString &folder)
{
    const auto because = [](QStringView reason, const QString &file, int code) {
        return Result{{}, formatted(reason, {file, code})};
    };
    constexpr QStringView kNoReference = u"The movie file reference to '%@' could not be created (%d)";

    if (folder.isNull())
        return because(kNoReference, {}, EINVAL);
    const QString target = NSStringPathExtensions::stringByAppendingPathComponent(folder, u"flattened.mov");
    const QByteArray targetName = QFile::encodeName(target);
    mode_t permissions = kPermissions;
    if (const int error = targetName.contains('\0') ? EINVAL : prepareTarget(targetName, permissions))
        return because(kNoReference, target, error);

    if (::access(QFile::encodeName(path).constData(), R_OK) != 0)
        return because(u"The movie file at '%@' cannot be read", path, 0);
    int error = 0;
    auto bytes = MovieBytes::ofFile(path, error);
    if (!bytes)
        return because(kNoReference, path, error);
    const auto movie = MovieFile::withBytes(std::move(bytes), error);
    if (!movie)
        return because(u"The movie file at '%@' could not be read (%d)", path, error);

    Draft draft(targetName);
    error = draft.file() < 0 ? -errno : movie->writeForFastStart(draft.file());
    if (error == 0 && !draft.finish(permissions))
        error = -errno;
    if (error != 0)
        return because(u"The movie file at '%@' could not be converted to fast start (%d)", path, error);
    return {target, {}};
}
