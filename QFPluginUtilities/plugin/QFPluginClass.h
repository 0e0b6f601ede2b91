#pragma once

#include "platform/QFExport.h"

#include <QObject>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <memory>

class NSKeyedUnarchiver;
class QFAbstractPlugin;

/// Names the interface between host and page plug-ins in a module's metadata.
#define QFPluginClass_iid "com.corvale.quillfern.page-plugin"

/// A kind of page plug-in: what is asked of the kind rather than of one page, and the maker of its instances.
/// There is one object for a kind. A module's subclass of this is its root object:
///
/// \code
/// class NotesClass final : public QFPluginClass
/// {
///     Q_OBJECT
///     Q_PLUGIN_METADATA(IID QFPluginClass_iid FILE "QFPagePlugin.json")
/// \endcode
///
/// where "QFPagePlugin.json" is what the build function `qf_add_page_plugin` makes of the module's own
/// metadata file. The base versions answer nil, false or nothing. Main thread.
class QF_EXPORT QFPluginClass : public QObject
{
    Q_OBJECT

public:
    explicit QFPluginClass(QObject *parent = nullptr);
    ~QFPluginClass() override;

    /// Called by the host once, after the module was loaded, with an object of its choice; true when the kind
    /// can run. False in the base class.
    virtual bool initializeClass(const QVariant &hostObject);
    /// Describes the kinds of pages that are offered. nil.
    [[nodiscard]] virtual QVariant pluginsAvailable() const;
    /// Name for people, and the key of shared storage, persistent defaults and the matching of settings:
    /// without one there are no defaults. nil.
    [[nodiscard]] virtual QString pluginName() const;
    /// What the host shows in its list of plug-ins. nil.
    [[nodiscard]] virtual QString pluginAuthor() const;
    [[nodiscard]] virtual QVariant pluginIcon() const;
    [[nodiscard]] virtual QString pluginDescription() const;
    /// Whether the description is HTML. False.
    [[nodiscard]] virtual bool hasHTMLDescription() const;
    /// Files that all pages of the kind share. nil.
    [[nodiscard]] virtual QVariant extraFilesNeededInExportFolder(const QVariantMap &params);

    /// A new instance for a page; nullptr in the base class. The caller gives it ID, document and window.
    [[nodiscard]] virtual std::unique_ptr<QFAbstractPlugin> newPlugin();
    /// An instance out of an archive; nullptr in the base class.
    [[nodiscard]] virtual std::unique_ptr<QFAbstractPlugin> newPluginWithCoder(NSKeyedUnarchiver &coder);

    // Temporary folders: "<temporary folder>/Quillfern/<process>/document-<window>/<uniqueID>/<name>". Each
    // level is made when it is asked for and missing; nothing is ever removed. A level that cannot be made is
    // logged and its path answered all the same. Names are joined with a plain slash and not cleaned.

    /// Folder for a purpose of one plug-in; "(null)" stands for a missing ID, 0 for a missing window.
    [[nodiscard]] virtual QString tempFilesDirectoryForPlugin(const QString &name,
                                                              const QFAbstractPlugin *plugin);
    /// "<process folder>/<uniqueID>/<name>".
    [[nodiscard]] virtual QString tempFilesDirectoryForUniqueID(const QString &name, const QString &uniqueID);
    /// The folder of all processes; nil (logged) when the system's temporary folder is missing or its path is
    /// longer than 127 bytes of UTF-8, and when a link of somebody else stands in the folder's place.
    [[nodiscard]] virtual QString qfTempFilesDirectory();
    /// This process's folder; nil when the one above is.
    [[nodiscard]] virtual QString appTempFilesDirectory();
    /// Makes one folder, if nothing at all lies at `path`; failure is only logged.
    virtual void _createFolder(const QString &path);

private:
    struct Private;
    std::unique_ptr<Private> d; ///< room for what later versions keep
};
