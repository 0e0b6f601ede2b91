#pragma once

#include "platform/FileIdentity.h"

#include <QByteArray>

#include <chrono>
#include <memory>

/// How much a search may cost: entries of folders looked at, and time.
struct AliasSearchLimits
{
    qint64 entries = 250'000;
    std::chrono::milliseconds time = std::chrono::seconds(1);
};

/// Looks for a file that has been moved or renamed, in folders and all that is in them. It goes breadth
/// first, stays on each folder's disk, follows no links and leaves deleted files in the trash alone. Only
/// entries with the file's inode number or its old name are looked at closely, so a search costs about one
/// microsecond an entry. One search is used by one thread.
class AliasSearch
{
public:
    /// `name` is the file's last name.
    AliasSearch(const FileIdentity &wanted, const QByteArray &name, AliasSearchLimits limits);
    ~AliasSearch();
    AliasSearch(const AliasSearch &) = delete;
    AliasSearch &operator=(const AliasSearch &) = delete;

    /// Goes through a folder; what an earlier call has gone through is left out. True when the file itself is
    /// there, and then `path` is its path.
    bool lookIn(const QByteArray &folder);
    [[nodiscard]] QByteArray path() const;

    /// The only one among the files seen so far with the old name and the looks of a copy; empty when there
    /// is none, or more than one.
    [[nodiscard]] QByteArray onlyCopy() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
