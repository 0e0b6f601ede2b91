#pragma once

#include "platform/QFExport.h"

#include <QString>
#include <QVariant>
#include <QVariantMap>

class QObject;

/// What the host asks of a page's plug-in. `QFAbstractPlugin` answers all of it; plug-ins override what they
/// offer. Everything is called on the host's main thread.
///
/// Three more operations belong to the protocol but have no answer by default. The host tests for each before
/// it sends it, so a plug-in offers one by making it invokable:
/// - `QVariant pageContentPrefix(const QVariantMap &params)`: text that comes before everything else in the
///   page's file;
/// - `void cancelExport()`: stop as soon as possible, the result is not wanted any more;
/// - `QVariant normaliseImages()`: bake the shown sizes of pictures into their files.
///
/// The operations on a kind of plug-in rather than one page are those of `QFPluginClass`.
class QF_EXPORT QFPluginProtocol
{
public:
    virtual ~QFPluginProtocol();

    [[nodiscard]] virtual QObject *documentWindow() const = 0;
    virtual void setDocumentWindow(QObject *window) = 0;
    [[nodiscard]] virtual QString uniqueID() const = 0;
    virtual void setUniqueID(const QString &uniqueID) = 0;

    /// Views for editing the page and for its options; nullptr for none.
    [[nodiscard]] virtual QObject *userInteractionAndEditingView() = 0;
    [[nodiscard]] virtual QObject *optionsAndConfigurationView() = 0;

    [[nodiscard]] virtual QVariant valueForThemeSpecificOptionKey(const QString &key) const = 0;
    virtual void setValueForThemeSpecificOptionKey(const QVariant &value, const QString &key) = 0;

    [[nodiscard]] virtual QVariant extraFilesNeededInExportFolder(const QVariantMap &params) = 0;
    [[nodiscard]] virtual QVariant contentHTML(const QVariantMap &params) = 0;
    [[nodiscard]] virtual QVariant sidebarHTML(const QVariantMap &params) = 0;

    [[nodiscard]] virtual QVariant pluginSettings() = 0;
    virtual void setPluginSettings(const QVariantMap &record) = 0;
    [[nodiscard]] virtual bool acceptsPluginSettings(const QVariantMap &record) = 0;
    [[nodiscard]] virtual bool providesPluginSettings() = 0;
};
