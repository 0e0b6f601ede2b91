#pragma once

#include "platform/AliasSearch.h"
#include "platform/FileIdentity.h"
#include "platform/QFExport.h"

#include <QByteArrayList>
#include <QString>

#include <optional>

/// What is kept of a file or folder to find it again when it has been moved or renamed: its place, its place
/// as seen from a base folder, and its identity. Any thread.
class QF_EXPORT AliasRecord
{
public:
    /// Of what stands at the path now. `base` may be nil. Nothing where there is nothing.
    [[nodiscard]] static std::optional<AliasRecord> ofFile(const QString &path, const QString &base);

    /// The record out of `toBytes`; nothing for all other bytes.
    [[nodiscard]] static std::optional<AliasRecord> fromBytes(const QByteArray &bytes);
    [[nodiscard]] QByteArray toBytes() const;

    /// Path of the file today, absolute, or nil. In this order:
    ///
    /// 1. its place in the base, then its old place, when it is the same file there; where the file system
    ///    has no proof of that, the same name and kind do;
    /// 2. wherever it is in the folders around both places: first those themselves, then each folder around,
    ///    up to the base, or the user's home for files outside of it, within the limits;
    /// 3. the only copy there: the same name, size and date of change;
    /// 4. where the base is another than the record's, as when a whole site has been copied: what has the
    ///    same kind at its place in the base.
    ///
    /// So another file that has taken the old place is not answered. Finding nothing can take as long as the
    /// limits allow.
    [[nodiscard]] QString resolve(const QString &base, AliasSearchLimits limits = {}) const;

private:
    [[nodiscard]] QByteArrayList foldersToSearch(const QByteArray &base, const QByteArray &placeInBase) const;

    // All as the system takes them.
    QByteArray _path;         // absolute
    QByteArray _base;         // empty when there was none
    QByteArray _relativePath; // of the path as seen from the base
    FileIdentity _identity;
};
