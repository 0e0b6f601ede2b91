#pragma once

#include <QHash>
#include <QSet>
#include <QString>

struct SitePage;

/// Who lies where in a published site. No two things may have one path, and nothing may lie in another's
/// folder of files; capitals make no difference, since they make none on some servers.
class PathClaims
{
public:
    /// The folders of theme, assets, plug-ins and builder are taken.
    PathClaims();

    /// Takes the places of a page: its file, and its folder of files with all that is in it. False, with
    /// nothing taken, when another has one of them.
    [[nodiscard]] bool takePage(const SitePage &page);
    /// Takes the path of a file that belongs to no page's folder of files.
    [[nodiscard]] bool takeFile(const QString &path);

private:
    [[nodiscard]] bool isFree(const QString &file) const;
    void take(const QString &file);

    QSet<QString> _files;
    QSet<QString> _folders;     ///< of files that were taken, up to the root
    QSet<QString> _territories; ///< folders with one owner
};
