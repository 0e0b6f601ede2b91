#include "platform/AliasSearch.h"

#include <QFile>
#include <QSet>
#include <QStandardPaths>

#include <dirent.h>
#include <fcntl.h>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

using Clock = std::chrono::steady_clock;
using FileID = std::pair<quint64, quint64>; // device and inode
using OpenFolder = std::unique_ptr<DIR, int (*)(DIR *)>;

constexpr qint64 kEntriesBetweenLooksAtTheClock = 256;

OpenFolder openFolder(const QByteArray &path, int flags)
{
    OpenFolder folder(nullptr, ::closedir);
    const int fd = ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC | flags);
    if (fd < 0)
        return folder;
    folder.reset(::fdopendir(fd));
    if (!folder)
        ::close(fd);
    return folder;
}

/// Where the desktop puts the user's deleted files; those of other disks lie in ".Trash" or ".Trash-1000".
std::optional<FileID> trashFolder()
{
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const std::optional<FileIdentity> trash = FileIdentity::at(QFile::encodeName(data + u"/Trash"_s));
    return trash ? std::optional(FileID(trash->device, trash->inode)) : std::nullopt;
}

} // namespace

struct AliasSearch::Private
{
    /// A folder of the tree; its path is put together only when it is opened.
    struct Folder
    {
        qsizetype parent = -1;
        QByteArray name;
    };

    FileIdentity wanted;
    QByteArray name;
    qint64 entriesLeft = 0;
    Clock::time_point deadline;
    std::optional<quint64> device; // of the tree; none before its first folder is open
    QSet<FileID> leftOut;          // gone through already, or of no interest
    QByteArray path;
    QByteArray copy;
    qsizetype copies = 0;

    std::vector<Folder> tree;

    [[nodiscard]] QByteArray pathOf(qsizetype folder) const
    {
        const Folder &entry = tree[static_cast<size_t>(folder)];
        return entry.parent < 0 ? entry.name : joined(pathOf(entry.parent), entry.name);
    }

    [[nodiscard]] static QByteArray joined(const QByteArray &folder, const QByteArray &entry)
    {
        return folder.endsWith('/') ? folder + entry : folder + '/' + entry;
    }

    [[nodiscard]] bool mayGoOn()
    {
        if (--entriesLeft % kEntriesBetweenLooksAtTheClock == 0 && Clock::now() >= deadline)
            entriesLeft = 0;
        return entriesLeft > 0;
    }

    /// True when the file has been found.
    bool goThrough(qsizetype folder)
    {
        const QByteArray folderPath = pathOf(folder);
        // The user may well call the first one by a link.
        const OpenFolder entries = openFolder(folderPath, device ? O_NOFOLLOW : 0);
        const std::optional<FileIdentity> opened =
            entries ? FileIdentity::at(::dirfd(entries.get()), ".") : std::nullopt;
        if (!opened || opened->device != device.value_or(opened->device) ||
            leftOut.contains({opened->device, opened->inode}))
            return false;
        device = opened->device;
        leftOut.insert({opened->device, opened->inode});
        while (const dirent *entry =
                   ::readdir(entries.get())) { // NOLINT(concurrency-mt-unsafe): a stream of our own
            if (!mayGoOn())
                return false;
            const QByteArray child(static_cast<const char *>(entry->d_name));
            if (child == "." || child == ".." || child.startsWith(".Trash"))
                continue;
            if ((entry->d_ino == wanted.inode || child == name) &&
                lookAt(::dirfd(entries.get()), folderPath, child))
                return true;
            // Some file systems do not say what is a folder; opening it will.
            if (entry->d_type == DT_DIR || entry->d_type == DT_UNKNOWN)
                tree.push_back({folder, child});
        }
        return false;
    }

    /// True when this entry is the file.
    bool lookAt(int folder, const QByteArray &folderPath, const QByteArray &entry)
    {
        const std::optional<FileIdentity> there = FileIdentity::at(folder, entry);
        if (!there)
            return false;
        const FileIdentity::Agreement agreement = wanted.agreementWith(*there);
        if (agreement == FileIdentity::Agreement::Same) {
            path = joined(folderPath, entry);
        } else if (entry == name && wanted.looksLike(*there)) {
            ++copies;
            copy = joined(folderPath, entry);
        }
        return agreement == FileIdentity::Agreement::Same;
    }
};

AliasSearch::AliasSearch(const FileIdentity &wanted, const QByteArray &name, AliasSearchLimits limits)
    : d(std::make_unique<Private>())
{
    d->wanted = wanted;
    d->name = name;
    d->entriesLeft = limits.entries;
    d->deadline = Clock::now() + limits.time;
    if (const std::optional<FileID> trash = trashFolder())
        d->leftOut.insert(*trash);
}

AliasSearch::~AliasSearch() = default;

bool AliasSearch::lookIn(const QByteArray &folder)
{
    d->device.reset();
    d->tree = {{-1, folder}};
    // The tree grows while it is gone through.
    for (size_t next = 0; next < d->tree.size() && d->entriesLeft > 0; ++next) {
        if (d->goThrough(static_cast<qsizetype>(next)))
            return true;
    }
    return false;
}

QByteArray AliasSearch::path() const
{
    return d->path;
}

QByteArray AliasSearch::onlyCopy() const
{
    return d->copies == 1 ? d->copy : QByteArray();
}
