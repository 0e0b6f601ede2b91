#pragma once

#include "plugin/QFAbstractPlugin.h"

#include <QPointer>

#include <optional>

struct QFAbstractPlugin::Private
{
    QPointer<QObject> documentWindow;
    std::optional<QVariantMap> themeSpecificOptions; // none after unarchiving
    QString uniqueID;
    QPointer<QObject> document;
};

/// Name of the plug-in's kind; nil also when the plug-in's own code throws.
[[nodiscard]] QString pluginNameOf(const QFAbstractPlugin &plugin);

/// The value as a dictionary, or nothing when it holds anything else.
[[nodiscard]] std::optional<QVariantMap> dictionaryValue(const QVariant &value);
