#pragma once

#include "host/ImportedPicture.h"
#include "media/QFTextAttachment.h"
#include "platform/NSFileWrapper.h"

#include <QHash>
#include <QString>

#include <memory>
#include <optional>

/// Finds the pictures of a document: files in its folder or below, and pictures that stand in the address
/// itself. Everything else is left out.
class HTMLImages
{
public:
    explicit HTMLImages(QString baseFolder) : _baseFolder(std::move(baseFolder)) {}

    using Size = ImportedPicture::Size;

    /// An attachment with the picture at `source`, or nullptr. `alternative` may be nil. With `keepsName` the
    /// picture is exported under its own name, for where exported numbers are not different.
    [[nodiscard]] std::shared_ptr<QFTextAttachment>
    attachment(const QString &source, const QString &alternative, const Size &size, bool keepsName);

private:
    NSFileWrapperPtr localFile(const QString &source);
    QString uniqueName(const NSFileWrapper &file);

    QString _baseFolder;
    QHash<QString, NSFileWrapperPtr> _files; ///< read once, however often shown
    QHash<QString, QByteArray> _names;       ///< names given to pictures, with what these hold
    QHash<QString, int> _numbers;            ///< last number added to a name
    qint64 _bytes = 0;
};
