#pragma once

#include "platform/QFExport.h"

#include <QByteArray>
#include <QMetaType>
#include <QString>

#include <memory>

class NSKeyedArchiver;
class NSKeyedUnarchiver;

/// A reference to a file or folder of the user's that outlives its being moved or renamed: its path, and an
/// alias by which it is found again. Held as a `QFFileReferencePtr`, equal by identity, archived with
/// whatever holds it. One reference is used by one thread.
class QF_EXPORT QFFileReference
{
public:
    QFFileReference() = default;

    /// To the file at `path`, as seen from the folder `base` too, so that it is found when that has been
    /// moved as a whole. The file need not be there yet, but then it has no alias.
    [[nodiscard]] static std::shared_ptr<QFFileReference> referenceTo(const QString &path,
                                                                      const QString &base);
    /// Refers to another file; its alias replaces the old one, be it by nil.
    void setPath(const QString &path, const QString &base);

    /// The path as it was set, or where the file has been found since.
    [[nodiscard]] QString path() const { return _path; }
    /// Bytes that QFPathUtilities makes and resolves; nil for none.
    [[nodiscard]] QByteArray alias() const { return _alias; }
    void setAlias(const QByteArray &alias) { _alias = alias; }

    /// Whether there is anything at the path, whatever it is.
    [[nodiscard]] bool pathExists() const;
    /// A path at which the file is, or nil. Where there is anything at the stored path, that is the answer.
    /// Otherwise the file is searched for, which can take a second; when it is found, the reference keeps the
    /// new path, with a fresh alias, and when it is not, everything stays.
    [[nodiscard]] QString resolveRelativeTo(const QString &base);

    /// Writes path and alias as two objects without keys; a nil is written as the archive's null.
    void encodeWithCoder(NSKeyedArchiver &coder) const;
    /// nullptr for a path that is no string and an alias that is no data. Either may be missing.
    [[nodiscard]] static std::shared_ptr<QFFileReference> initWithCoder(NSKeyedUnarchiver &coder);

private:
    QString _path;
    QByteArray _alias;
};

using QFFileReferencePtr = std::shared_ptr<QFFileReference>;

Q_DECLARE_METATYPE(QFFileReferencePtr)
