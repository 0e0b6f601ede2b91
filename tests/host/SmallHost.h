#pragma once

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <stdexcept>
#include <utility>

// A host as small as can be: a document with pages, each with a plug-in, that answers what the library asks a
// host. What was asked is recorded by the document, in order: "pathFromPage a b 2".

class SmallDocument;

class SmallPlugin : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// What the mapper does; by default it knows no subpage.
    std::function<QString(const QString &subpageID)> mapper = [](const QString &) { return QString(); };
};

/// A plug-in that maps subpages to files; the plain one does not answer the message at all.
class SmallMappingPlugin : public SmallPlugin
{
    Q_OBJECT

public:
    using SmallPlugin::SmallPlugin;

    Q_INVOKABLE QString internalPageLinkFileMapper(const QString &subpageID) { return mapper(subpageID); }
};

class SmallPage : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariant attributes MEMBER attributes)
    Q_PROPERTY(QObject *document MEMBER document)

public:
    explicit SmallPage(QString uniqueID, QObject *parent = nullptr) : QObject(parent), id(std::move(uniqueID))
    {
    }

    Q_INVOKABLE QString uniqueID() const { return id; }
    Q_INVOKABLE QObject *plugin() const { return pagePlugin; }
    Q_INVOKABLE bool isExternalPage() const { return external; }
    Q_INVOKABLE QVariant externalPageURL() const { return externalURL; }

    QString id;
    QVariant attributes;
    QObject *document = nullptr;
    QObject *pagePlugin = nullptr;
    bool external = false;
    QVariant externalURL;
};

class SmallDocument : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// A page with a mapping plug-in, owned by the document; further pages as tests need them.
    SmallPage *addPage(const QString &uniqueID)
    {
        auto *page = new SmallPage(uniqueID, this);
        page->document = this;
        page->pagePlugin = new SmallMappingPlugin(page);
        pages.insert(uniqueID, page);
        return page;
    }
    [[nodiscard]] static SmallMappingPlugin *mappingPlugin(const SmallPage *page)
    {
        return qobject_cast<SmallMappingPlugin *>(page->pagePlugin);
    }

    Q_INVOKABLE QObject *pageFromUniqueID(const QString &uniqueID)
    {
        asked.append(QStringLiteral("pageFromUniqueID ") + uniqueID);
        return pages.value(uniqueID);
    }
    Q_INVOKABLE QVariant pathFromPage(const QVariantMap &question)
    {
        const QString to = question.value(QStringLiteral("to")).toString();
        asked.append(QStringLiteral("pathFromPage ") + question.value(QStringLiteral("from")).toString() +
                     u' ' + to + u' ' + question.value(QStringLiteral("correction")).toString());
        return path                 ? path(question)
               : pages.contains(to) ? QVariant(to + QStringLiteral(".html"))
                                    : QVariant();
    }
    Q_INVOKABLE QString pageFilesFolderName(const QString &uniqueID)
    {
        asked.append(QStringLiteral("pageFilesFolderName ") + uniqueID);
        return uniqueID + QStringLiteral("_files");
    }

    QHash<QString, SmallPage *> pages;
    QStringList asked;
    /// Answers `pathFromPage` in place of "ID.html" for known pages.
    std::function<QVariant(const QVariantMap &question)> path;
};
