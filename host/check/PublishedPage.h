#pragma once

#include <QList>
#include <QSet>
#include <QString>

/// What a published page refers to, as far as it can be checked.
struct PublishedPage
{
    struct Reference
    {
        QString element; ///< lower case: "a", "img", "link", "script" …
        QString address; ///< as it stands in the page, references resolved
    };

    QList<Reference> references;
    QSet<QString> anchors;  ///< IDs, and names of anchors
    QStringList bareImages; ///< addresses of pictures without a text for those who cannot see them
    QString error;          ///< nil when the page was read

    /// Reads an HTML file. Linear in its size.
    [[nodiscard]] static PublishedPage read(const QString &path);
};
