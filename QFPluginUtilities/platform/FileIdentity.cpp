#include "platform/FileIdentity.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <array>
#include <cstddef>
#include <unistd.h>

namespace {

FileIdentity::Kind kindOf(quint32 mode)
{
    if (S_ISREG(mode))
        return FileIdentity::Kind::File;
    if (S_ISDIR(mode))
        return FileIdentity::Kind::Folder;
    return S_ISLNK(mode) ? FileIdentity::Kind::Link : FileIdentity::Kind::Other;
}

qint64 nanoseconds(const struct statx_timestamp &time)
{
    constexpr quint64 kPerSecond = 1'000'000'000;
    // Foreign disks hold any date: what is too far away wraps, and stays equal to itself.
    return static_cast<qint64>(static_cast<quint64>(time.tv_sec) * kPerSecond + time.tv_nsec);
}

void readHandle(int folder, const QByteArray &path, FileIdentity &identity)
{
    alignas(file_handle) std::array<char, sizeof(file_handle) + MAX_HANDLE_SZ> room = {};
    auto *handle = reinterpret_cast<file_handle *>(room.data());
    handle->handle_bytes = MAX_HANDLE_SZ;
    int mount = 0;
    if (::name_to_handle_at(folder, path.constData(), handle, &mount, 0) != 0)
        return;
    identity.handleType = handle->handle_type;
    identity.handle = QByteArray(room.data() + offsetof(file_handle, f_handle), handle->handle_bytes);
}

} // namespace

std::optional<FileIdentity> FileIdentity::at(int folder, const QByteArray &path)
{
    constexpr unsigned kWanted = STATX_TYPE | STATX_INO | STATX_SIZE | STATX_MTIME | STATX_BTIME;
    struct statx status = {};
    if (::statx(folder, path.constData(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, kWanted, &status) != 0)
        return {};
    if (S_ISLNK(status.stx_mode) && ::faccessat(folder, path.constData(), F_OK, 0) != 0)
        return {};
    FileIdentity identity;
    identity.device = gnu_dev_makedev(status.stx_dev_major, status.stx_dev_minor);
    identity.inode = status.stx_ino;
    if (status.stx_mask & STATX_BTIME)
        identity.birthTime = nanoseconds(status.stx_btime);
    identity.size = static_cast<qint64>(status.stx_size);
    identity.modificationTime = nanoseconds(status.stx_mtime);
    identity.kind = kindOf(status.stx_mode);
    readHandle(folder, path, identity);
    return identity;
}

std::optional<FileIdentity> FileIdentity::at(const QByteArray &path)
{
    return at(AT_FDCWD, path);
}

FileIdentity::Agreement FileIdentity::agreementWith(const FileIdentity &other) const
{
    if (kind != other.kind)
        return Agreement::Different;
    const bool haveBirthTimes = birthTime && other.birthTime;
    // Folders at the top of two disks can have one handle.
    if (haveBirthTimes && birthTime != other.birthTime)
        return Agreement::Different;
    // Devices may be numbered anew when the machine starts, so a handle counts on any.
    if (!handle.isEmpty() && !other.handle.isEmpty() && handleType == other.handleType)
        return handle == other.handle ? Agreement::Same : Agreement::Different;
    if (!haveBirthTimes)
        return Agreement::Unknown;
    return device == other.device && inode == other.inode ? Agreement::Same : Agreement::Different;
}

bool FileIdentity::looksLike(const FileIdentity &other) const
{
    return kind == other.kind && size == other.size && modificationTime == other.modificationTime;
}
