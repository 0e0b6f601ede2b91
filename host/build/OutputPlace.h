#pragma once

#include <QLockFile>
#include <QString>

#include <memory>

/// An output folder that is ready to be built into, and nobody else's meanwhile.
class OutputPlace
{
public:
    /// Makes the folder and the builder's folder in it. `error` is a sentence, and the place is not to be
    /// used, when the folder lies in the site or the site in it, cannot be made or written, belongs to
    /// another build that is running, or holds files that no build has put there.
    OutputPlace(const QString &folder, const QString &siteFolder, QString &error);
    /// Empties the folder for files in the making.
    ~OutputPlace();
    OutputPlace(const OutputPlace &) = delete;
    OutputPlace &operator=(const OutputPlace &) = delete;

    [[nodiscard]] const QString &path() const { return _path; }

private:
    QString _path; ///< absolute, without links
    std::unique_ptr<QLockFile> _lock;
};
