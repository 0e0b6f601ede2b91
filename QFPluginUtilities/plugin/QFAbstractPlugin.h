#pragma once

#include "platform/QFExport.h"
#include "plugin/QFPluginProtocol.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include <memory>

class CVHTML;
class NSKeyedArchiver;
class NSKeyedUnarchiver;
class QFPluginClass;
class QFSharedStorage;

/// The base class of all page plug-ins: an instance makes the HTML of one page. Main thread, where nothing
/// else is said.
///
/// The host makes an instance (through `QFPluginClass`), gives it an ID, its document and its window, neither
/// of which the plug-in owns, and asks it for its page with one dictionary of export parameters: see
/// `QFExportParams`.
///
/// Settings are the plug-in's declared properties. A subclass that wants them shown and taken over by other
/// pages has an invokable `QVariantMap populatePluginSettings()`, whose entries
/// `pluginSettingsValueForDisplay` makes, and answers true to `providesPluginSettings`.
class QF_EXPORT QFAbstractPlugin : public QObject, public QFPluginProtocol
{
    Q_OBJECT

public:
    /// A new plug-in, with an empty dictionary of theme-specific options.
    explicit QFAbstractPlugin(QObject *parent = nullptr);
    /// One that is read from an archive. Nothing is read here, and there is no dictionary of options: setting
    /// one does nothing until the subclass calls `makeThemeSpecificOptions`.
    explicit QFAbstractPlugin(NSKeyedUnarchiver &coder);
    /// Logs "QFAbstractPlugin dealloc", as a debug message of "qf.plugin", a level that is off by default.
    ~QFAbstractPlugin() override;

    /// Writes nothing; subclasses archive their own state.
    virtual void encodeWithCoder(NSKeyedArchiver &coder) const;

    /// The kind that this is an instance of: never nullptr. In the base class one that answers nil to
    /// everything.
    [[nodiscard]] virtual QFPluginClass *pluginClass() const;

    /// Setting nullptr is ignored.
    [[nodiscard]] Q_INVOKABLE QObject *documentWindow() const override;
    Q_INVOKABLE void setDocumentWindow(QObject *window) override;
    [[nodiscard]] Q_INVOKABLE QString uniqueID() const override;
    Q_INVOKABLE void setUniqueID(const QString &uniqueID) override;
    /// Here nullptr takes the document away.
    [[nodiscard]] Q_INVOKABLE QObject *document() const;
    Q_INVOKABLE void setDocument(QObject *document);
    /// Path of the document's file, which the document is asked for; nil when it has none or does not say.
    [[nodiscard]] Q_INVOKABLE QString documentPath() const;

    [[nodiscard]] Q_INVOKABLE QObject *userInteractionAndEditingView() override; ///< nullptr
    [[nodiscard]] Q_INVOKABLE QObject *optionsAndConfigurationView() override;   ///< nullptr

    /// A nil value removes.
    [[nodiscard]] Q_INVOKABLE QVariant valueForThemeSpecificOptionKey(const QString &key) const override;
    Q_INVOKABLE void setValueForThemeSpecificOptionKey(const QVariant &value, const QString &key) override;

    // What a page is made of: nil here.

    /// A list of files beside the page: subpage records (see below), or paths of files to be copied.
    [[nodiscard]] Q_INVOKABLE QVariant extraFilesNeededInExportFolder(const QVariantMap &params) override;
    [[nodiscard]] Q_INVOKABLE QVariant contentHTML(const QVariantMap &params) override;
    [[nodiscard]] Q_INVOKABLE QVariant sidebarHTML(const QVariantMap &params) override;
    /// Markup for the page's head.
    [[nodiscard]] Q_INVOKABLE virtual QVariant pageContentHeaders(const QVariantMap &params);

    // Notifications, posted at once to `NSNotificationCenter::defaultCenter()` without user info.

    Q_INVOKABLE void broadcastPluginChanged();
    Q_INVOKABLE void broadcastPluginChangedInvert();
    /// The notification's object is a dictionary with "plugin" (this), "message" and "progress"; after a nil
    /// message it has "plugin" only.
    Q_INVOKABLE void broadcastPluginExportStatus(const QString &message, float progress);
    /// The object is the document.
    Q_INVOKABLE void broadcastMediaChanged();
    Q_INVOKABLE void broadcastPluginSettingsRequest();

