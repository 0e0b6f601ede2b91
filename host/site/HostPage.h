#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

struct SitePage;
class HostDocument;

/// A page, as the library and plug-ins ask it. Belongs to its document, which must outlive every use.
class HostPage : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariantMap attributes READ attributes CONSTANT)
    Q_PROPERTY(QObject *document READ document CONSTANT)
    Q_PROPERTY(QString title READ title CONSTANT)

public:
    HostPage(HostDocument &document, qsizetype index);

    Q_INVOKABLE [[nodiscard]] QString uniqueID() const;
    [[nodiscard]] QString title() const;
    [[nodiscard]] QObject *document() const;
    /// "filenameExt", "imageFormat" and "imageQuality" (absent where nothing is asked for), and
    /// "externalPageAssets": the site's assets.
    [[nodiscard]] QVariantMap attributes() const;
    /// The plug-in that makes the page, with its settings; made on first use. nullptr for external pages and
    /// where there is none to be had.
    Q_INVOKABLE [[nodiscard]] QObject *plugin() const;
    Q_INVOKABLE [[nodiscard]] bool isExternalPage() const;
    Q_INVOKABLE [[nodiscard]] QString externalPageURL() const;

private:
    [[nodiscard]] const SitePage &page() const;

    HostDocument &_document;
    const qsizetype _index;
};
