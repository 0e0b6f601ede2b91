#pragma once

#include "host/site/Site.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QVariantMap>

#include <memory>
#include <optional>
#include <utility>

class HostPage;
class HostWindow;
class PluginModules;
class QFAbstractPlugin;

/// A site's document: what the library and plug-ins ask the host for, and the owner of its pages' plug-ins.
/// It is also the delegate of its window. Main thread.
class HostDocument : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString language READ language CONSTANT)

public:
    /// Both must outlive the document.
    HostDocument(const Site &site, PluginModules &modules);
    ~HostDocument() override;

    [[nodiscard]] const Site &site() const { return _site; }
    [[nodiscard]] QString title() const { return _site.title; }
    [[nodiscard]] QString language() const { return _site.language; }

    Q_INVOKABLE [[nodiscard]] QString fileNameOrSaveToFileName() const { return _site.file(); }
    Q_INVOKABLE [[nodiscard]] QObject *pageFromUniqueID(const QString &uniqueID);
    /// Address of the page "to" as seen from the page "from", or from "correction" folders below its folder;
    /// nil when one of them is no page of the site.
    Q_INVOKABLE [[nodiscard]] QVariant pathFromPage(const QVariantMap &question) const;
    Q_INVOKABLE [[nodiscard]] QString pageFilesFolderName(const QString &uniqueID) const;
    /// The document at a path inside the site's folder, with its links to pages and assets resolved and the
    /// file names of its attachments unique. Nil, with a record, for what cannot be read.
    Q_INVOKABLE [[nodiscard]] QVariant styledTextFromFile(const QString &path) const;
    /// Objects with `name` and `url`.
    Q_INVOKABLE [[nodiscard]] QVariantList assets();
    /// "pageMenu": the pages as a menu, each item with its page as represented object.
    Q_INVOKABLE [[nodiscard]] QVariantMap tree();

    [[nodiscard]] HostPage *page(qsizetype index);
    /// The page's plug-in with ID, document, window, options and settings; made on first use. nullptr, with a
    /// record of the reason, when it cannot be had.
    [[nodiscard]] QFAbstractPlugin *pluginOfPage(qsizetype index);
    /// Destroys the plug-ins. Not while one of them is being asked something.
    void forgetPlugins();
    /// Pages whose plug-ins were asked for since this was called last, or furnished others with settings. A
    /// plug-in that is known already does not count its own sources again.
    [[nodiscard]] QSet<qsizetype> takeConsultedPages() { return std::exchange(_consulted, {}); }
    /// Whether a plug-in has told of a change of its content or media since this was called last.
    [[nodiscard]] bool takeChange() { return std::exchange(_hasChanged, false); }

private:
    [[nodiscard]] QFAbstractPlugin *newPlugin(const SitePage &page);
    void furnish(QFAbstractPlugin *plugin, const SitePage &page);
    void transferSettings(const QPointer<QFAbstractPlugin> &plugin, const SitePage &page);
    void observePlugins();
    void answerSettingsRequest(const QObject *asking);

    const Site &_site;
    PluginModules &_modules;
    std::unique_ptr<HostWindow> _window;
    QHash<qsizetype, HostPage *> _pages;
    QHash<qsizetype, QPointer<QFAbstractPlugin>> _plugins; ///< owned, unless they have destroyed themselves
    QSet<qsizetype> _consulted;
    bool _hasChanged = false;
    std::optional<QVariantList> _assets;
};