    // Folders

    /// Full paths of all that lies in a folder, hidden entries included, in no order; empty for a missing
    /// one.
    [[nodiscard]] Q_INVOKABLE QStringList directoryContents(const QString &folder) const;
    /// This plug-in's temporary folder for a purpose: `QFPluginClass::tempFilesDirectoryForPlugin`.
    [[nodiscard]] Q_INVOKABLE QString tempFilesDirectory(const QString &name) const;

    // Settings

    /// {"value", "display", "enabled": true}, made up to the first nil: {} without a value, {"value"} without
    /// a display. Meant so.
    [[nodiscard]] static QVariantMap pluginSettingsValueForDisplay(const QString &display,
                                                                   const QVariant &value);
    /// {"uniqueID", "name", "settings"}; nil for a subclass without `populatePluginSettings`. What is nil is
    /// absent.
    [[nodiscard]] Q_INVOKABLE QVariant pluginSettings() override;
    /// Sets the property for each entry of "settings" that is enabled and has a value. What cannot be set is
    /// logged and skipped.
    Q_INVOKABLE void setPluginSettings(const QVariantMap &record) override;
    /// Settings of another instance of the same plug-in name.
    [[nodiscard]] Q_INVOKABLE bool acceptsPluginSettings(const QVariantMap &record) override;
    [[nodiscard]] Q_INVOKABLE bool providesPluginSettings() override; ///< false

    /// What is kept for this kind of plug-in in the host's preferences: an entry under "Plugins" in the
    /// domain of `NSUserDefaults::mainIdentifier`. A copy; empty when there is none.
    [[nodiscard]] Q_INVOKABLE QVariantMap pluginDefaults() const;
    /// Replaces that entry, or removes it (nil, an invalid QVariant), and writes. Does nothing for a plug-in
    /// without a name and where the domain does not exist yet. A failure is logged: "Failed to save plugin
    /// defaults for %@".
    Q_INVOKABLE void setPluginDefaults(const QVariant &defaults);

    /// The storage of all plug-ins of this name in this process; it lives as long as that does. nullptr
    /// (logged) for a plug-in without a name. Any thread.
    [[nodiscard]] QFSharedStorage *sharedPluginStorage() const;

    // The page

    /// Puts links to the page's style sheets and scripts in place of each "%plugin_page_style_sheets%". In
    /// place; answers its argument. `depth` counts the folders between the page and the site's root.
    virtual QString &updatePageTemplate(QString &pageTemplate, const QVariantMap &params, qint64 depth);
    /// Address of a theme file on the page, `correction` folders below the place from which common paths
    /// count.
    [[nodiscard]] QString pathToThemeFile(const QString &file, const QVariantMap &params,
                                          qint64 correction) const;
    /// An exporter that knows the page's folder names.
    [[nodiscard]] std::unique_ptr<CVHTML> exporterWithParams(const QVariantMap &params) const;

    // Records of further files, for `extraFilesNeededInExportFolder`. What is nil is absent; without content
    // a record holds at most a name.

    /// A page like this one with other content: {"name", "substitutions": {"content"}}.
    [[nodiscard]] static QVariantMap contentOnlySubpageWithHTML(const QString &HTML, const QString &name);
    /// A whole page: {"name", "entirehtml"}.
    [[nodiscard]] static QVariantMap contentOnlySubpageWithEntireHTML(const QString &HTML,
                                                                      const QString &name);
    /// A file: {"name", "contentdata"}.
    [[nodiscard]] static QVariantMap contentOnlySubpageWithData(const QVariant &data, const QString &name);
    /// A file elsewhere: {"name", "contentdata", "destination"}.
    [[nodiscard]] static QVariantMap customSubpageWithData(const QVariant &data, const QString &name,
                                                           const QString &destination);

protected:
    /// Makes the empty dictionary of options if there is none.
    void makeThemeSpecificOptions();

private:
    struct Private;
    std::unique_ptr<Private> d;
};
